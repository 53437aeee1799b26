#pragma once
// One received NMEA 0183 sentence, split once into its fields, with typed readers over them. Both
// the live link (devices/) and the log readers (tracks/) read sentences through this class, so a
// field means the same thing wherever it is read.
//
// Empty-field policy: every typed reader returns "unknown" (std::nullopt) for an empty or
// missing field, never zero; a field that is present but does not read is unknown too. Whether
// unknown is an error is the decoder's decision, not the reader's.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "core/DateTimeRecord.hpp"
#include "core/TCoord.hpp"

namespace pixtrail {

// The system's own texts, compared byte for byte (odd spellings and the missing blank kept).
namespace nmea_text {
inline constexpr std::string_view kNoDollar = "Wrong NMEA message. ($ symbol not found)";
inline constexpr std::string_view kChecksumSection = "Error in NMEA message in checksum section";
inline constexpr std::string_view kMagGga = "NMEA-Mag: Error en el mensaje NMEA GGA";
inline constexpr std::string_view kMagTrk = "NMEA-Mag: Error en el mensaje NMEA PMGNTRK";
inline constexpr std::string_view kMagWpl = "NMEA-Mag: Error en el mensaje WPL";
inline constexpr std::string_view kMagRouteWaypoint = "NMEA-Mag: Baliza de ruta no encontrada";
inline constexpr std::string_view kMagPosition = "NMEA-Mag: Position syntax Error";
inline constexpr std::string_view kMlrWpl = "NMEA-MLR: Error en el mensaje WPL";
inline constexpr std::string_view kMlrWplShortName = "NMEA-MLR: Error en el mensaje WPL: ultima palabra corta";
inline constexpr std::string_view kMlrWpwpl = "NMEA-MLR: Error en el mensaje NMEA WPWPL";
inline constexpr std::string_view kMlrRte = "NMEA-MLR: Error en el mensaje GPRTE";
inline constexpr std::string_view kMlrRouteWaypoint = "NMEA-MLR: Baliza de ruta no encontrada";
inline constexpr std::string_view kMlrPosition = "NMEA-MLR: Position syntax Error";
inline constexpr std::string_view kMlrPositionPmlr = "NMEA-MLR:Position syntax Error";
inline constexpr std::string_view kTalvioWpr = "NMEA-Talvio: Error in message WPR";
inline constexpr std::string_view kTalvioPosition = "NMEA-Talvio: Position syntax Error";
}  // namespace nmea_text

// Which family of messages a failed field read reports.
enum class NmeaDialect : std::uint8_t { kMagellan, kMlr, kMlrProprietary, kTalvio };

// The error record of NMEA parsing: returned, never thrown. `message` gathers the system's texts
// through appendMessage; `detail` holds the offending line.
struct TErrorNMEA {
  enum Code : std::int32_t { kNone = 0, kNoDollar = 1, kChecksumSection = 2, kSentence = 3, kPosition = 4,
                             kRouteWaypoint = 5 };
  std::int32_t code = kNone;
  std::string message;
  std::string detail;
  std::uint8_t severity = 0;    // 0 the sentence is refused, the link goes on
  std::uint8_t noResponse = 0;  // kept for the device protocols' error objects; NMEA never sets it

  // Sets the code and the offending text, and appends `text` to the message.
  void refuse(std::int32_t errorCode, std::string_view text, std::string_view offending);
};

// hhmmss[.sss] into the time fields of `out` (date untouched); false on anything else.
bool readNmeaTime(std::string_view text, DateTimeRecord& out);
// ddmmyy into the date fields of `out` (yy below 80 is 20yy); false on anything else.
bool readNmeaDate(std::string_view text, DateTimeRecord& out);

// A sentence as held in memory. Fields are spans of the body, so a sentence is cheap to reuse for
// the next line (no allocation once the buffers have grown).
class NmeaSentence {
 public:
  // Fills the sentence from a raw line (leading noise, trailing CR and/or LF allowed). True when
  // the line holds a "$" and a well-formed checksum section; whether the checksum matched is
  // checksumCorrect(). On failure the record gets the system's message, the sentence keeps what it
  // held, and false comes back.
  bool Parse(std::string_view line, TErrorNMEA& error);

  // The identifier without its talker: two letters ("GPGGA" gives "GGA"), or the "P" of a
  // proprietary sentence ("PMGNWPL" gives "MGNWPL"). Identifiers shorter than four characters are
  // their own type ("D").
  std::string_view type() const { return view(type_); }
  // Between "$" and "*", neither included.
  std::string_view body() const { return body_; }
  // The two characters after "*", or empty when the sentence had no "*".
  std::string_view checksumText() const { return {checksumText_, checksumLength_}; }
  // Field 0 is the identifier; empty fields are kept as empty.
  std::size_t fieldCount() const { return fields_.size(); }
  // An index past the end reads as an empty field, as receivers leave trailing fields out.
  std::string_view field(std::size_t index) const {
    return index < fields_.size() ? view(fields_[index]) : std::string_view{};
  }
  std::string_view identifier() const { return field(0); }
  std::string_view talker() const;

  std::int32_t computedChecksum() const { return computedChecksum_; }
  // True only when a checksum was present and matched.
  bool checksumCorrect() const { return checksumCorrect_; }

  // Typed readers (see the empty-field policy above).
  // A decimal number filling the whole field; a leading "+" is allowed, "inf" and "nan" are not.
  std::optional<double> number(std::size_t index) const;
  std::optional<long long> integer(std::size_t index) const;
  // Latitude ddmm.mmmm and "N"/"S" at index, index + 1; longitude dddmm.mmmm and "E"/"W" at
  // index + 2, index + 3. Unknown when any of the four is missing or out of range. Only lat and
  // lon are set.
  std::optional<TCoord> position(std::size_t index) const;
  // The same, appending the dialect's position message to `error` when it does not read.
  std::optional<TCoord> position(std::size_t index, NmeaDialect dialect, TErrorNMEA& error) const;
  // hhmmss[.sss] (date fields empty) and ddmmyy (time fields empty).
  std::optional<DateTimeRecord> time(std::size_t index) const;
  std::optional<DateTimeRecord> date(std::size_t index) const;

 protected:
  struct Span {
    std::uint32_t begin = 0;
    std::uint32_t length = 0;
  };
  std::string_view view(Span s) const { return std::string_view(body_).substr(s.begin, s.length); }
  // Splits body_ into fields and the type; returns the XOR of its bytes, found in the same pass.
  std::uint8_t splitBody();

  std::string body_;
  std::vector<Span> fields_;
  Span type_;
  char checksumText_[2] = {0, 0};
  std::uint8_t checksumLength_ = 0;
  std::int32_t computedChecksum_ = 0;
  bool checksumCorrect_ = false;
};

}  // namespace pixtrail
