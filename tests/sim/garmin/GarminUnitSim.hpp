#pragma once
// A simulated Garmin unit: a product profile (identification, protocol array, record types) with
// waypoints, routes and tracks held as wire records, answering the host's packets as a unit does.
// The same unit serves a serial line (a pseudo-terminal master, frames and ACKs) and USB (packets
// queued for the interrupt and bulk pipes, no ACKs).

#include <atomic>
#include <cstdint>
#include <deque>
#include <functional>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "devices/Capacidades_garmin.hpp"
#include "devices/TPaqueteDatosGarmin.hpp"
#include "devices/garmin_records.hpp"

namespace pixtrail::sim {

struct SimRoute {
  GarminRouteHeader header;
  std::vector<GarminWaypoint> waypoints;
};

struct SimTrack {
  GarminTrackHeader header;
  std::vector<GarminTrackPoint> points;
};

struct SimProfile {
  std::string name;
  std::uint16_t productId = 0;
  std::int16_t softwareVersion = 0;
  std::string description;
  std::vector<std::string> extendedData;
  std::vector<std::pair<char, std::uint16_t>> protocols;  // empty: the unit sends no array
  Capacidades_garmin caps;                                // what the array (or its absence) means
};

// "old" (no protocol array: D100, D200, D300), "serial" (A100/D108, A201/D202/D108/D210,
// A301/D310/D301), "usb" (D110, A302/D312/D304, A1006, A906). Unknown names give "serial".
SimProfile simProfile(const std::string& name);

// Faults the unit can show, for tests of the host's error paths.
struct SimFaults {
  bool noArray = false;  // withholds the protocol array even when the profile has one
};

class GarminUnitSim {
 public:
  explicit GarminUnitSim(SimProfile profile, int trackPoints = 25);

  const SimProfile& profile() const { return profile_; }
  SimFaults faults;

  // Held data (wire values, so tests compare to the semicircle).
  std::vector<GarminWaypoint> waypoints;
  std::vector<SimRoute> routes;
  std::vector<SimTrack> tracks;
  // Courses (units with A1006): the course records, their laps and their tracks by index.
  std::vector<GarminCourse> courses;
  std::vector<GarminCourseLap> courseLaps;
  std::vector<SimTrack> courseTracks;
  GarminCourseLimits courseLimits{2, 20, 50, 5000};

  // The packets the unit sends in answer to one packet from the host (ACKs not included).
  std::vector<TPaqueteDatosGarmin> handle(const TPaqueteDatosGarmin& in);
  bool pvtRunning() const { return pvtRunning_; }
  TPaqueteDatosGarmin nextPvt();

  // Serves a serial line on `fd` (a pseudo-terminal master) until `stop` is set or the line dies.
  void serveSerial(int fd, const std::atomic<bool>& stop);

 private:
  std::vector<TPaqueteDatosGarmin> transfer(std::uint16_t command);
  void takeUpload(const TPaqueteDatosGarmin& in);

  SimProfile profile_;
  std::atomic<bool> pvtRunning_ = false;  // read by the tests' thread
  std::uint32_t pvtSequence_ = 0;
  // Upload in progress.
  bool uploading_ = false;
  std::vector<GarminWaypoint> inWaypoints_;
  std::vector<SimRoute> inRoutes_;
  std::vector<SimTrack> inTracks_;
  std::vector<GarminCourse> inCourses_;
  std::vector<GarminCourseLap> inLaps_;
  std::vector<SimTrack> inCourseTracks_;
};

// Bytes from a serial line into packets: leading noise and frames that fail their checks are
// dropped, as a unit resynchronises on the next DLE.
class SerialDeframer {
 public:
  void feed(const char* bytes, std::size_t n) { buffer_.append(bytes, n); }
  bool next(TPaqueteDatosGarmin& out);

 private:
  std::string buffer_;
};

// The USB side of the unit: what the host writes on bulk-OUT goes to the unit; its answers wait
// for the interrupt pipe ("data available" first) and then the bulk pipe, one packet per read.
class SimUsbEndpoints {
 public:
  explicit SimUsbEndpoints(GarminUnitSim& unit) : unit_(unit) {}
  void write(std::string_view bytes);
  // A read returns 0 bytes when there is nothing to give.
  std::string readInterrupt();
  std::string readBulk();
  // The interrupt pipe read in pieces of `size` bytes, as a host reads it: false when nothing
  // waits; an empty piece ends a packet that filled its last piece exactly.
  bool readInterruptPiece(std::size_t size, std::string& piece);
  // The next this many bulk reads give nothing, each after announcing data on the interrupt pipe.
  int dropBulkReads = 0;

 private:
  GarminUnitSim& unit_;
  std::mutex mutex_;
  std::deque<std::string> interrupt_;
  std::deque<std::string> bulk_;
  std::string interruptLeft_;
  bool lastPieceFull_ = false;
};

// Whole reads and writes on a descriptor, whatever pieces the system moves at a time.
bool readAll(int fd, char* out, std::size_t n);
bool writeAll(int fd, std::string_view bytes);

}  // namespace pixtrail::sim
