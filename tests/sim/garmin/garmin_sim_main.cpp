// pixtrail-garmin-sim: a simulated Garmin unit on a pseudo-terminal, for trying the program (or any
// other client) without a receiver.
//
//   pixtrail-garmin-sim [--profile old|serial|usb] [--points N] [--link PATH]
//
// Prints the terminal's path (and makes PATH a symbolic link to it), then serves until interrupted.
// With PIXTRAIL_GARMIN_SIM_USB set to a socket path it also serves the USB stand-in library
// (libpixtrail_garmin_usb_shim.so, loaded with LD_PRELOAD) on that socket.

#include <signal.h>
#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <string>
#include <thread>

#include "tests/devices/pty_pair.hpp"
#include "tests/sim/garmin/GarminUnitSim.hpp"
#include "tests/sim/garmin/usb_shim_protocol.hpp"
#include "tests/sim/sim_line.hpp"

using namespace pixtrail;
using namespace pixtrail::sim;

namespace {

std::atomic<bool> gStop{false};

void onSignal(int) { gStop = true; }

}  // namespace

int main(int argc, char** argv) {
  std::string profileName = "serial", link;
  int points = 25;
  for (int i = 1; i < argc; ++i) {
    const std::string arg = argv[i];
    if (arg == "--profile" && i + 1 < argc) profileName = argv[++i];
    else if (arg == "--points" && i + 1 < argc) points = std::atoi(argv[++i]);
    else if (arg == "--link" && i + 1 < argc) link = argv[++i];
    else {
      std::fprintf(stderr, "usage: %s [--profile old|serial|usb] [--points N] [--link PATH]\n", argv[0]);
      return 2;
    }
  }
  test::PtyPair pty;
  if (!pty.ok()) {
    std::perror("posix_openpt");
    return 1;
  }
  const std::string slave = pty.slavePath();
  const int keep = holdRawLine(slave);
  if (!link.empty()) {
    std::error_code ec;
    std::filesystem::remove(link, ec);
    std::filesystem::create_symlink(slave, link, ec);
  }
  ::signal(SIGINT, onSignal);
  ::signal(SIGTERM, onSignal);
  ::signal(SIGPIPE, SIG_IGN);

  GarminUnitSim unit(simProfile(profileName), points);
  std::thread usbThread;
  if (const char* socketPath = std::getenv(kUsbShimSocketVariable)) {
    usbThread = std::thread([&unit, path = std::string(socketPath)] { serveUsbShim(unit, path, gStop); });
  }
  std::printf("%s\n", slave.c_str());
  std::fflush(stdout);
  unit.serveSerial(pty.master(), gStop);
  gStop = true;
  if (usbThread.joinable()) usbThread.join();
  if (!link.empty()) std::filesystem::remove(link);
  ::close(keep);
  return 0;
}
