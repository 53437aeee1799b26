#pragma once
// A serial Magellan unit on a pseudo-terminal, for tests: it answers the command sentences, holds
// waypoints, routes and tracks as the sentences it would send, stores what it is sent, and
// acknowledges with PMGNCSM while handshaking is on. Odd units are a setup away: a version report
// of two fields, a unit that refuses every transfer, one that stops in the middle of a download,
// one that never answers.
//
// It is written against the public protocol description and proved against an independent client
// before our own host code is tested on it.

#include <atomic>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace pixtrail::sim {

struct MagellanUnitSetup {
  // Sentence bodies, without "$", "*hh" and CR LF, as the unit sends them.
  std::vector<std::string> waypoints;
  std::vector<std::string> routes;
  std::vector<std::string> tracks;
  std::string version = "PMGNVER,21,1.04,MERIDIAN GPS";  // three fields after the identifier
  bool unable = false;       // answers every download with PMGNCMD,UNABLE
  int silentAfter = -1;      // data sentences sent (all downloads together) before the unit goes quiet
  bool silent = false;       // never sends anything
  bool handshakeAtStart = false;
  int ackWaitMs = 1000;      // how long a sentence waits for its PMGNCSM before it is sent again
  int ackRetries = 3;
};

// What the simulated unit holds unless a test says otherwise: waypoints in all four quadrants, one
// route that needs three messages, and a track log that runs across midnight. Written in the
// layouts a serial unit sends (a route message carries no route name).
MagellanUnitSetup sampleUnit();

class MagellanSimulator {
 public:
  explicit MagellanSimulator(MagellanUnitSetup setup);
  ~MagellanSimulator();
  MagellanSimulator(const MagellanSimulator&) = delete;
  MagellanSimulator& operator=(const MagellanSimulator&) = delete;

  // Opens the pseudo-terminal and starts answering; false when no terminal could be made.
  bool start();
  void stop();
  // The device the host opens as its port.
  const std::string& portPath() const { return portPath_; }

  // What the unit holds now, and every sentence body it received (acknowledgements included).
  std::vector<std::string> waypoints() const;
  std::vector<std::string> routes() const;
  std::vector<std::string> tracks() const;
  std::vector<std::string> received() const;
  // Both directions in order, "<" received and ">" sent, for a failing test's message.
  std::vector<std::string> transcript() const;
  // Waits until the line has been quiet for `quietMs` (at most `limitMs`), so that what the host
  // sent last has been read before a test looks at the unit.
  void settle(int quietMs = 100, int limitMs = 2000) const;
  bool handshaking() const { return handshake_; }

  // "$" + body + "*hh" + CR LF.
  static std::string frame(const std::string& body);

 private:
  void serve();
  bool readLine(std::string& line, int waitMs);
  void handle(const std::string& body);
  void sendPlain(const std::string& body);
  // Sends one data sentence; with handshaking on, waits for its acknowledgement (sending it again
  // when none comes). False when the host never acknowledged.
  bool sendAcknowledged(const std::string& body);
  void download(const std::vector<std::string>& sentences);
  void store(const std::string& body);

  MagellanUnitSetup setup_;
  int master_ = -1;
  std::string portPath_;
  std::string pending_;  // bytes read past the last line
  std::thread thread_;
  std::atomic<bool> running_{false};
  std::atomic<bool> handshake_{false};
  bool quiet_ = false;
  int dataSent_ = 0;
  bool uploadedRoute_ = false;
  mutable std::mutex mutex_;
  std::vector<std::string> received_;
  std::vector<std::string> transcript_;
};

}  // namespace pixtrail::sim
