#pragma once
// A large, reproducible receiver log for the NMEA benchmarks: GGA, RMC, GSA, three GSV and VTG
// once a second, from 2024-03-01 00:00:00 for 25 hours (so it crosses midnight), a vehicle
// wandering around 47 N 8 E, with the fix lost for a minute now and then. The same seed gives the
// same bytes on every machine (own generator, no library distributions).

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <string>

#include "core/angles.hpp"
#include "tracks/nmea_checksum.hpp"

namespace pixtrail::bench {

inline constexpr int kLogSeconds = 25 * 3600;
inline constexpr int kSentencesPerSecond = 7;

class NmeaLogGenerator {
 public:
  std::string generate(int seconds = kLogSeconds) {
    std::string log;
    log.reserve(static_cast<std::size_t>(seconds) * 520);
    double lat = 47.0;
    double lon = 8.0;
    double alt = 450.0;
    double courseDeg = 45.0;
    double knots = 20.0;
    for (int t = 0; t < seconds; ++t) {
      const int day = 1 + t / 86400;
      const int sod = t % 86400;
      char time[16];
      std::snprintf(time, sizeof time, "%02d%02d%02d.00", sod / 3600, sod / 60 % 60, sod % 60);
      char date[16];
      std::snprintf(date, sizeof date, "%02d0324", day);
      const bool fix = (t / 60) % 97 != 13;  // one minute in 97 without a fix
      courseDeg = std::fmod(courseDeg + uniform(-5.0, 5.0) + kFullTurnDeg, kFullTurnDeg);
      knots = std::fmin(60.0, std::fmax(0.0, knots + uniform(-1.0, 1.0)));
      alt += uniform(-0.5, 0.5);
      const double metres = knots * 1852.0 / 3600.0;
      lat += metres * std::cos(courseDeg * kRadPerDeg) / 111320.0;
      lon += metres * std::sin(courseDeg * kRadPerDeg) / (111320.0 * std::cos(lat * kRadPerDeg));
      const double hdop = uniform(0.7, 2.5);
      const int sats = fix ? 6 + static_cast<int>(next() % 7) : 0;
      char body[256];
      std::snprintf(body, sizeof body, "GPGGA,%s,%s,%s,%d,%02d,%.1f,%.1f,M,47.3,M,,", time, latText(lat).c_str(),
                    lonText(lon).c_str(), fix ? 1 : 0, sats, hdop, alt);
      add(log, body);
      std::snprintf(body, sizeof body, "GPGSA,A,%d,%s,%.1f,%.1f,%.1f", fix ? 3 : 1,
                    fix ? "02,05,07,09,13,16,20,23,,,," : ",,,,,,,,,,,", hdop * 1.6, hdop, hdop * 1.3);
      add(log, body);
      for (int g = 1; g <= 3; ++g) {
        int n = std::snprintf(body, sizeof body, "GPGSV,3,%d,12", g);
        for (int k = 0; k < 4; ++k)
          n += std::snprintf(body + n, sizeof body - static_cast<std::size_t>(n), ",%02d,%02d,%03d,%02d",
                             (g - 1) * 4 + k + 1, static_cast<int>(next() % 90), static_cast<int>(next() % 360),
                             static_cast<int>(next() % 50));
        add(log, body);
      }
      std::snprintf(body, sizeof body, "GPRMC,%s,%c,%s,%.2f,%.1f,%s,1.9,E,%c", time, fix ? 'A' : 'V',
                    (latText(lat) + "," + lonText(lon)).c_str(), knots, courseDeg, date, fix ? 'A' : 'N');
      add(log, body);
      std::snprintf(body, sizeof body, "GPVTG,%.1f,T,,M,%.2f,N,%.2f,K,%c", courseDeg, knots, knots * 1.852,
                    fix ? 'A' : 'N');
      add(log, body);
    }
    return log;
  }

 private:
  // xorshift64*: small, fast and the same everywhere.
  std::uint64_t next() {
    state_ ^= state_ >> 12;
    state_ ^= state_ << 25;
    state_ ^= state_ >> 27;
    return state_ * 2685821657736338717ULL;
  }
  double uniform(double lo, double hi) { return lo + (hi - lo) * static_cast<double>(next() >> 11) * 0x1.0p-53; }

  static std::string degreesMinutes(double value, int degreeDigits, char positive, char negative) {
    // Rounded once in ten-thousandths of a minute so that 59.99999' never prints as 60.0000.
    const long long units = std::llround(std::fabs(value) * 600000.0);
    char text[32];
    std::snprintf(text, sizeof text, "%0*lld%02lld.%04lld,%c", degreeDigits, units / 600000, units % 600000 / 10000,
                  units % 10000, value >= 0 ? positive : negative);
    return text;
  }
  static std::string latText(double lat) { return degreesMinutes(lat, 2, 'N', 'S'); }
  static std::string lonText(double lon) { return degreesMinutes(lon, 3, 'E', 'W'); }

  static void add(std::string& log, const char* body) {
    const auto check = nmeaChecksumText(nmeaChecksum(body));
    log += '$';
    log += body;
    log += '*';
    log.append(check.data(), 2);
    log += "\r\n";
  }

  std::uint64_t state_ = 0x9E3779B97F4A7C15ULL;
};

}  // namespace pixtrail::bench
