#pragma once
// One NMEA 0183 sentence: the received form (TComandaNMEA_Rx: a line split into identifier, fields
// and checksum) and the form to send (TComandaNMEA_Tx: fields joined, checksummed, CR LF ended).
// The receive side also reads the waypoint, route and track sentences of the Magellan ("PMGN…"),
// MLR and Talvio dialects; each dialect reports failures with its own family of messages.

#include <cstdint>
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
};

// A sentence as held in memory. Fields are views into the body, so a sentence is cheap to reuse
// for the next line (no allocation once the buffers have grown).
class TComandaNMEA {
 public:
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

 protected:
  struct Span {
    std::uint32_t begin = 0;
    std::uint32_t length = 0;
  };
  std::string_view view(Span s) const { return std::string_view(body_).substr(s.begin, s.length); }
  void splitBody();

  std::string body_;
  std::vector<Span> fields_;
  Span type_;
  char checksumText_[2] = {0, 0};
  std::uint8_t checksumLength_ = 0;
  std::int32_t computedChecksum_ = 0;
  bool checksumCorrect_ = false;
};

// A waypoint as the waypoint sentences carry it (PMGNWPL, WPL and their dialect variants).
struct NmeaWaypoint {
  std::string name;
  TCoord position;
  std::string comment;
  std::string icon;
};

// A track point of PMGNTRK.
struct NmeaTrackPoint {
  TCoord position;
  DateTimeRecord time;  // date part empty when the sentence gave none
  bool valid = false;
};

// One route message (PMGNRTE or RTE): a route may need several.
struct NmeaRouteMessage {
  int messageCount = 0;
  int messageNumber = 0;
  std::string routeName;                 // route number or name as sent
  std::vector<std::string> waypointNames;
  std::vector<std::string> icons;        // PMGNRTE only, one per waypoint name
};

class TComandaNMEA_Rx : public TComandaNMEA {
 public:
  // Fills the sentence from a raw line (leading noise, trailing CR and/or LF allowed). True when
  // the line holds a "$" and a well-formed checksum section; whether the checksum matched is
  // checksumCorrect(). On failure the record gets the system's message and false comes back.
  bool Parse(std::string_view line, TErrorNMEA& error);

  // Field readers. A number must fill the whole field; an empty field is "unknown", not zero.
  bool number(std::size_t index, double& out) const;
  bool integer(std::size_t index, long long& out) const;
  // Latitude ddmm.mmmm and its "N"/"S" at index, index + 1; longitude dddmm.mmmm and "E"/"W" at
  // index + 2, index + 3. False when any of the four is missing or out of range.
  bool position(std::size_t index, TCoord& out) const;
  // The same, reporting the dialect's position message on failure.
  bool position(std::size_t index, NmeaDialect dialect, TCoord& out, TErrorNMEA& error) const;

  // Dialect sentences (see TComandaNMEA_dialects.cpp for their field layouts).
  bool ParseGGATrackPoint(NmeaTrackPoint& out, TErrorNMEA& error) const;
  bool ParsePMGNTRK(NmeaTrackPoint& out, TErrorNMEA& error) const;
  bool ParsePMGNWPL(NmeaWaypoint& out, TErrorNMEA& error) const;
  bool ParsePMGNRTE(NmeaRouteMessage& out, TErrorNMEA& error) const;
  bool ParseWPL(NmeaWaypoint& out, TErrorNMEA& error) const;
  bool ParseRTE(NmeaRouteMessage& out, TErrorNMEA& error) const;
  bool ParsePMLR(NmeaWaypoint& out, TErrorNMEA& error) const;
  bool ParseWPR(NmeaWaypoint& out, TErrorNMEA& error) const;
};

// hhmmss[.sss] into the time fields of `out` (date untouched); false on anything else.
bool readNmeaTime(std::string_view text, DateTimeRecord& out);
// ddmmyy into the date fields of `out` (yy below 80 is 20yy); false on anything else.
bool readNmeaDate(std::string_view text, DateTimeRecord& out);

// Looks up every waypoint a route names among the waypoints received; false with the dialect's
// "Baliza de ruta no encontrada" when one is missing (the output is then left untouched).
bool resolveRouteWaypoints(const NmeaRouteMessage& route, const std::vector<NmeaWaypoint>& known,
                           NmeaDialect dialect, std::vector<NmeaWaypoint>& out, TErrorNMEA& error);

// A sentence to send: field texts by index, joined from the first index to send.
class TComandaNMEA_Tx : public TComandaNMEA {
 public:
  static constexpr std::string_view kTalkerGps = "GP";
  // The alternative talker text, used for proprietary sentences.
  static constexpr std::string_view kTalkerProprietary = "PBR";

  TComandaNMEA_Tx();
  virtual ~TComandaNMEA_Tx() = default;

  void setField(std::size_t index, std::string_view text);
  void setFirstField(std::size_t index) { firstField_ = index; }
  void clearFields();
  // "$" + fields joined by "," + "*" + "%02X" + "\r\n". The sentence (body, fields, checksum) is
  // then also readable through the base class.
  std::string Build();

  // The talker written in front of the standard sentences this object builds.
  virtual std::string_view talkerText() const { return kTalkerGps; }

  // A GGA position report of a fix: time hhmmss (".00" appended when asked), the position,
  // quality "1", satellites "5", HDOP "0", the altitude in metres and geoid "0" "M".
  std::string BuildGGA(const DateTimeRecord& time, const TCoord& position, bool hundredths = false);
  // An RMC of the same fix with status "A", no speed or course known.
  std::string BuildRMC(const DateTimeRecord& time, const TCoord& position);

  // "%02d%02d%02d" or "%02d%02d%02d.00".
  static std::string timeText(const DateTimeRecord& time, bool hundredths);
  // ddmm.mmmm / dddmm.mmmm with the hemisphere letter.
  static std::string latitudeText(double lat);
  static std::string longitudeText(double lon);
  static char latitudeHemisphere(double lat) { return lat >= 0.0 ? 'N' : 'S'; }
  static char longitudeHemisphere(double lon) { return lon >= 0.0 ? 'E' : 'W'; }

 private:
  std::vector<std::string> texts_;
  std::size_t used_ = 0;
  std::size_t firstField_ = 0;
};

// The transmit variant for receivers that listen to their own talker; otherwise identical.
class TComandaNMEA_Tx_Galileo : public TComandaNMEA_Tx {
 public:
  static constexpr std::string_view kTalkerGalileo = "GA";
  std::string_view talkerText() const override { return kTalkerGalileo; }
};

}  // namespace pixtrail
