#pragma once
// The sentences the system reads, one typed record each. The live fix (devices/TProtocoloNMEA)
// and the log readers (tracks/track_format_nmea) both read sentences through these records, so
// each field's place and type are written down once; each reader applies its own policy to what
// is unknown. A new sentence is a record here and a row in the route table of each reader that
// wants it.
//
// A record is a view over a parsed sentence (valid while the sentence is) whose fields are read
// when asked for: the live fix reads a few fields of every sentence, and reading the rest up front
// cost it a tenth of its speed. A field that is empty or does not read is unknown.

#include <optional>
#include <string_view>

#include "tracks/nmea_sentence.hpp"

namespace pixtrail {

// An altitude and its unit at index, index + 1: "F" is feet, anything else metres; "-9999" is none.
std::optional<double> nmeaAltitudeM(const NmeaSentence& s, std::size_t index);

class NmeaRecord {
 public:
  explicit NmeaRecord(const NmeaSentence& sentence) : s_(sentence) {}

 protected:
  const NmeaSentence& s_;
};

// $GPGGA,123519,4807.038,N,01131.000,E,1,08,0.9,545.4,M,46.9,M,,*47
class NmeaGga : public NmeaRecord {
 public:
  using NmeaRecord::NmeaRecord;
  std::string_view timeText() const { return s_.field(1); }  // as received
  std::optional<DateTimeRecord> time() const { return s_.time(1); }
  std::optional<TCoord> position() const { return s_.position(2); }  // lat and lon only
  // The live fix judges the text as received, the log readers the number.
  std::string_view qualityText() const { return s_.field(6); }
  std::optional<long long> quality() const { return s_.integer(6); }  // 0 none, 1 GPS, 2 differential, ...
  std::optional<long long> satellites() const { return s_.integer(7); }
  std::optional<double> hdop() const { return s_.number(8); }
  // Above mean sea level; "-9999" is none, "F" feet converted.
  std::optional<double> altitudeM() const { return nmeaAltitudeM(s_, 9); }
  std::optional<double> geoidSeparationM() const { return s_.number(11); }
};

// $GPRMC,123519,A,4807.038,N,01131.000,E,022.4,084.4,230394,003.1,W*6A
class NmeaRmc : public NmeaRecord {
 public:
  using NmeaRecord::NmeaRecord;
  std::string_view timeText() const { return s_.field(1); }
  std::optional<DateTimeRecord> time() const { return s_.time(1); }
  std::string_view status() const { return s_.field(2); }  // "A" valid, "V" not
  std::optional<TCoord> position() const { return s_.position(3); }
  std::optional<double> speedKnots() const { return s_.number(7); }
  std::optional<double> courseDeg() const { return s_.number(8); }  // over ground, from true north
  std::string_view dateText() const { return s_.field(9); }  // ddmmyy as received
  std::optional<DateTimeRecord> date() const { return s_.date(9); }
};

// $GPGLL,4916.45,N,12311.12,W,225444,A*31
class NmeaGll : public NmeaRecord {
 public:
  using NmeaRecord::NmeaRecord;
  std::optional<TCoord> position() const { return s_.position(1); }
  std::string_view timeText() const { return s_.field(5); }
  std::optional<DateTimeRecord> time() const { return s_.time(5); }
  std::string_view status() const { return s_.field(6); }
};

// $GPVTG,054.7,T,034.4,M,005.5,N,010.2,K*48
class NmeaVtg : public NmeaRecord {
 public:
  using NmeaRecord::NmeaRecord;
  std::optional<double> courseTrueDeg() const { return s_.number(1); }
  std::optional<double> speedKnots() const { return s_.number(5); }
  std::optional<double> speedKmh() const { return s_.number(7); }
};

// $GPZDA,201530.00,04,07,2002,00,00*60
class NmeaZda : public NmeaRecord {
 public:
  using NmeaRecord::NmeaRecord;
  std::string_view timeText() const { return s_.field(1); }
  std::optional<DateTimeRecord> time() const { return s_.time(1); }
  // Day, month and year as sent, not yet checked.
  std::optional<DateTimeRecord> date() const;
};

// $GPGSA,A,3,04,05,,09,12,,,24,,,,,2.5,1.3,2.1*39
class NmeaGsa : public NmeaRecord {
 public:
  using NmeaRecord::NmeaRecord;
  std::optional<long long> fixType() const { return s_.integer(2); }  // 1 none, 2 2D, 3 3D
};

// A track point of PMGNTRK (or of GGA read as a track point): a value, not a view.
struct NmeaTrackPoint {
  TCoord position;
  DateTimeRecord time;  // date part empty when the sentence gave none
  bool valid = false;
};

// Magellan's track point:
// $PMGNTRK,4322.817,N,00551.286,E,00089,M,170547.71,A,,020602*6A
//   1..4 position, 5 altitude, 6 unit "M"/"F", 7 time hhmmss.ss, 8 "A"/"V", 9 track name,
//   10 date ddmmyy (later units only).
// Unlike the others it can fail, with the Magellan family's messages: the sentence is a record of
// a download, and a point without time or position is not one.
bool decodePmgntrk(const NmeaSentence& s, NmeaTrackPoint& out, TErrorNMEA& error);


}  // namespace pixtrail
