#pragma once
// The ports the user configured (TConfigPuertos of TConfigPuerto) and the devices connected
// through them (TGPSConectado): which line, at which speed, speaking which protocol, and once
// connected the open port with its watch thread.

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "devices/NotificationLoop.hpp"
#include "devices/TPuertoCom.hpp"
#include "devices/TThreadVRK.hpp"
#include "devices/protocol_detection.hpp"

namespace pixtrail {

struct TConfigPuerto {
  int index = -1;          // 0 = COM1 / the first port listed; kMailslotPortIndex; -1: use `path`
  std::string path;        // a device path given directly
  std::uint32_t baud = 4800;
  GpsProtocol protocol = GpsProtocol::none;  // none: not known yet (auto-detect)

  // "COM3", "\\.\COM3" (index 2), "mailslot", or a device path. False for an empty text or a
  // COM number below 1.
  static bool fromText(std::string_view text, TConfigPuerto& out);
  // What a user calls it: "COM3", "mailslot" or the path.
  std::string displayName() const;
};

class TConfigPuertos {
 public:
  // "total_puertos" ports COM1.. (at least one) and the extra port "Num_Puerto_Extra" (-1: none),
  // each at `baud`.
  static TConfigPuertos fromSettings(int totalPorts, int extraPortIndex, std::uint32_t baud);

  void add(const TConfigPuerto& port) { ports_.push_back(port); }
  const std::vector<TConfigPuerto>& ports() const { return ports_; }
  // The configured port with this index, or nullptr.
  const TConfigPuerto* find(int index) const;

 private:
  std::vector<TConfigPuerto> ports_;
};

// A device connected through one configured port.
class TGPSConectado {
 public:
  TGPSConectado(TConfigPuerto config, std::uint32_t inputBufferSize, std::uint32_t charTimeoutMs);
  ~TGPSConectado() { close(); }
  TGPSConectado(const TGPSConectado&) = delete;
  TGPSConectado& operator=(const TGPSConectado&) = delete;

  // Opens and sets up the line (buffers, speed, time-outs); raises TErrorPr.
  void open();
  // Starts the watch thread, which notifies `owner` when bytes wait.
  void watch(NotificationSink& owner);
  // Stops the watch thread first, then closes the line.
  void close();

  TPuertoCom& port() { return *port_; }
  PortWatchThread* watcher() { return watcher_.get(); }
  const TConfigPuerto& config() const { return config_; }

  GpsProtocol protocol = GpsProtocol::none;
  std::string product;

 private:
  TConfigPuerto config_;
  std::unique_ptr<TPuertoCom> port_;
  std::unique_ptr<PortWatchThread> watcher_;
};

}  // namespace pixtrail
