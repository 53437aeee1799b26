#pragma once
// The datum side of the track, waypoint and route files: the datum named on a file's "G" line and
// the conversion of positions between the file's datum and the working datum.

#include <string>
#include <string_view>

#include "core/TCoord.hpp"

namespace pixtrail {

// The name a file gives for datum `index` (kWorkingDatum allowed).
bool datumNameForFile(int index, std::string& name, std::string& message);
// The datum a file names; false with a message when no datum of the table has that name.
bool datumFromFileName(std::string_view name, int& index, std::string& message);
// Working datum to the file's datum and back.
TCoord toFileDatum(const TCoord& working, int fileDatum);
TCoord fromFileDatum(const TCoord& inFile, int fileDatum);

}  // namespace pixtrail
