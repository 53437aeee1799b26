#pragma once
// Coordinates as the text shown in lists, labels and dialogs, and typed text back into degrees.
// All texts are 8-bit (Latin-1): the degree mark is byte 0xBA; front ends convert at their edge.

#include <string>
#include <string_view>

#include "core/TCoord.hpp"

namespace pixtrail {

// Angle formats of the configuration. A negative format means "the configured one"; a format
// above kSignedDegrees produces no text.
enum AngleFormat : int {
  kDecimalDegrees = 0,    // "40.4250000"
  kDegreesMinutes = 1,    // "40" "25.500"
  kDegreesMinutesSeconds = 2,  // "40" "25" "30.0"
  kParisGrads = 3,        // grads, longitude counted from the Paris meridian
  kSignedDegrees = 4,     // "-3.5000000"
};
inline constexpr int kDefaultAngleFormat = kDegreesMinutes;

inline constexpr char kDegreeMark[] = "\xBA";
inline constexpr char kMinuteMark = '\'';
inline constexpr char kSecondMark = '"';
inline constexpr char kGradSuffix[] = "gr ";
// Longitude of the Paris meridian east of Greenwich, degrees (2°20'14.025").
inline constexpr double kParisMeridianDeg = 2.337229166666667;

// The parts of one angle; parts a format lacks stay empty.
struct AngleText {
  std::string degrees;
  std::string minutes;
  std::string seconds;
};

// The user's settings for coordinate texts, as the front ends read them from the configuration.
struct CoordinateTextSettings {
  int angleFormat = kDefaultAngleFormat;  // what a negative format stands for
  // Grads from Paris with the hemisphere letter of the longitude itself, as the program first did
  // it. Between Greenwich and Paris such a text names the wrong side of Paris and reads back about
  // 2 x (2.34 - lon) degrees off; by default the letter follows the printed value instead.
  bool parisLetterFromLongitude = false;
  // Geographic display asked for: the UTM texts fall back to the latitude and longitude texts.
  bool utmAsGeographic = false;
};

// Resolves a negative format to the configured one.
inline int effectiveAngleFormat(int format, int configured = kDefaultAngleFormat) {
  return format < 0 ? configured : format;
}

AngleText angleToText(bool isLatitude, double valueDeg, int format, const CoordinateTextSettings& settings = {});
char hemisphereLetter(bool isLatitude, double valueDeg);
// The parts joined with their marks and the hemisphere letter: "40\xBA" "25.500' N".
std::string latitudeText(double lat, int format, const CoordinateTextSettings& settings = {});
std::string longitudeText(double lon, int format, const CoordinateTextSettings& settings = {});

// Reads a typed latitude or longitude ("40 25' 30\" N", "3.5W"). On failure `valueDeg` and
// `isLatitude` are left as they were and the system's message is appended.
bool textToAngle(std::string_view text, double& valueDeg, bool& isLatitude, std::string& message);

// Reads back a text of a given format, including the two the typed-text reader does not take
// (grads from Paris; signed degrees, whose axis the caller gives in `isLatitude`).
bool formattedTextToAngle(std::string_view text, int format, double& valueDeg, bool& isLatitude,
                          std::string& message, const CoordinateTextSettings& settings = {});

// UTM texts: easting "ZZ  EEEEEE", northing "NNNNNNN", whole metres.
std::string utmEastingText(int zone, double easting);
std::string utmNorthingText(double northing);
// The same where the position is known: with utmAsGeographic the easting's place shows the
// latitude text and the northing's the longitude text, the order of the fields of track files.
std::string utmEastingText(int zone, double easting, const TCoord& geographic, const CoordinateTextSettings& settings);
std::string utmNorthingText(double northing, const TCoord& geographic, const CoordinateTextSettings& settings);

// Fixed-width position "DDMMmmmHDDDMMmmmH" (degrees, minutes, thousandths of a minute).
std::string compactPositionText(double lat, double lon);

}  // namespace pixtrail
