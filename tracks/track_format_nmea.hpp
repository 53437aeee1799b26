#pragma once
// NMEA sentence logs as receivers and data loggers record them. Sentences are read by the same
// decoders as the live fix (tracks/nmea_sentences.hpp); a bad checksum drops the sentence. One point per epoch:
// the position sentences (RMC, GGA, GLL) with the same time of day make one point, and VTG and GSA
// add to the point of their epoch. Invalid fixes (RMC "V", GGA quality 0, GLL "V") give no point.
// Dates come from RMC and ZDA; a point without one takes the date of the nearest dated point,
// a day later for every midnight the times run across (a time of day lower than the one before).
// A log with no date at all takes the caller's date, or keeps times of day without a date.
//
// Magellan track logs ("$PMGNTRK" sentences, files named ".log") are read here too: a ".log" file
// without PMGNTRK but with position sentences is an ordinary NMEA log and is read as one.
#include <optional>
#include <string>
#include <string_view>

#include "core/DateTimeRecord.hpp"
#include "tracks/TVolGPS.hpp"

namespace pixtrail {

struct NmeaLogOptions {
  // The date of a log whose sentences carry none (GGA-only logs); only day, month, year are used.
  std::optional<DateTimeRecord> date;
};

struct NmeaLogStats {
  std::size_t sentences = 0;
  std::size_t unreadable = 0;  // no "$", bad checksum section, checksum mismatch
};

bool readNmeaLogText(std::string_view text, const std::string& fileName, const NmeaLogOptions& options,
                     TVolGPS& track, std::string& message, NmeaLogStats* stats = nullptr);

// Magellan: "$PMGNTRK,llll.ll,a,yyyyy.yy,a,xxxxx,a,hhmmss.ss,A,c----c,ddmmyy*hh".
bool readMagellanLogText(std::string_view text, const std::string& fileName, TVolGPS& track,
                         std::string& message);
std::string magellanLogText(const TVolGPS& track, const TrackSettings& settings = {});

// A ".log" file: a Magellan track log, or an ordinary NMEA log when it has position sentences and
// no Magellan track sentences (data loggers name theirs ".log" too).
bool readLogFileText(std::string_view text, const std::string& fileName, const NmeaLogOptions& options,
                     TVolGPS& track, std::string& message);

// True when the text holds Magellan track sentences.
bool looksLikeMagellanLog(std::string_view text);

}  // namespace pixtrail
