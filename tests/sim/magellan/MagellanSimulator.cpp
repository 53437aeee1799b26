#include "tests/sim/magellan/MagellanSimulator.hpp"

#include <fcntl.h>
#include <poll.h>
#include <stdlib.h>
#include <termios.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>

#include "tests/sim/sim_line.hpp"
#include "tracks/nmea_checksum.hpp"

namespace pixtrail::sim {

namespace {

using Clock = std::chrono::steady_clock;

// Field `index` of a sentence body (0 is the identifier); empty past the end.
std::string field(const std::string& body, std::size_t index) {
  std::size_t start = 0;
  for (std::size_t i = 0; i < index; ++i) {
    start = body.find(',', start);
    if (start == std::string::npos) return {};
    ++start;
  }
  return body.substr(start, body.find(',', start) - start);
}

bool startsWith(const std::string& text, const char* prefix) { return text.rfind(prefix, 0) == 0; }

std::string checksumOf(const std::string& body) {
  const auto hex = nmeaChecksumText(nmeaChecksum(body));
  return {hex[0], hex[1]};
}

}  // namespace

MagellanUnitSetup sampleUnit() {
  MagellanUnitSetup s;
  s.waypoints = {
      "PMGNWPL,4025.122,N,00342.234,W,0000650,M,MADRID,Puerta del Sol,a",
      "PMGNWPL,4123.106,N,00210.404,E,0000012,M,BCN,Barceloneta,b",
      "PMGNWPL,3351.408,S,15112.918,E,0000005,M,SYDNEY,Opera,c",
      "PMGNWPL,2254.000,S,04310.500,W,0000000,M,RIO,,a",
      "PMGNWPL,6408.500,N,02156.400,W,0000061,M,REYKJA,Harbour,d",
  };
  s.routes = {
      "PMGNRTE,3,1,c,1,MADRID,a,BCN,b",
      "PMGNRTE,3,2,c,1,RIO,a,SYDNEY,c",
      "PMGNRTE,3,3,c,1,REYKJA,d",
  };
  s.tracks = {
      "PMGNTRK,4006.000,N,00330.000,W,00600,M,235950.00,A,,300424",
      "PMGNTRK,4006.100,N,00329.900,W,00605,M,235959.50,A,,300424",
      "PMGNTRK,4006.200,N,00329.800,W,00611,M,000010.00,A,,010524",
      "PMGNTRK,4006.300,N,00329.700,W,00620,M,000020.00,A,,010524",
  };
  return s;
}

MagellanSimulator::MagellanSimulator(MagellanUnitSetup setup) : setup_(std::move(setup)) {}

MagellanSimulator::~MagellanSimulator() { stop(); }

std::string MagellanSimulator::frame(const std::string& body) { return "$" + body + "*" + checksumOf(body) + "\r\n"; }

bool MagellanSimulator::start() {
  master_ = ::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
  if (master_ < 0 || ::grantpt(master_) != 0 || ::unlockpt(master_) != 0) return false;
  portPath_ = ::ptsname(master_);
  // Raw from the start, so nothing the host writes before it sets up the line echoes back.
  termios t{};
  if (::tcgetattr(master_, &t) == 0) {
    ::cfmakeraw(&t);
    ::tcsetattr(master_, TCSANOW, &t);
  }
  handshake_ = setup_.handshakeAtStart;
  running_ = true;
  thread_ = std::thread([this] { serve(); });
  return true;
}

void MagellanSimulator::stop() {
  running_ = false;
  if (thread_.joinable()) thread_.join();
  if (master_ >= 0) ::close(master_);
  master_ = -1;
}

std::vector<std::string> MagellanSimulator::copy(const std::vector<std::string>& list) const {
  std::lock_guard lock(mutex_);
  return list;
}

void MagellanSimulator::settle(int quietMs, int limitMs) const {
  const auto limit = Clock::now() + std::chrono::milliseconds(limitMs);
  std::size_t seen = transcript().size();
  auto quietSince = Clock::now();
  while (Clock::now() < limit) {
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
    const std::size_t now = transcript().size();
    if (now != seen) {
      seen = now;
      quietSince = Clock::now();
    } else if (Clock::now() - quietSince >= std::chrono::milliseconds(quietMs)) {
      return;
    }
  }
}


// One line within `waitMs`; the body between "$" and "*" when its checksum is right. Lines with a
// wrong checksum are dropped, as a unit does: the sender hears no acknowledgement and repeats.
bool MagellanSimulator::readLine(std::string& body, int waitMs) {
  const auto deadline = Clock::now() + std::chrono::milliseconds(waitMs);
  for (;;) {
    const std::size_t lf = pending_.find('\n');
    if (lf != std::string::npos) {
      std::string line = pending_.substr(0, lf);
      pending_.erase(0, lf + 1);
      const std::size_t dollar = line.find('$'), star = line.rfind('*');
      if (dollar == std::string::npos || star == std::string::npos || star < dollar || line.size() < star + 3)
        continue;
      body = line.substr(dollar + 1, star - dollar - 1);
      if (line.compare(star + 1, 2, checksumOf(body)) != 0) continue;
      std::lock_guard lock(mutex_);
      received_.push_back(body);
      transcript_.push_back("< " + body);
      return true;
    }
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now()).count();
    if (left <= 0 || !running_) return false;
    pollfd p{master_, POLLIN, 0};
    const int ready = ::poll(&p, 1, static_cast<int>(std::min<long long>(left, 50)));
    if (ready <= 0) continue;
    char chunk[512];
    const ssize_t n = ::read(master_, chunk, sizeof chunk);
    if (n > 0) {
      pending_.append(chunk, static_cast<std::size_t>(n));
    } else {
      // Nobody holds the terminal's other side (between two host runs): what the unit said last
      // (the acknowledgement of HANDOFF) is lost, as on a real line, and the next host awaited.
      ::tcflush(master_, TCOFLUSH);
      pending_.clear();
      std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
  }
}

void MagellanSimulator::serve() {
  std::string body;
  while (running_) {
    if (!readLine(body, 100)) continue;
    if (setup_.silent || quiet_) continue;
    handle(body);
  }
}

void MagellanSimulator::sendPlain(const std::string& body) {
  {
    std::lock_guard lock(mutex_);
    transcript_.push_back("> " + body);
  }
  writeAll(master_, frame(body));
}

bool MagellanSimulator::sendAcknowledged(const std::string& body) {
  if (!handshake_) {
    sendPlain(body);
    return true;
  }
  const std::string expected = "PMGNCSM," + checksumOf(body);
  for (int attempt = 0; attempt < setup_.ackRetries; ++attempt) {
    sendPlain(body);
    const auto deadline = Clock::now() + std::chrono::milliseconds(setup_.ackWaitMs);
    std::string reply;
    while (Clock::now() < deadline) {
      const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now()).count();
      if (!readLine(reply, static_cast<int>(left))) break;
      if (reply == expected) return true;
      if (startsWith(reply, "PMGNCMD,STOP")) return false;
    }
  }
  return false;
}

void MagellanSimulator::download(const std::vector<std::string>& sentences) {
  if (setup_.unable) {
    sendAcknowledged("PMGNCMD,UNABLE");
    return;
  }
  for (const std::string& s : sentences) {
    if (setup_.silentAfter >= 0 && dataSent_ == setup_.silentAfter) {
      quiet_ = true;
      return;
    }
    if (!sendAcknowledged(s)) return;
    ++dataSent_;
  }
  sendAcknowledged("PMGNCMD,END");
}

void MagellanSimulator::store(const std::string& body) {
  std::lock_guard lock(mutex_);
  if (startsWith(body, "PMGNWPL,")) {
    // A waypoint of a name the unit holds replaces it.
    const std::string name = field(body, 7);
    for (std::string& w : setup_.waypoints)
      if (field(w, 7) == name) {
        w = body;
        return;
      }
    setup_.waypoints.push_back(body);
  } else if (startsWith(body, "PMGNRTE,")) {
    // The first message of a route replaces the route of that number.
    if (field(body, 2) == "1") {
      const std::string number = field(body, 4);
      std::erase_if(setup_.routes, [&](const std::string& r) { return field(r, 4) == number; });
    }
    setup_.routes.push_back(body);
  } else if (startsWith(body, "PMGNTRK,")) {
    setup_.tracks.push_back(body);
  }
}

void MagellanSimulator::handle(const std::string& body) {
  if (startsWith(body, "PMGNCSM,")) return;  // a late acknowledgement: nothing is waiting for it
  const std::string id = field(body, 0), word = field(body, 1);
  // HANDOFF is still acknowledged (handshaking was on when it came), HANDON already is.
  if (id == "PMGNCMD" && word == "HANDON") handshake_ = true;
  if (handshake_) sendPlain("PMGNCSM," + checksumOf(body));
  if (id == "PMGNCMD" && word == "HANDOFF") handshake_ = false;
  if (id != "PMGNCMD") {
    store(body);
    return;
  }
  if (word == "VERSION") {
    sendAcknowledged(setup_.version);
  } else if (word == "WAYPOINT") {
    download(waypoints());
  } else if (word == "ROUTE") {
    download(routes());
  } else if (word == "TRACK") {
    download(tracks());
  } else if (word == "DELETE") {
    const std::string what = field(body, 2);
    std::lock_guard lock(mutex_);
    if (what == "WAYPOINT") setup_.waypoints.clear();
    if (what == "ROUTE") setup_.routes.clear();
    if (what == "TRACK") setup_.tracks.clear();
  }
}

}  // namespace pixtrail::sim
