#pragma once
// One NMEA 0183 sentence: the received form (TComandaNMEA_Rx: the shared sentence of
// tracks/nmea_sentence.hpp, plus the waypoint and route sentences of the Magellan ("PMGN…"), MLR
// and Talvio dialects, each reporting failures with its own family of messages) and the form to
// send (TComandaNMEA_Tx: fields joined, checksummed, CR LF ended).

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "core/DateTimeRecord.hpp"
#include "core/TCoord.hpp"
#include "tracks/nmea_sentence.hpp"
#include "tracks/nmea_sentences.hpp"

namespace pixtrail {

// The sentence itself (fields, type, checksum and their readers) is shared with the log readers.
using TComandaNMEA = NmeaSentence;

// A waypoint as the waypoint sentences carry it (PMGNWPL, WPL and their dialect variants).
struct NmeaWaypoint {
  std::string name;
  TCoord position;
  std::string comment;
  std::string icon;
};

// One route message of RTE: a route may need several. (PMGNRTE has its own reader beside the
// other Magellan sentences.)
struct NmeaRouteMessage {
  int messageCount = 0;
  int messageNumber = 0;
  std::string routeName;  // route number or name as sent
  std::vector<std::string> waypointNames;
};

// A received sentence with the readers of the waypoint, route and track sentences of the receiver
// dialects (field layouts in TComandaNMEA_dialects.cpp). Each reports its dialect's messages and
// leaves its output untouched on failure.
class TComandaNMEA_Rx : public TComandaNMEA {
 public:
  bool ParseGGATrackPoint(NmeaTrackPoint& out, TErrorNMEA& error) const;
  bool ParsePMGNWPL(NmeaWaypoint& out, TErrorNMEA& error) const;
  bool ParseWPL(NmeaWaypoint& out, TErrorNMEA& error) const;
  bool ParseRTE(NmeaRouteMessage& out, TErrorNMEA& error) const;
  bool ParsePMLR(NmeaWaypoint& out, TErrorNMEA& error) const;
  bool ParseWPR(NmeaWaypoint& out, TErrorNMEA& error) const;
};

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
