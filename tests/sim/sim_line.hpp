#pragma once
// The serial line between a host and a simulated unit: a pseudo-terminal whose far end the unit
// keeps raw, and the near end opened as the program opens a serial port.
#include <fcntl.h>
#include <termios.h>
#include <unistd.h>

#include <memory>
#include <stdexcept>
#include <string>

#include "devices/TPuertoCom.hpp"

namespace pixtrail::sim {

// Opens `path` and sets it raw, held open so that nothing echoes before a client sets the line up
// and the line survives clients that come and go. The descriptor, or -1.
inline int holdRawLine(const std::string& path) {
  const int fd = ::open(path.c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC);
  termios tio{};
  if (fd >= 0 && ::tcgetattr(fd, &tio) == 0) {
    ::cfmakeraw(&tio);
    ::tcsetattr(fd, TCSANOW, &tio);
  }
  return fd;
}

// The host's end, opened as the program opens a serial port.
inline std::unique_ptr<TPuertoCom> openHostLine(const std::string& path) {
  auto port = createPuertoCom();
  if (!port->openPath(path, false)) throw std::runtime_error("cannot open " + path);
  port->setBuffers();
  port->setState(9600);
  port->setTimeouts();
  return port;
}

}  // namespace pixtrail::sim
