#pragma once
// The desktop side of geotagging: the job of the command line (app/GeotagJob) run on a worker
// thread behind a progress dialog that can be cancelled, its results carried back into the
// document, and the preview of where photos would land with a given camera clock offset.

#include <string>
#include <vector>

#include "app/GeotagJob.hpp"

class QWidget;

namespace pixtrail {
class TFoto;
}

namespace pixtrail::gui {

class Document;

// Runs the job over the document's tracks, a batch of photos at a time so that Cancel takes
// effect between batches (photos already written stay written, each one whole). False when the
// job could not start or was cancelled; `message` says which.
bool runGeotagJob(QWidget* parent, Document& document, const GeotagOptions& options,
                  std::vector<GeotagPhotoResult>& results, std::string& message);

// Positions of the tagged photos (WGS 84, as written) and their new files go into the document.
void applyGeotagResults(Document& document, const std::vector<GeotagPhotoResult>& results);

struct PlannedPlace {
  const TFoto* photo = nullptr;
  double lat = 0.0, lon = 0.0;  // WGS 84
};
// Where each photo would land on the document's tracks with this offset; nothing is changed.
std::vector<PlannedPlace> planPlaces(Document& document, double offsetSeconds);

}  // namespace pixtrail::gui
