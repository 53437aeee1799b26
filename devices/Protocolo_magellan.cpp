#include "devices/Protocolo_magellan.hpp"

#include <chrono>
#include <thread>

#include "core/messages.hpp"
#include "tracks/track_format_magellan.hpp"
#include "tracks/track_format_nmea.hpp"

namespace pixtrail {

namespace {

using Clock = std::chrono::steady_clock;

constexpr int kAfterStopMs = 100;
constexpr int kAfterHandonMs = 200;
constexpr int kDetectStepMs = 200;
constexpr int kDetectSentences = 8;
constexpr std::size_t kVersionFields = 4;  // identifier and at least three fields
constexpr int kReadSliceMs = 200;          // one port read; the deadline is checked between them

constexpr std::string_view kNoAnswer = "The Magellan unit does not answer";
constexpr std::string_view kNoAcknowledgement = "The Magellan unit did not acknowledge (PMGNCSM)";
constexpr std::string_view kCancelled = "Transfer cancelled";
constexpr std::string_view kKindWords[] = {"WAYPOINT", "ROUTE", "TRACK"};

int msLeft(Clock::time_point deadline) {
  return static_cast<int>(
      std::max<long long>(0, std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now()).count()));
}

std::string checksumOfSentence(std::string_view sentence) {
  const std::size_t star = sentence.rfind('*');
  return star == std::string_view::npos ? std::string{} : std::string(sentence.substr(star + 1, 2));
}

// Ends the transfer however the block is left.
struct TransferScope {
  std::function<void()> end;
  ~TransferScope() { end(); }
};

}  // namespace

std::string MagellanVersion::text() const {
  std::string t = product + "," + software;
  if (!description.empty()) t += "," + description;
  return t;
}

Protocolo_magellan::Protocolo_magellan(TPuertoCom& port, MagellanLinkSettings settings)
    : port_(port), settings_(std::move(settings)) {}

void Protocolo_magellan::checkCancel() const {
  if (settings_.cancelled && settings_.cancelled()) throw TErrorPr(std::string(kCancelled));
}

void Protocolo_magellan::sendCommand(std::string_view word, std::string_view argument) {
  const std::string s = magellanCommand(word, argument);
  port_.write(s.data(), s.size());
}

bool Protocolo_magellan::readLine(std::string& line, int timeoutMs) {
  const auto deadline = Clock::now() + std::chrono::milliseconds(timeoutMs);
  for (;;) {
    const std::size_t lf = pending_.find('\n');
    if (lf != std::string::npos) {
      line.assign(pending_, 0, lf);
      pending_.erase(0, lf + 1);
      if (!line.empty() && line.back() == '\r') line.pop_back();
      if (line.empty()) continue;
      heard_ = true;
      return true;
    }
    const int left = msLeft(deadline);
    if (left <= 0) return false;
    // One byte a call: a longer read would wait for the line to fall quiet before returning.
    char c[2];
    if (port_.read(std::min(left, kReadSliceMs), c, 1, true) == 1) pending_ += c[0];
  }
}

bool Protocolo_magellan::readSentence(TComandaNMEA_Rx& out, int timeoutMs) {
  const auto deadline = Clock::now() + std::chrono::milliseconds(timeoutMs);
  std::string line;
  while (readLine(line, msLeft(deadline))) {
    if (line.find('$') == std::string::npos) continue;  // noise between sentences
    TErrorNMEA error;
    if (!out.Parse(line, error)) throw TErrorPr(error.message, error.detail);
    // A damaged sentence is not acknowledged: the unit sends it again.
    if (!out.checksumText().empty() && !out.checksumCorrect()) continue;
    if (out.identifier() == "PMGNCSM") continue;
    if (handshake_) {
      const std::string ack = magellanAcknowledgement(out);
      port_.write(ack.data(), ack.size());
    }
    return true;
  }
  return false;
}

bool Protocolo_magellan::awaitAcknowledgement(const std::string& checksum, int timeoutMs) {
  const auto deadline = Clock::now() + std::chrono::milliseconds(timeoutMs);
  TComandaNMEA_Rx reply;
  std::string line;
  while (readLine(line, msLeft(deadline))) {
    TErrorNMEA ignored;
    if (reply.Parse(line, ignored) && reply.identifier() == "PMGNCSM" && reply.field(1) == checksum) return true;
  }
  return false;
}

void Protocolo_magellan::sendAcknowledged(const std::string& sentence) {
  port_.write(sentence.data(), sentence.size());
  if (!handshake_) return;
  const std::string expected = checksumOfSentence(sentence);
  for (int attempt = 0; attempt < settings_.retries; ++attempt) {
    if (attempt > 0) port_.write(sentence.data(), sentence.size());
    if (awaitAcknowledgement(expected, settings_.ackTimeoutMs)) return;
  }
  std::string detail = sentence;
  while (!detail.empty() && (detail.back() == '\n' || detail.back() == '\r')) detail.pop_back();
  throw TErrorPrNoResponde(std::string(kNoAcknowledgement), detail);
}

// What the unit sent before this exchange is dropped. Not with a purge: that would also throw
// away the last bytes we wrote (the acknowledgement and HANDOFF of the previous transfer) when the
// line has not sent them yet.
void Protocolo_magellan::drainInput() {
  pending_.clear();
  heard_ = false;
  char buffer[256];
  while (port_.read(0, buffer, static_cast<int>(sizeof buffer) - 1, false) > 0) {}
}

void Protocolo_magellan::beginTransfer() {
  drainInput();
  moved_ = 0;
  if (settings_.handshake) {
    sendCommand("HANDON");
    handshake_ = true;
  }
}

// While handshaking the unit acknowledges HANDOFF too; that acknowledgement is awaited (once, not
// sent again) so that it is not left on the line for whoever opens the port next, who would take
// it for a unit still handshaking.
void Protocolo_magellan::endTransfer() noexcept {
  try {
    const std::string handoff = magellanCommand("HANDOFF");
    port_.write(handoff.data(), handoff.size());
    // A unit silent all along will not acknowledge it either.
    if (handshake_ && heard_) awaitAcknowledgement(checksumOfSentence(handoff), settings_.ackTimeoutMs);
  } catch (const TErrorPr&) {
    // The transfer's own error, if any, is the one worth reporting.
  }
  handshake_ = false;
}

bool Protocolo_magellan::detect(MagellanVersion& version, int timeoutMs) {
  drainInput();
  sendCommand("STOP");
  std::this_thread::sleep_for(std::chrono::milliseconds(kAfterStopMs));
  sendCommand("HANDON");
  handshake_ = true;
  TransferScope scope{[this] { endTransfer(); }};
  std::this_thread::sleep_for(std::chrono::milliseconds(kAfterHandonMs));
  sendCommand("VERSION");
  const auto deadline = Clock::now() + std::chrono::milliseconds(timeoutMs);
  TComandaNMEA_Rx s;
  int heard = 0;
  while (heard < kDetectSentences && msLeft(deadline) > 0) {
    checkCancel();
    if (!readSentence(s, std::min(kDetectStepMs, msLeft(deadline)))) continue;
    ++heard;
    if (s.identifier() != "PMGNVER") continue;
    // The answer to VERSION: a Magellan only when it says enough about itself.
    if (s.fieldCount() < kVersionFields) return false;
    version.product.assign(s.field(1));
    version.software.assign(s.field(2));
    version.description.assign(s.field(3));
    for (std::size_t i = 4; i < s.fieldCount(); ++i) version.description += "," + std::string(s.field(i));
    return true;
  }
  if (heard == 0) throw TErrorPrNoResponde(std::string(kNoAnswer));
  return false;
}

bool detectMagellan(TPuertoCom& port, std::string& version, int timeoutMs) {
  Protocolo_magellan link(port);
  MagellanVersion v;
  if (!link.detect(v, timeoutMs)) return false;
  version = v.text();
  return true;
}

Protocolo_magellan::Outcome Protocolo_magellan::collect(std::string_view word, std::string_view argument,
                                                        std::string_view identifier, std::string_view noneMessage,
                                                        std::vector<std::string>& sentences, bool noneIsError) {
  sendCommand(word, argument);
  TComandaNMEA_Rx s;
  const std::size_t before = sentences.size();
  for (;;) {
    checkCancel();
    if (!readSentence(s, settings_.sentenceTimeoutMs)) {
      if (sentences.size() == before) throw TErrorPrNoResponde(std::string(noneMessage));
      throw TErrorPr(std::string(noneMessage),
                     "the unit stopped answering after " + std::to_string(sentences.size() - before) + " " +
                         std::string(identifier) + " sentences");
    }
    if (s.identifier() == "PMGNCMD") {
      if (s.field(1) == "UNABLE") return Outcome::kUnable;
      if (s.field(1) == "END") break;
      continue;
    }
    if (s.identifier() != identifier) continue;  // position reports and the like
    sentences.push_back("$" + std::string(s.body()) + "*" + std::string(s.checksumText()));
    if (settings_.progress) settings_.progress(++moved_);
  }
  if (noneIsError && sentences.size() == before) throw TErrorPr(std::string(noneMessage));
  return Outcome::kEnd;
}

bool Protocolo_magellan::downloadWaypoints(TBalizas& out) {
  std::vector<std::string> lines;
  {
    beginTransfer();
    TransferScope scope{[this] { endTransfer(); }};
    if (collect("WAYPOINT", {}, "PMGNWPL", magellan_text::kNoWaypoints, lines, true) == Outcome::kUnable)
      return false;
  }
  TBalizas read;
  TComandaNMEA_Rx s;
  for (const std::string& line : lines) {
    TErrorNMEA error;
    NmeaWaypoint w;
    if (!s.Parse(line, error) || !s.ParsePMGNWPL(w, error)) throw TErrorPr(error.message, error.detail);
    read.waypoints.emplace(fromMagellanWaypoint(w));
  }
  while (!read.waypoints.empty()) out.waypoints.add(read.waypoints.release(0));
  return true;
}

bool Protocolo_magellan::downloadRoutes(TRutas& out) {
  std::vector<std::string> waypointLines, routeLines;
  {
    beginTransfer();
    TransferScope scope{[this] { endTransfer(); }};
    // A route names its waypoints; their positions come from the unit's waypoint list.
    if (collect("WAYPOINT", {}, "PMGNWPL", magellan_text::kNoWaypoints, waypointLines, false) == Outcome::kUnable ||
        collect("ROUTE", {}, "PMGNRTE", magellan_text::kNoRoutes, routeLines, true) == Outcome::kUnable)
      return false;
  }
  std::vector<NmeaWaypoint> known;
  std::vector<MagellanRouteMessage> messages;
  TComandaNMEA_Rx s;
  for (const std::string& line : waypointLines) {
    TErrorNMEA error;
    NmeaWaypoint w;
    if (!s.Parse(line, error) || !s.ParsePMGNWPL(w, error)) throw TErrorPr(error.message, error.detail);
    known.push_back(std::move(w));
  }
  TErrorNMEA error;
  if (!readMagellanRouteMessages(routeLines, messages, error)) throw TErrorPr(error.message, error.detail);
  std::string message;
  if (!assembleMagellanRoutes(messages, known, out, message)) throw TErrorPr(message);
  return true;
}

bool Protocolo_magellan::downloadTracks(TVolGPS& out) {
  std::vector<std::string> lines;
  {
    beginTransfer();
    TransferScope scope{[this] { endTransfer(); }};
    if (collect("TRACK", "2", "PMGNTRK", magellan_text::kNoTracks, lines, true) == Outcome::kUnable) return false;
  }
  std::string text;
  for (const std::string& line : lines) text += line + "\r\n";
  std::string message;
  TVolGPS read;
  if (!readMagellanLogText(text, {}, read, message)) throw TErrorPr(std::string(nmea_text::kMagTrk), message);
  while (!read.points.empty()) out.points.add(read.points.release(0));
  return true;
}

std::size_t Protocolo_magellan::sendAll(const std::vector<std::vector<std::string>>& sentences) {
  beginTransfer();
  TransferScope scope{[this] { endTransfer(); }};
  std::size_t sent = 0;
  for (const auto& fields : sentences) {
    checkCancel();
    sendAcknowledged(magellanSentence(fields));
    ++sent;
    if (settings_.progress) settings_.progress(sent);
  }
  sendAcknowledged(magellanCommand("END"));
  return sent;
}

std::size_t Protocolo_magellan::uploadWaypoints(const TBalizas& waypoints) {
  std::vector<std::vector<std::string>> sentences;
  for (const TBaliza& w : waypoints.waypoints) sentences.push_back(magellanWaypointFields(toMagellanWaypoint(w)));
  return sendAll(sentences);
}

std::size_t Protocolo_magellan::uploadRoutes(const TRutas& routes) {
  std::vector<std::vector<std::string>> sentences;
  std::vector<std::string> sentNames;
  for (const TRuta& route : routes.routes)
    for (const TBaliza& w : route.waypoints) {
      if (std::find(sentNames.begin(), sentNames.end(), w.name) != sentNames.end()) continue;
      sentNames.push_back(w.name);
      sentences.push_back(magellanWaypointFields(toMagellanWaypoint(w)));
    }
  int number = 1;
  for (const TRuta& route : routes.routes)
    for (auto& fields : magellanRouteFields(std::to_string(number++), route.name, magellanRouteStops(route),
                                            MagellanRouteLayout::kSerial))
      sentences.push_back(std::move(fields));
  return sendAll(sentences);
}

std::size_t Protocolo_magellan::uploadTracks(const TVolGPS& track) { return sendAll(magellanTrackPointFields(track)); }

void Protocolo_magellan::deleteAll(MagellanKind kind) {
  beginTransfer();
  TransferScope scope{[this] { endTransfer(); }};
  sendAcknowledged(magellanCommand("DELETE", kKindWords[static_cast<int>(kind)]));
}

}  // namespace pixtrail
