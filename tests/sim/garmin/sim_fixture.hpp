#pragma once
// A simulated unit serving one end of a pseudo-terminal pair (and, when asked, the USB stand-in's
// socket) from a thread of the test.
#include <unistd.h>

#include <atomic>
#include <memory>
#include <thread>

#include <gtest/gtest.h>

#include "tests/devices/pty_pair.hpp"
#include "tests/sim/garmin/GarminUnitSim.hpp"
#include "tests/sim/garmin/usb_shim_protocol.hpp"
#include "tests/sim/sim_line.hpp"
#include "tests/support/test_support.hpp"

namespace pixtrail::sim {

class SimOnPty {
 public:
  explicit SimOnPty(const std::string& profile, int trackPoints = 25)
      : unit(simProfile(profile), trackPoints), keep_(holdRawLine(pty.slavePath())) {}
  ~SimOnPty() { stop(); if (keep_ >= 0) ::close(keep_); }

  void start() {
    serial_ = std::thread([this] { unit.serveSerial(pty.master(), stop_); });
  }
  // Serves the USB stand-in on a socket in `dir`; returns the environment a client needs.
  std::string startUsb(const std::filesystem::path& dir) {
    socket_ = (dir / "garmin-usb.sock").string();
    usb_ = std::thread([this] { serveUsbShim(unit, socket_, stop_); });
    for (int i = 0; i < 200 && !std::filesystem::exists(socket_); ++i) std::this_thread::sleep_for(std::chrono::milliseconds(5));
    return std::string(kUsbShimSocketVariable) + "=" + test::shellQuote(socket_) + " LD_PRELOAD=" +
           test::shellQuote(PIXTRAIL_GARMIN_USB_SHIM_PATH);
  }
  void stop() {
    stop_ = true;
    if (serial_.joinable()) serial_.join();
    if (usb_.joinable()) usb_.join();
  }
  const std::string& path() const { return pty.slavePath(); }

  test::PtyPair pty;
  GarminUnitSim unit;

 private:
  std::atomic<bool> stop_{false};
  std::thread serial_, usb_;
  std::string socket_;
  int keep_;
};

}  // namespace pixtrail::sim
