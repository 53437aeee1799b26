#include "tracks/track_format_nmea.hpp"

#include <cmath>
#include <cstdio>
#include <vector>

#include "core/messages.hpp"
#include "core/text.hpp"
#include "tracks/nmea_checksum.hpp"
#include "tracks/nmea_sentences.hpp"
#include "tracks/track_datum.hpp"
#include "tracks/track_format_common.hpp"

namespace pixtrail {

namespace {

constexpr std::string_view kMagellanError = "Error reading Magellan log file.";

// One epoch of sentences, before dating.
struct Epoch {
  std::string timeText;
  DateTimeRecord timeOfDay;
  std::optional<DateTimeRecord> date;  // from RMC or ZDA of this epoch
  std::optional<TCoord> position;      // WGS 84
  bool invalid = false;                // a sentence of the epoch said the fix is not usable
  float altM = kUnknownAltitude;
  float speedMs = -1.0f, courseDeg = -1.0f, hdop = 0.0f;
  int satellites = 0;
  std::int8_t fixType = 0;
};

double secondOfDay(const DateTimeRecord& t) {
  return t.hour * kSecondsPerHour + t.minute * kSecondsPerMinute + t.seconds;
}

// The date of `dated` moved to the time of day of `epoch`, `days` days later.
DateTimeRecord dateAt(const DateTimeRecord& dated, const DateTimeRecord& timeOfDay, int days) {
  DateTimeRecord r = dated;
  r.hour = timeOfDay.hour;
  r.minute = timeOfDay.minute;
  r.seconds = timeOfDay.seconds;
  return days == 0 ? r : shiftedBySeconds(r, days * kSecondsPerDay);
}

class EpochCollector {
 public:
  std::vector<Epoch> epochs;

  void take(const NmeaSentence& s);

 private:
  using Handler = void (EpochCollector::*)(const NmeaSentence&);
  static const std::pair<std::string_view, Handler> kRoutes[];

  void takeRmc(const NmeaSentence& s) {
    const NmeaRmc rmc(s);
    const std::optional<DateTimeRecord> time = rmc.time();
    if (!time) return;
    Epoch& e = epochAt(rmc.timeText(), *time);
    if (rmc.status() != "A") e.invalid = true;
    if (const auto position = rmc.position()) e.position = position;
    if (const auto knots = rmc.speedKnots()) e.speedMs = static_cast<float>(*knots * kKnotsToMs);
    if (const auto course = rmc.courseDeg()) e.courseDeg = static_cast<float>(*course);
    if (const auto date = rmc.date()) e.date = date;
  }

  void takeGga(const NmeaSentence& s) {
    const NmeaGga gga(s);
    const std::optional<DateTimeRecord> time = gga.time();
    if (!time) return;
    Epoch& e = epochAt(gga.timeText(), *time);
    if (gga.quality() == 0) e.invalid = true;
    if (const auto position = gga.position()) e.position = position;
    if (const auto sats = gga.satellites(); sats && *sats > 0) e.satellites = static_cast<int>(*sats);
    if (const auto hdop = gga.hdop()) e.hdop = static_cast<float>(*hdop);
    if (const auto alt = gga.altitudeM()) e.altM = static_cast<float>(*alt);
  }

  void takeGll(const NmeaSentence& s) {
    const NmeaGll gll(s);
    const std::optional<DateTimeRecord> time = gll.time();
    if (!time) return;
    Epoch& e = epochAt(gll.timeText(), *time);
    if (gll.status() == "V") e.invalid = true;
    if (!e.position) e.position = gll.position();
  }

  void takeZda(const NmeaSentence& s) {
    const NmeaZda zda(s);
    const std::optional<DateTimeRecord> time = zda.time(), date = zda.date();
    if (time && date && date->isValid()) epochAt(zda.timeText(), *time).date = date;
  }

  void takeVtg(const NmeaSentence& s) {
    if (epochs.empty()) return;
    const NmeaVtg vtg(s);
    Epoch& e = epochs.back();
    if (const auto course = vtg.courseTrueDeg(); course && e.courseDeg < 0) e.courseDeg = static_cast<float>(*course);
    if (const auto kmh = vtg.speedKmh(); kmh && e.speedMs < 0) e.speedMs = static_cast<float>(*kmh * kKmhToMs);
  }

  void takeGsa(const NmeaSentence& s) {
    if (epochs.empty()) return;
    const std::optional<long long> fixType = NmeaGsa(s).fixType();
    if (fixType == 2 || fixType == 3) epochs.back().fixType = static_cast<std::int8_t>(*fixType);
  }

  Epoch& epochAt(std::string_view timeText, const DateTimeRecord& t) {
    if (epochs.empty() || epochs.back().timeText != timeText) {
      epochs.emplace_back();
      epochs.back().timeText = std::string(timeText);
      epochs.back().timeOfDay = t;
    }
    return epochs.back();
  }
};

// The position sentences open an epoch by their time; VTG and GSA add to the latest one.
const std::pair<std::string_view, EpochCollector::Handler> EpochCollector::kRoutes[] = {
    {"RMC", &EpochCollector::takeRmc}, {"GGA", &EpochCollector::takeGga}, {"GLL", &EpochCollector::takeGll},
    {"ZDA", &EpochCollector::takeZda}, {"VTG", &EpochCollector::takeVtg}, {"GSA", &EpochCollector::takeGsa}};

void EpochCollector::take(const NmeaSentence& s) {
  const std::string_view type = s.type();
  for (const auto& [routeType, handle] : kRoutes)
    if (type == routeType) return (this->*handle)(s);
}

// Dates every epoch from the nearest dated one, counting midnights between them.
void dateEpochs(std::vector<Epoch>& epochs, const std::optional<DateTimeRecord>& userDate) {
  std::optional<std::size_t> firstDated;
  for (std::size_t i = 0; i < epochs.size() && !firstDated; ++i)
    if (epochs[i].date) firstDated = i;
  if (!firstDated && userDate) {
    if (epochs.empty()) return;
    epochs[0].date = *userDate;
    firstDated = 0;
  }
  if (!firstDated) return;
  // Backwards from the first dated epoch: a time of day higher than the one after it is a
  // midnight crossed.
  int days = 0;
  for (std::size_t i = *firstDated; i-- > 0;) {
    if (secondOfDay(epochs[i].timeOfDay) > secondOfDay(epochs[i + 1].timeOfDay)) --days;
    epochs[i].date = dateAt(*epochs[*firstDated].date, epochs[i].timeOfDay, days);
  }
  DateTimeRecord base = *epochs[*firstDated].date;
  days = 0;
  for (std::size_t i = *firstDated; i < epochs.size(); ++i) {
    if (i > *firstDated && epochs[i].date) {
      base = *epochs[i].date;
      days = 0;
    } else if (i > *firstDated) {
      if (secondOfDay(epochs[i].timeOfDay) < secondOfDay(epochs[i - 1].timeOfDay)) ++days;
    }
    epochs[i].date = dateAt(base, epochs[i].timeOfDay, days);
  }
}

}  // namespace

bool readNmeaLogText(std::string_view text, const std::string& fileName, const NmeaLogOptions& options,
                     TVolGPS& track, std::string& message, NmeaLogStats* stats) {
  EpochCollector collector;
  NmeaLogStats counts;
  NmeaSentence sentence;
  forEachLine(text, [&](std::string_view line) {
    if (trim(line).empty()) return true;
    ++counts.sentences;
    TErrorNMEA error;
    if (!sentence.Parse(line, error) || !sentence.checksumCorrect()) {
      ++counts.unreadable;
      return true;
    }
    collector.take(sentence);
    return true;
  });
  std::vector<Epoch>& epochs = collector.epochs;
  bool anyDate = false;
  for (const Epoch& e : epochs) anyDate = anyDate || e.date.has_value();
  dateEpochs(epochs, options.date);
  TVolGPS loaded;
  for (const Epoch& e : epochs) {
    if (!e.position || e.invalid) continue;
    const DateTimeRecord when = e.date ? *e.date : e.timeOfDay;
    auto p = makePoint(e.position->lat, e.position->lon, e.altM, when);
    if (!e.date) p->time = TPuntTiempo::fromRecord(e.timeOfDay);  // a time of day, no date
    p->speedMs = e.speedMs;
    p->courseDeg = e.courseDeg;
    p->hdop = e.hdop;
    p->satellites = e.satellites;
    p->fixType = e.fixType;
    loaded.appendPoint(std::move(p));
  }
  if (stats) *stats = counts;
  if (loaded.pointCount() == 0) {
    appendMessage(message, fileName + ": no valid position sentences in this NMEA log");
    return false;
  }
  if (counts.unreadable > 0)
    appendMessage(message, fileName + ": " + std::to_string(counts.unreadable) +
                               " unreadable sentences skipped");
  if (!anyDate && !options.date)
    appendMessage(message, fileName + ": no date in this NMEA log; give one to date its times");
  track.points = std::move(loaded.points);
  return true;
}

bool looksLikeMagellanLog(std::string_view text) { return text.find("$PMGNTRK") != std::string_view::npos; }

bool readMagellanLogText(std::string_view text, const std::string&, TVolGPS& track,
                         std::string& message) {
  TVolGPS loaded;
  NmeaSentence sentence;
  std::optional<DateTimeRecord> lastDate;
  double previousSecond = -1.0;
  int days = 0;
  forEachLine(text, [&](std::string_view line) {
    TErrorNMEA error;
    NmeaTrackPoint tp;
    if (!sentence.Parse(line, error) || !sentence.checksumCorrect() ||
        sentence.identifier() != "PMGNTRK" || !decodePmgntrk(sentence, tp, error))
      return true;
    DateTimeRecord when = tp.time;
    if (when.month != 0) {
      lastDate = when;
      days = 0;
    } else if (lastDate) {
      if (secondOfDay(when) < previousSecond) ++days;
      when = dateAt(*lastDate, when, days);
    }
    previousSecond = secondOfDay(tp.time);
    auto p = makePoint(tp.position.lat, tp.position.lon, tp.position.alt, when);
    if (when.month == 0) p->time = TPuntTiempo::fromRecord(tp.time);
    loaded.appendPoint(std::move(p));
    return true;
  });
  if (loaded.pointCount() == 0) {
    appendMessage(message, kMagellanError);
    return false;
  }
  track.points = std::move(loaded.points);
  return true;
}

std::string magellanLogText(const TVolGPS& track, const TrackSettings& settings) {
  std::string out;
  char body[160];
  for (std::size_t i = 0; i < track.pointCount(); ++i) {
    const TPuntVol& p = track.point(i);
    const TCoord w = toFileDatum(p.position, kDatumWgs84);
    const double alat = std::fabs(w.lat), alon = std::fabs(w.lon);
    const float alt = p.altitude(settings.preferGpsAltitude);
    const DateTimeRecord r = p.time.toRecord();
    DateTimeValue v = 0;
    const bool dated = p.time.toValue(v);
    std::snprintf(body, sizeof body, "PMGNTRK,%02d%07.4f,%c,%03d%07.4f,%c,%05ld,M,%02d%02d%05.2f,A,,",
                  static_cast<int>(alat), (alat - std::floor(alat)) * 60.0, w.lat < 0 ? 'S' : 'N',
                  static_cast<int>(alon), (alon - std::floor(alon)) * 60.0, w.lon < 0 ? 'W' : 'E',
                  hasAltitude(alt) ? std::lround(alt) : 0L, r.hour, r.minute,
                  std::floor(r.seconds * 100.0) / 100.0);
    std::string sentence = body;
    if (dated) {
      char date[8];
      std::snprintf(date, sizeof date, "%02d%02d%02d", r.day, r.month, r.year % 100);
      sentence += date;
    }
    const auto sum = nmeaChecksumText(nmeaChecksum(sentence));
    out += "$" + sentence + "*" + std::string(sum.data(), sum.size()) + "\r\n";
  }
  return out + "$PMGNCMD,END*3D\r\n";
}

bool readLogFileText(std::string_view text, const std::string& fileName, const NmeaLogOptions& options,
                     TVolGPS& track, std::string& message) {
  if (!looksLikeMagellanLog(text) &&
      (text.find("$GPRMC") != std::string::npos || text.find("$GPGGA") != std::string::npos ||
       text.find("$GNRMC") != std::string::npos || text.find("$GNGGA") != std::string::npos))
    return readNmeaLogText(text, fileName, options, track, message);
  return readMagellanLogText(text, fileName, track, message);
}

}  // namespace pixtrail
