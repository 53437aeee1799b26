#pragma once
// One photo of a document: a point object with its EXIF data, its capture time and any position.

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "core/DateTimeRecord.hpp"
#include "core/SafeFile.hpp"
#include "core/TCoord.hpp"
#include "photos/TJpegExif.hpp"

namespace pixtrail {

// One "Exif::" field of a photo.
struct PhotoField {
  std::string name;   // "Exif::" and the held key in decimal
  std::string label;  // the tag's label, empty when the tag has none
  std::string text;
};

class TFoto {
 public:
  std::filesystem::path fileName;
  TCoord position;               // in `datum`
  int datum = kWorkingDatum;
  DateTimeRecord time;           // capture time as the camera wrote it
  bool hasTime = false;
  bool hasPosition = false;
  bool readable = false;         // the EXIF block could be read
  std::string loadMessage;       // why not, when it could not
  std::string timeMessage;       // why it has no capture time, when it has none
  TJpegExif exif;                // owns the tag list
  std::string thumbnail;         // the JPEG thumbnail of the EXIF block, when there is one
  // GPS entries that belong to the new fix (its estimated error, say): set after the position,
  // which clears what the old fix left behind.
  std::vector<TTifTag> fixEntries;

  // Reads the EXIF data, the capture time and any stored position (converted to the working datum).
  bool load(const std::filesystem::path& file, std::string& message);
  std::string name() const { return fileName.filename().string(); }

  // Frees the EXIF entries and the thumbnail once what a list of photos needs is known; SetFix
  // and Save read them again. A folder of any size is then held in little memory.
  void forgetExif();

  // Writes the position into the photo: into `target`, which must not exist yet, or in place when
  // `target` is the photo's own file (with a batch, at its commit). The photo then refers to the target.
  bool Save(const std::filesystem::path& target, std::string& message, const SafeWriteOptions& write = {},
            SafeBatch* batch = nullptr);
  // The position and `fixEntries` into the tag list only (what Save writes).
  bool SetFix(std::string& message);

  std::vector<PhotoField> exifFields() const;
  // "Exif::<key>": the first entry with that key in IFD0, the EXIF IFD, then the GPS IFD.
  bool exifField(std::string_view fieldName, PhotoField& out) const;
  // The textured panel that stands for the photo in the 3D view.
  std::string panelDescription() const;

 private:
  bool exifForgotten_ = false;
};

}  // namespace pixtrail
