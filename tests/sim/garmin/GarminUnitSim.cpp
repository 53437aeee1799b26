#include "tests/sim/garmin/GarminUnitSim.hpp"

#include <poll.h>
#include <unistd.h>

#include <chrono>
#include <cmath>
#include <thread>

#include "core/byte_order.hpp"

namespace pixtrail::sim {

namespace {

using namespace garmin_pid;
using Clock = std::chrono::steady_clock;

std::string u16Data(std::uint16_t v) {
  std::string s;
  appendU16(s, v, ByteOrder::little);
  return s;
}

std::uint16_t u16At(const std::string& data) {
  return data.size() < 2 ? 0 : readU16(reinterpret_cast<const unsigned char*>(data.data()), ByteOrder::little);
}

// 2024-06-01 08:00:00 UTC in Garmin seconds.
constexpr std::uint32_t kStartTime = 1717228800u - 631065600u;

GarminWaypoint wire(int type, const GarminWaypoint& w) { return decodeWaypoint(type, encodeWaypoint(type, w)); }

std::vector<GarminWaypoint> sampleWaypoints(int type) {
  std::vector<GarminWaypoint> list;
  GarminWaypoint camp;
  camp.ident = "CAMP.01";  // fixed-length names keep "CAMP"
  camp.comment = "NEAR THE LAKE";
  camp.lat = 42.6;
  camp.lon = 1.45;
  camp.altM = 1650.0f;
  camp.symbol = 151;
  camp.time = kStartTime;
  list.push_back(camp);

  GarminWaypoint wreck;
  wreck.ident = "WRECK";
  wreck.comment = "ON THE ANTIMERIDIAN";
  wreck.lat = -16.5;
  wreck.lon = 180.0;
  wreck.altM = 0.0f;
  wreck.symbol = 19;
  list.push_back(wreck);

  GarminWaypoint dle;
  dle.ident = "DLE16";
  dle.comment = "BYTES OF 0x10";
  dle.lat = semicirclesToDegrees(0x10101010);
  dle.lon = semicirclesToDegrees(0x10101010);
  dle.altM = 16.0f;
  dle.symbol = 16;
  list.push_back(dle);

  // The longitude's low byte is chosen so that the serial checksum of this record is 0x10.
  GarminWaypoint peak;
  peak.ident = "PEAK";
  peak.comment = "CHECKSUM";
  peak.altM = 3404.0f;
  peak.symbol = 8246;
  peak.lat = semicirclesToDegrees(520000000);
  for (std::int32_t low = 0; low < 256; ++low) {
    peak.lon = semicirclesToDegrees(-37000000 * 4 + low);
    if (serialChecksum(kWptData, encodeWaypoint(type, peak)) == 0x10) break;
  }
  list.push_back(peak);

  for (auto& w : list) w = wire(type, w);
  return list;
}

std::vector<SimTrack> sampleTracks(const SimProfile& p, int points) {
  const bool headers = p.caps.A3XX == 301 || p.caps.A3XX == 302;
  std::vector<SimTrack> tracks(headers ? 2 : 1);
  tracks[0].header.ident = "ACTIVE LOG";
  for (int i = 0; i < points; ++i) {
    GarminTrackPoint g;
    g.lat = 40.0 + i * 1e-4;
    g.lon = -3.7 + i * 1.5e-4;
    g.altM = 600.0f + static_cast<float>(std::lround(50.0 * std::sin(i / 10.0)));
    g.time = kStartTime + static_cast<std::uint32_t>(i);
    g.newTrack = i == 0 || (!headers && i == points / 2);  // the single log has two segments
    g.heartRate = static_cast<std::uint8_t>(100 + i % 50);
    g.cadence = 80;
    tracks[0].points.push_back(g);
  }
  if (headers) {
    tracks[1].header.ident = "OVER THE LINE";
    for (int i = 0; i < 6; ++i) {
      GarminTrackPoint g;
      g.lat = -16.5;
      g.lon = 179.9995 + i * 0.0002;  // crosses the antimeridian
      g.altM = 5.0f;
      g.time = kStartTime + 3600u + static_cast<std::uint32_t>(i * 10);
      g.newTrack = i == 0;
      g.heartRate = 90;
      g.cadence = 70;
      tracks[1].points.push_back(g);
    }
  }
  for (auto& t : tracks)
    for (auto& g : t.points) g = decodeTrackPoint(p.caps.D30X, encodeTrackPoint(p.caps.D30X, g));
  if (headers)
    for (auto& t : tracks) t.header = decodeTrackHeader(p.caps.D31X, encodeTrackHeader(p.caps.D31X, t.header));
  return tracks;
}

std::vector<SimRoute> sampleRoutes(const SimProfile& p, const std::vector<GarminWaypoint>& w) {
  std::vector<SimRoute> routes(2);
  routes[0].header.number = 0;
  routes[0].header.ident = "TO THE LAKE";
  routes[0].waypoints = {w[0], w[2], w[3]};
  routes[1].header.number = 1;
  routes[1].header.ident = "COAST";
  routes[1].waypoints = {w[1], w[0]};
  for (auto& r : routes) r.header = decodeRouteHeader(p.caps.D20X, encodeRouteHeader(p.caps.D20X, r.header));
  return routes;
}

}  // namespace

SimProfile simProfile(const std::string& name) {
  SimProfile p;
  if (name == "old") {
    p.name = "old";
    p.productId = 77;
    p.softwareVersion = 250;
    p.description = "SIM OLD HANDHELD Software Version 2.50";
  } else if (name == "usb") {
    p.name = "usb";
    p.productId = 1095;
    p.softwareVersion = 330;
    p.description = "SIM USB HANDHELD Software Version 3.30";
    p.extendedData = {"SQA 1.00", "GPS 2.70"};
    p.protocols = {{'P', 0},   {'L', 1},   {'A', 10},  {'A', 100}, {'D', 110}, {'A', 201}, {'D', 202},
                   {'D', 110}, {'D', 210}, {'A', 302}, {'D', 312}, {'D', 304}, {'A', 500}, {'A', 600},
                   {'D', 600}, {'A', 700}, {'D', 700}, {'A', 800}, {'D', 800}, {'A', 906}, {'A', 1006}, {'D', 1006},
                   {'A', 1007}, {'D', 1007}, {'A', 1008}, {'D', 1012}, {'A', 1009}, {'D', 1013}, {'A', 1012}};
  } else {
    p.name = "serial";
    p.productId = 411;
    p.softwareVersion = 260;
    p.description = "SIM SERIAL HANDHELD Software Version 2.60";
    p.protocols = {{'P', 0},   {'L', 1},   {'A', 10},  {'A', 100}, {'D', 108}, {'A', 201}, {'D', 202},
                   {'D', 108}, {'D', 210}, {'A', 301}, {'D', 310}, {'D', 301}, {'A', 500}, {'D', 501},
                   {'A', 600}, {'D', 600}, {'A', 700}, {'D', 700}, {'A', 800}, {'D', 800}};
  }
  for (const auto& [tag, n] : p.protocols) p.caps.apply(tag, n);
  p.caps.productId = p.productId;
  return p;
}

GarminUnitSim::GarminUnitSim(SimProfile profile, int trackPoints) : profile_(std::move(profile)) {
  waypoints = sampleWaypoints(profile_.caps.D1XX);
  routes = sampleRoutes(profile_, waypoints);
  tracks = sampleTracks(profile_, trackPoints);
}

std::vector<TPaqueteDatosGarmin> GarminUnitSim::transfer(std::uint16_t command) {
  std::vector<TPaqueteDatosGarmin> records;
  const Capacidades_garmin& caps = profile_.caps;
  if (command == 561) {
    for (const auto& c : courses) records.emplace_back(kCourse, encodeCourse(c));
  } else if (command == 562) {
    for (const auto& lap : courseLaps) records.emplace_back(kCourseLap, encodeCourseLap(lap));
  } else if (command == 563) {
    // no course points are kept
  } else if (command == 564) {
    for (const auto& t : courseTracks) {
      records.emplace_back(kCourseTrkHdr, encodeTrackHeader(311, t.header));
      for (const auto& g : t.points) records.emplace_back(kCourseTrkData, encodeTrackPoint(304, g));
    }
  } else if (command == 7) {
    for (const auto& w : waypoints) records.emplace_back(kWptData, encodeWaypoint(caps.D1XX, w));
  } else if (command == 4) {
    for (const auto& r : routes) {
      records.emplace_back(kRteHdr, encodeRouteHeader(caps.D20X, r.header));
      for (std::size_t i = 0; i < r.waypoints.size(); ++i) {
        if (caps.A2XX == 201 && i > 0) records.emplace_back(kRteLinkData, encodeRouteLink(210, {}));
        records.emplace_back(kRteWptData, encodeWaypoint(caps.D1XX, r.waypoints[i]));
      }
    }
  } else {
    const bool headers = caps.A3XX == 301 || caps.A3XX == 302;
    for (const auto& t : tracks) {
      if (headers) records.emplace_back(kTrkHdr, encodeTrackHeader(caps.D31X, t.header));
      for (const auto& g : t.points) records.emplace_back(kTrkData, encodeTrackPoint(caps.D30X, g));
    }
  }
  std::vector<TPaqueteDatosGarmin> out;
  out.emplace_back(kRecords, u16Data(static_cast<std::uint16_t>(records.size())));
  for (auto& record : records) out.push_back(std::move(record));
  out.emplace_back(kXferCmplt, u16Data(command));
  return out;
}

TPaqueteDatosGarmin GarminUnitSim::nextPvt() {
  GarminPvt pvt;
  pvt.altM = 650.0f;
  pvt.epeM = 5.0f;
  pvt.ephM = 3.0f;
  pvt.epvM = 4.0f;
  pvt.fix = 3;
  pvt.lat = 40.4168 + pvtSequence_ * 1e-5;
  pvt.lon = -3.7038;
  pvt.northMs = 1.0f;
  pvt.mslHeightM = -50.0f;
  pvt.leapSeconds = 18;
  pvt.weekNumberDays = 12572;  // 2024-06-02 after 1989-12-31: a Sunday, the start of a GPS week
  pvt.towS = 36000.0 + 18.0 + pvtSequence_;
  ++pvtSequence_;
  return TPaqueteDatosGarmin(kPvtData, encodePvt(800, pvt));
}

void GarminUnitSim::takeUpload(const TPaqueteDatosGarmin& in) {
  const Capacidades_garmin& caps = profile_.caps;
  switch (in.id) {
    case kWptData: inWaypoints_.push_back(decodeWaypoint(caps.D1XX, in.data)); break;
    case kRteHdr:
      inRoutes_.emplace_back();
      inRoutes_.back().header = decodeRouteHeader(caps.D20X, in.data);
      break;
    case kRteWptData:
      if (inRoutes_.empty()) inRoutes_.emplace_back();
      inRoutes_.back().waypoints.push_back(decodeWaypoint(caps.D1XX, in.data));
      break;
    case kRteLinkData: decodeRouteLink(210, in.data); break;
    case kTrkHdr:
      inTracks_.emplace_back();
      inTracks_.back().header = decodeTrackHeader(caps.D31X, in.data);
      break;
    case kTrkData:
      if (inTracks_.empty()) inTracks_.emplace_back();
      inTracks_.back().points.push_back(decodeTrackPoint(caps.D30X, in.data));
      break;
    case kCourse: inCourses_.push_back(decodeCourse(in.data)); break;
    case kCourseLap: inLaps_.push_back(decodeCourseLap(in.data)); break;
    case kCourseTrkHdr:
      inCourseTracks_.emplace_back();
      inCourseTracks_.back().header = decodeTrackHeader(311, in.data);
      break;
    case kCourseTrkData:
      if (inCourseTracks_.empty()) inCourseTracks_.emplace_back();
      inCourseTracks_.back().points.push_back(decodeTrackPoint(304, in.data));
      break;
    default: break;
  }
}

std::vector<TPaqueteDatosGarmin> GarminUnitSim::handle(const TPaqueteDatosGarmin& in) {
  std::vector<TPaqueteDatosGarmin> out;
  if (in.usbLayer) {
    if (in.id == kUsbStartSession) out.emplace_back(kUsbSessionStarted, std::string("\x01\x02\x03\x04", 4), true);
    return out;
  }
  switch (in.id) {
    case kProductRqst: {
      std::string data = u16Data(profile_.productId) + u16Data(static_cast<std::uint16_t>(profile_.softwareVersion));
      data += profile_.description;
      data += '\0';
      out.emplace_back(kProductData, data);
      for (const auto& text : profile_.extendedData) out.emplace_back(kExtProductData, text + '\0');
      if (!profile_.protocols.empty() && !faults.noArray) {
        std::string array;
        for (const auto& [tag, n] : profile_.protocols) {
          array += tag;
          array += u16Data(n);
        }
        out.emplace_back(kProtocolArray, array);
      }
      break;
    }
    case kCommandData: {
      const std::uint16_t code = u16At(in.data);
      if (code == 7 || code == 4 || code == 6) return transfer(code);
      if (code >= 561 && code <= 564 && profile_.caps.hasA1006) return transfer(code);
      if (code == 565 && profile_.caps.hasA1006) out.emplace_back(kCourseLimits, encodeCourseLimits(courseLimits));
      if (code == 5) {
        out.emplace_back(kDateTimeData, encodeDateTime(600, DateTimeRecord{1, 6, 2024, 8, 30, 15.0}));
      } else if (code == 2) {
        out.emplace_back(kPositionData, encodePosition(700, TCoord{-3.7038, 40.4168, 0.0f}));
      } else if (code == 49) {
        pvtRunning_ = true;
      } else if (code == 50) {
        pvtRunning_ = false;
      }
      break;
    }
    case kRecords:
      uploading_ = true;
      inWaypoints_.clear();
      inRoutes_.clear();
      inTracks_.clear();
      inCourses_.clear();
      inLaps_.clear();
      inCourseTracks_.clear();
      break;
    case kXferCmplt: {
      if (!uploading_) break;
      uploading_ = false;
      // What arrived decides; clients do not agree on the command code this packet carries.
      for (auto& w : inWaypoints_) {
        bool replaced = false;
        for (auto& held : waypoints)
          if (held.ident == w.ident) {
            held = w;
            replaced = true;
          }
        if (!replaced) waypoints.push_back(w);
      }
      if (!inRoutes_.empty()) routes = inRoutes_;
      courses.insert(courses.end(), inCourses_.begin(), inCourses_.end());
      courseLaps.insert(courseLaps.end(), inLaps_.begin(), inLaps_.end());
      courseTracks.insert(courseTracks.end(), inCourseTracks_.begin(), inCourseTracks_.end());
      if (!inTracks_.empty()) {
        if (profile_.caps.A3XX == 301 || profile_.caps.A3XX == 302)
          tracks.insert(tracks.end(), inTracks_.begin(), inTracks_.end());
        else
          tracks = inTracks_;
      }
      break;
    }
    case kWptData: case kRteHdr: case kRteWptData: case kRteLinkData: case kTrkHdr: case kTrkData:
    case kCourse: case kCourseLap: case kCourseTrkHdr: case kCourseTrkData:
      if (uploading_) takeUpload(in);
      break;
    default: break;
  }
  return out;
}

bool SerialDeframer::next(TPaqueteDatosGarmin& out) {
  for (;;) {
    const std::size_t dle = buffer_.find(static_cast<char>(kDle));
    if (dle == std::string::npos) {
      buffer_.clear();
      return false;
    }
    buffer_.erase(0, dle);
    if (buffer_.size() < 3) return false;
    std::size_t expected = 0;
    try {
      SerialFrameScanner scanner;
      expected = scanner.scan(buffer_);
    } catch (const TErrorPr&) {
      buffer_.erase(0, 1);
      continue;
    }
    if (buffer_.size() < expected) return false;
    const std::string frame = buffer_.substr(0, expected);
    try {
      out = decodeSerialFrame(frame);
      buffer_.erase(0, expected);
      return true;
    } catch (const TErrorPr&) {
      buffer_.erase(0, 1);
    }
  }
}

void GarminUnitSim::serveSerial(int fd, const std::atomic<bool>& stop) {
  SerialDeframer deframer;
  std::deque<TPaqueteDatosGarmin> pending;
  auto sendFrame = [fd](const TPaqueteDatosGarmin& p) { return writeAll(fd, serialFrame(p)); };
  // Reads what arrives within `waitMs`; false when the line is gone.
  auto pump = [&](int waitMs) {
    pollfd p{fd, POLLIN, 0};
    const int ready = ::poll(&p, 1, waitMs);
    if (ready <= 0) return true;
    if (!(p.revents & POLLIN)) {
      // No client has the line open yet (or it just closed it): wait for the next one.
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
      return true;
    }
    char chunk[4096];
    const ssize_t n = ::read(fd, chunk, sizeof chunk);
    if (n > 0) deframer.feed(chunk, static_cast<std::size_t>(n));
    return n >= 0 || errno == EIO || errno == EAGAIN || errno == EINTR;
  };
  auto waitAck = [&](std::uint16_t id) {
    const auto deadline = Clock::now() + std::chrono::milliseconds(1000);
    while (Clock::now() < deadline && !stop) {
      TPaqueteDatosGarmin in;
      while (deframer.next(in)) {
        if (in.id == kAck && u16At(in.data) == id) return true;
        if (in.id == kNak) return false;
        if (in.id != kAck) {
          // The host went on without acknowledging (some clients skip the ACK of product data).
          pending.push_back(in);
          return true;
        }
      }
      if (!pump(20)) return false;
    }
    return false;
  };
  auto process = [&](const TPaqueteDatosGarmin& in) {
    if (in.id == kAck || in.id == kNak) return;
    // The packet takes effect before its ACK leaves, as on a unit: a host that saw the ACK of
    // "stop PVT" finds the fixes stopped.
    const auto answers = handle(in);
    sendFrame(TPaqueteDatosGarmin(kAck, u16Data(in.id)));
    for (const auto& answer : answers) {
      bool acked = false;
      for (int attempt = 0; attempt < 3 && !acked && !stop; ++attempt) acked = sendFrame(answer) && waitAck(answer.id);
      if (!acked) return;  // the host went away: drop the rest of the transfer
    }
  };
  auto lastPvt = Clock::now();
  while (!stop) {
    if (!pump(pvtRunning_ ? 20 : 50)) return;
    TPaqueteDatosGarmin in;
    while (deframer.next(in)) pending.push_back(in);
    while (!pending.empty() && !stop) {
      const TPaqueteDatosGarmin next = pending.front();
      pending.pop_front();
      process(next);
    }
    if (pvtRunning_ && Clock::now() - lastPvt >= std::chrono::milliseconds(100)) {
      sendFrame(nextPvt());
      lastPvt = Clock::now();
    }
  }
}

void SimUsbEndpoints::write(std::string_view bytes) {
  TPaqueteDatosGarmin in;
  try {
    in = decodeUsbPacket(bytes);
  } catch (const TErrorPr&) {
    return;
  }
  std::lock_guard lock(mutex_);
  if (in.usbLayer) {
    for (const auto& answer : unit_.handle(in)) interrupt_.push_back(usbFrame(answer));
    return;
  }
  const auto answers = unit_.handle(in);
  for (const auto& answer : answers) bulk_.push_back(usbFrame(answer));
  if (!answers.empty()) interrupt_.push_back(usbFrame(TPaqueteDatosGarmin(kUsbDataAvailable, {}, true)));
}

std::string SimUsbEndpoints::readInterrupt() {
  std::lock_guard lock(mutex_);
  if (!interrupt_.empty()) {
    std::string front = std::move(interrupt_.front());
    interrupt_.pop_front();
    return front;
  }
  if (unit_.pvtRunning()) return usbFrame(unit_.nextPvt());
  return {};
}

bool SimUsbEndpoints::readInterruptPiece(std::size_t size, std::string& piece) {
  piece.clear();
  if (interruptLeft_.empty() && lastPieceFull_) {
    lastPieceFull_ = false;
    return true;
  }
  if (interruptLeft_.empty()) interruptLeft_ = readInterrupt();
  if (interruptLeft_.empty()) return false;
  piece = interruptLeft_.substr(0, size);
  interruptLeft_.erase(0, piece.size());
  lastPieceFull_ = piece.size() == size;
  return true;
}

std::string SimUsbEndpoints::readBulk() {
  std::lock_guard lock(mutex_);
  if (dropBulkReads > 0) {
    --dropBulkReads;
    interrupt_.push_front(usbFrame(TPaqueteDatosGarmin(kUsbDataAvailable, {}, true)));
    return {};
  }
  if (bulk_.empty()) return {};
  std::string front = std::move(bulk_.front());
  bulk_.pop_front();
  return front;
}

bool readAll(int fd, char* out, std::size_t n) {
  while (n > 0) {
    const ssize_t got = ::read(fd, out, n);
    if (got <= 0) return false;
    out += got;
    n -= static_cast<std::size_t>(got);
  }
  return true;
}

bool writeAll(int fd, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t done = ::write(fd, bytes.data(), bytes.size());
    if (done <= 0) return false;
    bytes.remove_prefix(static_cast<std::size_t>(done));
  }
  return true;
}

}  // namespace pixtrail::sim
