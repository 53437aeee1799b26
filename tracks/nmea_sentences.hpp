#pragma once
// The sentences the system reads, one typed record and one decoder each. The live fix
// (devices/TProtocoloNMEA) and the log readers (tracks/track_format_nmea) both apply these
// records, so a field is decoded in one place; each applies its own policy to what is unknown.
// A new sentence is a record, its decoder here and a row in the route table of each reader that
// wants it.
//
// Decoders never fail: a field that is empty or does not read is unknown in the record. Text
// fields are views into the sentence, valid while it is.

#include <optional>
#include <string_view>

#include "tracks/nmea_sentence.hpp"

namespace pixtrail {

// $GPGGA,123519,4807.038,N,01131.000,E,1,08,0.9,545.4,M,46.9,M,,*47
struct NmeaGga {
  std::string_view timeText;  // as received
  std::optional<DateTimeRecord> time;
  std::optional<TCoord> position;    // lat and lon only
  std::string_view qualityText;      // as received: the live fix judges the text, not the number
  std::optional<long long> quality;  // 0 no fix, 1 GPS, 2 differential, 6 estimated, ...
  std::optional<long long> satellites;
  std::optional<double> hdop;
  std::optional<double> altitudeM;   // above mean sea level; "-9999" is none, "F" feet converted
  std::optional<double> geoidSeparationM;
};

// $GPRMC,123519,A,4807.038,N,01131.000,E,022.4,084.4,230394,003.1,W*6A
struct NmeaRmc {
  std::string_view timeText;
  std::optional<DateTimeRecord> time;
  std::string_view status;  // "A" valid, "V" not
  std::optional<TCoord> position;
  std::optional<double> speedKnots;
  std::optional<double> courseDeg;  // over ground, from true north
  std::string_view dateText;        // ddmmyy as received
  std::optional<DateTimeRecord> date;
};

// $GPGLL,4916.45,N,12311.12,W,225444,A*31
struct NmeaGll {
  std::optional<TCoord> position;
  std::string_view timeText;
  std::optional<DateTimeRecord> time;
  std::string_view status;
};

// $GPVTG,054.7,T,034.4,M,005.5,N,010.2,K*48
struct NmeaVtg {
  std::optional<double> courseTrueDeg;
  std::optional<double> speedKnots;
  std::optional<double> speedKmh;
};

// $GPZDA,201530.00,04,07,2002,00,00*60
struct NmeaZda {
  std::string_view timeText;
  std::optional<DateTimeRecord> time;
  std::optional<DateTimeRecord> date;  // day, month, year as sent, not yet checked
};

// $GPGSA,A,3,04,05,,09,12,,,24,,,,,2.5,1.3,2.1*39
struct NmeaGsa {
  std::optional<long long> fixType;  // 1 none, 2 2D, 3 3D
};

// A track point of PMGNTRK (or of GGA read as a track point).
struct NmeaTrackPoint {
  TCoord position;
  DateTimeRecord time;  // date part empty when the sentence gave none
  bool valid = false;
};

NmeaGga decodeGga(const NmeaSentence& s);
NmeaRmc decodeRmc(const NmeaSentence& s);
NmeaGll decodeGll(const NmeaSentence& s);
NmeaVtg decodeVtg(const NmeaSentence& s);
NmeaZda decodeZda(const NmeaSentence& s);
NmeaGsa decodeGsa(const NmeaSentence& s);

// Magellan's track point:
// $PMGNTRK,4322.817,N,00551.286,E,00089,M,170547.71,A,,020602*6A
//   1..4 position, 5 altitude, 6 unit "M"/"F", 7 time hhmmss.ss, 8 "A"/"V", 9 track name,
//   10 date ddmmyy (later units only).
// Unlike the others it can fail, with the Magellan family's messages: the sentence is a record of
// a download, and a point without time or position is not one.
bool decodePmgntrk(const NmeaSentence& s, NmeaTrackPoint& out, TErrorNMEA& error);

// An altitude and its unit at index, index + 1: "F" is feet, anything else metres; "-9999" is none.
std::optional<double> nmeaAltitudeM(const NmeaSentence& s, std::size_t index);

}  // namespace pixtrail
