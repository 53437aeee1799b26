// pixtrail-garmin-sim: a simulated Garmin unit on a pseudo-terminal, for trying the program (or any
// other client) without a receiver.
//
//   pixtrail-garmin-sim [--profile old|serial|usb] [--points N] [--link PATH]
//
// Prints the terminal's path (and makes PATH a symbolic link to it), then serves until interrupted.
// With PIXTRAIL_GARMIN_SIM_USB set to a socket path it also serves the USB stand-in library
// (libpixtrail_garmin_usb_shim.so, loaded with LD_PRELOAD) on that socket.

#include <fcntl.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <termios.h>
#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <string>
#include <thread>

#include "tests/sim/garmin/GarminUnitSim.hpp"
#include "tests/sim/garmin/usb_shim_protocol.hpp"

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
  const int master = ::posix_openpt(O_RDWR | O_NOCTTY);
  if (master < 0 || ::grantpt(master) != 0 || ::unlockpt(master) != 0) {
    std::perror("posix_openpt");
    return 1;
  }
  const std::string slave = ::ptsname(master);
  // Keep the terminal open and raw, so that nothing echoes before a client sets it up and the
  // line survives clients that come and go.
  const int keep = ::open(slave.c_str(), O_RDWR | O_NOCTTY);
  termios tio{};
  if (keep >= 0 && ::tcgetattr(keep, &tio) == 0) {
    ::cfmakeraw(&tio);
    ::tcsetattr(keep, TCSANOW, &tio);
  }
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
  unit.serveSerial(master, gStop);
  gStop = true;
  if (usbThread.joinable()) usbThread.join();
  if (!link.empty()) std::filesystem::remove(link);
  ::close(keep);
  ::close(master);
  return 0;
}
