#include "photos/TJpegExif.hpp"

#include <array>
#include <cmath>
#include <string>

#include "coords/TListaDatums.hpp"
#include "core/angles.hpp"
#include "core/messages.hpp"
#include "photos/exif_rationals.hpp"

// The GPS entries of a photo, decoded and encoded by the system's rules (exif_rationals); the
// safe default reads the altitude reference and never leaves an older fix beside a new position.

namespace pixtrail {

namespace {

constexpr std::string_view kErrGpsSections = "Error in the GPS sections...";
constexpr std::string_view kErrGpsValues = "Error in the GPS lat/lon values...";
constexpr std::string_view kErrUnknownDatum = "Unknown datum: ";
constexpr std::string_view kWgs84Name = "WGS-84";
constexpr double kNoDegrees = -99999.0;

// GPS entries that describe one fix besides its place: when a new position replaces an old one they
// would pair the new place with the old fix's time, speed or heading. Tags 7 to 17 and 19 to 31.
constexpr std::array<std::uint16_t, 24> kOldFixGpsTags = {7,  8,  9,  10, 11, 12, 13, 14, 15, 16, 17, 19,
                                                          20, 21, 22, 23, 24, 25, 26, 27, 28, 29, 30, 31};

}  // namespace

bool TJpegExif::ReadGps(ExifGpsPosition& out, std::string& message) const {
  char latRef = 'X', lonRef = 'X';
  std::array<double, 3> lat = {kNoDegrees, 0, 0}, lon = {kNoDegrees, 0, 0};
  double alt = 0.0;
  std::string datum(kWgs84Name);
  bool belowSeaLevel = false;
  const bool exact = quirks_ == GpsQuirks::Exact;
  for (const TTifTag& tag : tags_) {
    if (!exact && tag.directory != kGpsIfd) continue;
    switch (tag.key) {
      case kGpsLatitudeRef: if (!tag.data.empty()) latRef = tag.data[0]; break;
      case kGpsLongitudeRef: if (!tag.data.empty()) lonRef = tag.data[0]; break;
      case kGpsLatitude:
        for (std::size_t i = 0; i < 3 && i < tag.count; ++i) lat[i] = rationalValue(tag.data, i);
        break;
      case kGpsLongitude:
        for (std::size_t i = 0; i < 3 && i < tag.count; ++i) lon[i] = rationalValue(tag.data, i);
        break;
      case kGpsAltitude: alt = rationalValue(tag.data, 0); break;
      case kGpsAltitudeRef: belowSeaLevel = !exact && !tag.data.empty() && tag.data[0] == 1; break;
      case kGpsMapDatum: datum = tag.data.substr(0, tag.data.find('\0')); break;
      default: break;
    }
  }
  constexpr double kDegreesMissing = -999.0;
  if (latRef == 'X' || lonRef == 'X' || lat[0] < kDegreesMissing || lon[0] < kDegreesMissing) {
    appendMessage(message, kErrGpsSections);
    return false;
  }
  double latDeg = lat[0] + lat[1] / kMinutesPerDegree + lat[2] / kSecondsPerDegree;
  double lonDeg = lon[0] + lon[1] / kMinutesPerDegree + lon[2] / kSecondsPerDegree;
  if (!isPlausibleLatLon(latDeg, lonDeg)) {
    appendMessage(message, kErrGpsValues);
    return false;
  }
  if (lonDeg > 0 && lonRef == 'W') lonDeg = -lonDeg;
  if (latDeg > 0 && latRef == 'S') latDeg = -latDeg;
  out.lat = latDeg;
  out.lon = lonDeg;
  out.altM = belowSeaLevel ? -alt : alt;
  out.datumName = std::move(datum);
  return true;
}

void TJpegExif::SetGpsWgs84(const TCoord& p) {
  const bool exact = quirks_ == GpsQuirks::Exact;
  auto set = [this, exact](std::uint16_t key, std::uint16_t type, std::uint32_t count, std::string_view data) {
    if (exact) SetTag(kGpsIfd, key, type, count, data);
    else SetTagInDirectory(kGpsIfd, key, type, count, data);
  };
  auto erase = [this](std::uint16_t key) {
    for (std::size_t i = tags_.size(); i-- > 0;)
      if (tags_[i].key == key && tags_[i].directory == kGpsIfd) tags_.erase(i);
  };
  if (!exact)
    for (std::uint16_t key : kOldFixGpsTags) erase(key);
  static constexpr unsigned char kVersion[] = {2, 0, 0, 0};
  set(kGpsVersionId, kTypeByte, 4, std::string_view(reinterpret_cast<const char*>(kVersion), 4));
  set(kGpsLatitudeRef, kTypeAscii, 2, std::string_view(p.lat < 0 ? "S" : "N", 2));
  set(kGpsLatitude, kTypeRational, 3, degreesMinutesSeconds(std::fabs(p.lat), !exact));
  set(kGpsLongitudeRef, kTypeAscii, 2, std::string_view(p.lon < 0 ? "W" : "E", 2));
  set(kGpsLongitude, kTypeRational, 3, degreesMinutesSeconds(std::fabs(p.lon), !exact));
  std::string altitude;
  if (exact) {
    // The altitude as it is: a negative one stays in the numerator, the reference stays 0.
    set(kGpsAltitudeRef, kTypeByte, 1, std::string_view("\0", 1));
    appendRational(altitude, p.alt, false);
    set(kGpsAltitude, kTypeRational, 1, altitude);
  } else if (p.alt <= kNoAltitudeLimit) {
    erase(kGpsAltitudeRef);  // an unknown altitude is no altitude, and an old one is stale
    erase(kGpsAltitude);
  } else {
    set(kGpsAltitudeRef, kTypeByte, 1, std::string_view(p.alt < 0 ? "\1" : "\0", 1));
    appendRational(altitude, std::fabs(decimalOf(p.alt)), true);
    set(kGpsAltitude, kTypeRational, 1, altitude);
  }
  set(kGpsMapDatum, kTypeAscii, static_cast<std::uint32_t>(kWgs84Name.size()), kWgs84Name);
  if (FindTag(kIfd0, kKeyGpsIfdPointer) < 0)
    SetTag(kIfd0, kKeyGpsIfdPointer, kTypeLong, 1, std::string_view("\0\0\0\0", 4));
  if (exact) return;
  // A second GPS entry under a key just set would contradict the new position: drop it.
  for (std::uint16_t key : {kGpsVersionId, kGpsLatitudeRef, kGpsLatitude, kGpsLongitudeRef, kGpsLongitude,
                            kGpsAltitudeRef, kGpsAltitude, kGpsMapDatum}) {
    const int kept = FindTag(kGpsIfd, key);
    for (std::size_t i = tags_.size(); i-- > 0;)
      if (static_cast<int>(i) != kept && tags_[i].key == key && tags_[i].directory == kGpsIfd) tags_.erase(i);
  }
}

bool TJpegExif::ReadPosition(TCoord& point, int& datum, std::string& message) const {
  ExifGpsPosition gps;
  if (!ReadGps(gps, message)) return false;
  const int index = datumTable().findByName(gps.datumName);
  if (index < 0) {
    appendMessage(message, std::string(kErrUnknownDatum) + gps.datumName);
    return false;
  }
  point.lat = gps.lat;
  point.lon = gps.lon;
  point.alt = static_cast<float>(gps.altM);
  datum = index;
  return true;
}

bool TJpegExif::SetGpsPosition(const TCoord& point, int datum, std::string& message) {
  TCoord wgs84 = point;
  if (!datumTable().Transforma_Grados_Datum(wgs84, datum, kDatumWgs84, message)) return false;
  SetGpsWgs84(wgs84);
  return true;
}

}  // namespace pixtrail
