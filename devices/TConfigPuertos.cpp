#include "devices/TConfigPuertos.hpp"

#include <algorithm>
#include <cctype>
#include <charconv>

namespace pixtrail {
namespace {

bool equalsIgnoringCase(std::string_view a, std::string_view b) {
  return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(), [](char x, char y) {
           return std::tolower(static_cast<unsigned char>(x)) == std::tolower(static_cast<unsigned char>(y));
         });
}

}  // namespace

bool TConfigPuerto::fromText(std::string_view text, TConfigPuerto& out) {
  if (text.empty()) return false;
  if (equalsIgnoringCase(text, "mailslot")) {
    out.index = kMailslotPortIndex;
    out.path.clear();
    return true;
  }
  std::string_view name = text;
  if (name.substr(0, 4) == "\\\\.\\") name.remove_prefix(4);
  if (name.size() > 3 && equalsIgnoringCase(name.substr(0, 3), "COM")) {
    int number = 0;
    const auto [end, ec] = std::from_chars(name.data() + 3, name.data() + name.size(), number);
    if (ec == std::errc() && end == name.data() + name.size()) {
      if (number < 1) return false;
      out.index = number - 1;
      out.path.clear();
      return true;
    }
  }
  out.index = -1;
  out.path = std::string(text);
  return true;
}

std::string TConfigPuerto::displayName() const {
  if (index == kMailslotPortIndex) return "mailslot";
  if (index >= 0) return "COM" + std::to_string(index + 1);
  return path;
}

TConfigPuertos TConfigPuertos::fromSettings(int totalPorts, int extraPortIndex, std::uint32_t baud) {
  TConfigPuertos list;
  for (int i = 0; i < std::max(totalPorts, 1); ++i) list.add({i, {}, baud, GpsProtocol::none});
  if (extraPortIndex >= 0 && !list.find(extraPortIndex)) list.add({extraPortIndex, {}, baud, GpsProtocol::none});
  return list;
}

const TConfigPuerto* TConfigPuertos::find(int index) const {
  for (const TConfigPuerto& port : ports_)
    if (port.index == index) return &port;
  return nullptr;
}

TGPSConectado::TGPSConectado(TConfigPuerto config, std::uint32_t inputBufferSize, std::uint32_t charTimeoutMs)
    : config_(std::move(config)), port_(createPuertoCom(inputBufferSize, charTimeoutMs)) {}

void TGPSConectado::open() {
  if (config_.index == -1) port_->openPath(config_.path, true);
  else port_->open(config_.index, true);
  port_->setBuffers();
  port_->setState(config_.baud);
  port_->setTimeouts();
}

void TGPSConectado::watch(NotificationSink& owner) {
  if (watcher_) return;
  watcher_ = std::make_unique<PortWatchThread>(*port_, owner);
  watcher_->start();
}

void TGPSConectado::close() {
  if (watcher_) watcher_->stop();
  watcher_.reset();
  port_->close();
}

}  // namespace pixtrail
