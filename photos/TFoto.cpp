#include "photos/TFoto.hpp"

#include "coords/TListaDatums.hpp"
#include "core/messages.hpp"
#include "core/text.hpp"
#include "photos/exif_tag_labels.hpp"

namespace pixtrail {

namespace {

constexpr std::string_view kErrSavingCoordinates = "Error saving coordinates";
constexpr std::string_view kErrSavingFile = "Error saving file";
constexpr std::string_view kFieldPrefix = "Exif::";

bool sameFile(const std::filesystem::path& a, const std::filesystem::path& b) {
  std::error_code ec;
  const bool same = std::filesystem::equivalent(a, b, ec);
  return ec ? a.lexically_normal() == b.lexically_normal() : same;
}

}  // namespace

bool TFoto::load(const std::filesystem::path& file, std::string& message) {
  fileName = file;
  hasTime = hasPosition = readable = false;
  loadMessage.clear();
  if (!exif.Read(file, loadMessage)) {
    appendMessage(message, loadMessage);
    return false;
  }
  readable = true;
  thumbnail = exif.thumbnail();
  timeMessage.clear();  // a photo without time or position is normal, not an error
  hasTime = exif.ReadDateTime(time, timeMessage);
  std::string quiet;
  TCoord stored;
  int storedDatum = kDatumWgs84;
  if (exif.ReadPosition(stored, storedDatum, quiet) &&
      datumTable().Transforma_Grados_Datum(stored, storedDatum, kWorkingDatum, quiet)) {
    position = stored;
    datum = kWorkingDatum;
    hasPosition = true;
  }
  return true;
}

void TFoto::forgetExif() {
  exif.clear();
  std::string().swap(thumbnail);  // assigning an empty string would keep the buffer
  exifForgotten_ = true;
}

bool TFoto::SetFix(std::string& message) {
  if (hasPosition && exifForgotten_) {
    if (!exif.Read(fileName, message)) return false;
    exifForgotten_ = false;
  }
  if (!hasPosition || !exif.SetGpsPosition(position, datum, message)) {
    appendMessage(message, kErrSavingCoordinates);
    return false;
  }
  for (const TTifTag& entry : fixEntries)
    exif.SetTagInDirectory(kGpsIfd, entry.key, entry.type, entry.count, entry.data);
  return true;
}

bool TFoto::Save(const std::filesystem::path& target, std::string& message, const SafeWriteOptions& write,
                 SafeBatch* batch) {
  if (!SetFix(message)) return false;
  const bool inPlace = sameFile(target, fileName);
  std::error_code ec;
  if (!inPlace && std::filesystem::exists(std::filesystem::symlink_status(target, ec))) {
    appendMessage(message, kErrSavingFile);
    return false;
  }
  if (exif.fileName().empty()) exif.setFileName(fileName);
  if (!exif.Write(target, !inPlace, message, write, batch)) {
    if (!inPlace) appendMessage(message, kErrSavingFile);
    return false;
  }
  fileName = target;
  return true;
}

std::vector<PhotoField> TFoto::exifFields() const {
  std::vector<PhotoField> fields;
  for (const TTifTag& tag : exif.tags())
    fields.push_back({std::string(kFieldPrefix) + std::to_string(tag.key),
                      std::string(exifTagLabel(tag.directory, tag.key)), tag.valueText()});
  return fields;
}

bool TFoto::exifField(std::string_view fieldName, PhotoField& out) const {
  if (!fieldName.starts_with(kFieldPrefix)) return false;
  const auto key = parseInteger(fieldName.substr(kFieldPrefix.size()));
  if (!key || *key < 0 || *key > 0xFFFF) return false;
  // Directory order decides between entries that share a held key.
  for (std::uint32_t directory : {kIfd0, kExifIfd, kGpsIfd}) {
    const int i = exif.FindTag(directory, static_cast<std::uint16_t>(*key));
    if (i < 0) continue;
    const TTifTag& tag = exif.tags()[static_cast<std::size_t>(i)];
    out = {std::string(fieldName), std::string(exifTagLabel(tag.directory, tag.key)), tag.valueText()};
    return true;
  }
  return false;
}

std::string TFoto::panelDescription() const {
  const std::string lines[] = {"scale=10",
                               "version=1.0",
                               "Color=(200,0,0)",
                               "xorientationview=1",
                               ";zorientationview=1",
                               "textureT=" + fileName.string() + ",1",
                               "Quad=[20,0,40]:[-20,0,40]:[-20,0,-0]:[20,0,-0]:"};
  std::string text;
  for (const std::string& line : lines) text += line + "\r\n";
  return text;
}

}  // namespace pixtrail
