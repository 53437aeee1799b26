#pragma once
// A line to a GPS device: a serial port (a real one, a USB or Bluetooth adapter's virtual port,
// a pseudo-terminal) or the local mailslot through which another program forwards NMEA.
// The protocols (NMEA, Garmin serial, Magellan) talk to this interface only; each platform
// supplies one implementation (POSIX termios, Win32 comm API) made by createPuertoCom().
//
// Errors are raised as TErrorPr carrying the failing operation's name and " lasterror= " with
// the system's error number, as the protocols' callers expect.

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "devices/TErrorPr.hpp"

namespace pixtrail {

// The port index that stands for the local mailslot instead of a serial port.
inline constexpr int kMailslotPortIndex = -100;

// Port events the watch thread waits for (the Win32 comm event mask bits it uses, plus the
// line going away, which Windows reports as a failed wait).
enum PortEvent : unsigned {
  kPortEventNone = 0,
  kPortEventCharReceived = 0x0001,   // EV_RXCHAR
  kPortEventTransmitEmpty = 0x0004,  // EV_TXEMPTY
  kPortEventLineError = 0x8000,      // unplugged, closed, or the wait failed
};

struct PortTimeouts {
  std::uint32_t readInterval = 0;
  std::uint32_t readTotalMultiplier = 0;
  std::uint32_t readTotalConstant = 0;
  std::uint32_t writeTotalMultiplier = 0;
  std::uint32_t writeTotalConstant = 0;
};

class TPuertoCom {
 public:
  virtual ~TPuertoCom() = default;

  // Opens port `index` (0 = COM1 / the first port listed; kMailslotPortIndex = the mailslot).
  // Returns whether it opened; with `raise` a failure raises TErrorPr instead.
  virtual bool open(int index, bool raise) = 0;
  // Opens a port by its device path (/dev/ttyUSB0, /dev/pts/7, \\.\COM3).
  virtual bool openPath(const std::string& path, bool raise) = 0;
  virtual void close() = 0;
  virtual bool isOpen() const = 0;
  virtual bool isMailslot() const = 0;

  virtual void setBuffers() = 0;                    // input as configured, output 25500
  virtual void setState(std::uint32_t baud) = 0;    // raw 8N1, no flow control, DTR/RTS low
  virtual void setTimeouts() = 0;

  // Reads up to `count` bytes (negative: the configured default count) until the count is
  // reached, `timeoutMs` passes or a read fails. Writes a terminating zero after the bytes read,
  // so `buffer` must hold one byte more than asked. Returns the number of bytes read.
  virtual int read(int timeoutMs, char* buffer, int count, bool raise) = 0;
  virtual void purge() = 0;
  virtual void write(const void* data, std::size_t size) = 0;

  virtual std::uint32_t baud() const = 0;
  virtual std::uint32_t readCalls() const = 0;
  // The system handle (a file descriptor or a HANDLE) that notifications name the port by.
  virtual std::uintptr_t handle() const = 0;

  // For the port watch thread, which alone calls the first two. The event mask is set to
  // character-received and transmit-empty; waitEvents() blocks until one of them happens, the
  // line fails, stopWaiting() is called from another thread, or `timeoutMs` passes (negative:
  // no limit). Returns a PortEvent mask, kPortEventNone on time-out or stop.
  virtual bool setEventMask() = 0;
  virtual unsigned waitEvents(int timeoutMs) = 0;
  virtual void stopWaiting() = 0;
  // Lowers RTS (EscapeCommFunction CLRRTS), as the watch thread does once transmission ends.
  virtual void clearRts() = 0;
};

// The platform's implementation; `inputBufferSize` is the configured input buffer size and the
// default read count, `charTimeoutMs` the configured time-out between characters.
std::unique_ptr<TPuertoCom> createPuertoCom(std::uint32_t inputBufferSize = 4096,
                                            std::uint32_t charTimeoutMs = 100);

// The mailslot's name on this platform (a socket in the user's runtime folder on POSIX).
std::string mailslotName();
// Sends one message to the mailslot, as a program forwarding NMEA does; at most
// kMailslotMessageMax bytes. Raises TErrorPr when nobody listens or the message is too long.
inline constexpr std::size_t kMailslotMessageMax = 400;
void sendToMailslot(std::string_view message);

}  // namespace pixtrail
