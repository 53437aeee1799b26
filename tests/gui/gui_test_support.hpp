#pragma once
// Helpers of the desktop tests: sample inputs, screenshots written to the build folder and
// compared loosely with the stored ones, and waiting for the event loop.

#include <QImage>
#include <QString>
#include <filesystem>
#include <functional>

class QWidget;

namespace pixtrail::test {

std::filesystem::path samplesDir();
// A fresh copy of the sample photos (and only them) in `folder`.
void copySamplePhotos(const std::filesystem::path& folder);

// Grabs the widget, writes <build>/screenshots/<name>.png and returns the image.
QImage screenshot(QWidget* widget, const QString& name);
// Compares with tests/data/gui/<name>.png loosely: the same size within a few pixels, and the
// same cells of a coarse grid blank (one colour) or drawn on. Fills `why` when it fails. When no
// stored picture exists it says so and fails, so a new screenshot is looked at before it is kept.
bool looksLikeStored(const QImage& image, const QString& name, QString& why);
// The share (0 to 1) of a coarse grid's cells that hold more than one colour.
double drawnShare(const QImage& image);

// Runs the event loop until `done` holds or `timeoutMs` passes; returns `done()`.
bool waitFor(const std::function<bool()>& done, int timeoutMs = 5000);

}  // namespace pixtrail::test
