#pragma once
// The serial link to a Magellan unit: detection, and download, upload and deletion of waypoints,
// routes and tracks with the unit's command sentences. Failures are raised as TErrorPr (a unit
// that does not answer as TErrorPrNoResponde); the port stays open.
//
// Handshaking: while it is on, every sentence received (other than an acknowledgement) is
// answered with PMGNCSM and its checksum, and every data sentence sent waits for the unit's
// PMGNCSM with that sentence's checksum, and is sent again when none comes. Every transfer turns
// handshaking on first (when the settings ask for it) and ends with HANDOFF, failed or not.

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

#include "devices/TComandaNMEA.hpp"
#include "devices/TPuertoCom.hpp"
#include "devices/magellan_sentences.hpp"
#include "tracks/TBalizas.hpp"
#include "tracks/TRuta.hpp"
#include "tracks/TVolGPS.hpp"

namespace pixtrail {

// Auto-detection entry: STOP, HANDON, VERSION, then up to 8 sentences within `timeoutMs`. True,
// with the PMGNVER fields in `version` (comma-separated), when a Magellan answered; false when
// something else answered; raises TErrorPrNoResponde when nothing did, TErrorPr on a sentence
// that cannot be parsed.
bool detectMagellan(TPuertoCom& port, std::string& version, int timeoutMs = 3000);

enum class MagellanKind { kWaypoints, kRoutes, kTracks };

struct MagellanLinkSettings {
  int sentenceTimeoutMs = 3000;  // longest wait for the next sentence of a download
  int ackTimeoutMs = 1000;       // wait for the acknowledgement of a sentence sent
  int retries = 3;               // sends of one sentence before the unit counts as gone
  bool handshake = true;
  std::function<bool()> cancelled;                 // polled between sentences
  std::function<void(std::size_t)> progress;       // sentences moved so far
};

// The unit's answer to VERSION.
struct MagellanVersion {
  std::string product;      // field 1
  std::string software;     // field 2
  std::string description;  // field 3 on
  std::string text() const;  // the fields as sent, comma-separated
};

class Protocolo_magellan {
 public:
  explicit Protocolo_magellan(TPuertoCom& port, MagellanLinkSettings settings = {});

  // The detection sequence; see detectMagellan.
  bool detect(MagellanVersion& version, int timeoutMs = 3000);

  // Each returns false, with nothing added, when the unit answered PMGNCMD,UNABLE.
  bool downloadWaypoints(TBalizas& out);
  bool downloadRoutes(TRutas& out);  // fetches the waypoint list first, to resolve the routes' names
  bool downloadTracks(TVolGPS& out);

  // Return the number of sentences sent. Routes go with their waypoints before them.
  std::size_t uploadWaypoints(const TBalizas& waypoints);
  std::size_t uploadRoutes(const TRutas& routes);
  std::size_t uploadTracks(const TVolGPS& track);

  void deleteAll(MagellanKind kind);

  // Exposed for tests and for a caller that drives the unit itself.
  void sendCommand(std::string_view word, std::string_view argument = {});
  // The next sentence within `timeoutMs` (false when none came), acknowledged while handshaking;
  // acknowledgements themselves are passed over. A sentence that cannot be parsed is raised.
  bool readSentence(TComandaNMEA_Rx& out, int timeoutMs);
  bool handshaking() const { return handshake_; }

 private:
  enum class Outcome { kEnd, kUnable };
  Outcome collect(std::string_view word, std::string_view argument, std::string_view identifier,
                  std::string_view noneMessage, std::vector<std::string>& bodies, bool noneIsError);
  std::size_t sendAll(const std::vector<std::vector<std::string>>& sentences);
  void sendAcknowledged(const std::string& sentence);
  bool awaitAcknowledgement(const std::string& checksum, int timeoutMs);
  void drainInput();
  void beginTransfer();
  void endTransfer() noexcept;
  bool readLine(std::string& line, int timeoutMs);
  void checkCancel() const;

  TPuertoCom& port_;
  MagellanLinkSettings settings_;
  bool handshake_ = false;
  bool heard_ = false;  // the unit sent a line since the transfer began
  std::string pending_;
  std::size_t moved_ = 0;
};

}  // namespace pixtrail
