#pragma once
// Cuts the byte stream of a port into lines (up to and including LF). Used by the NMEA
// auto-detection, which waits for one line at a time, and by the live fix, which takes whatever
// the watch thread said is waiting.

#include <functional>
#include <string>
#include <string_view>

#include "devices/TPuertoCom.hpp"

namespace pixtrail {

class PortLineReader {
 public:
  enum class Result {
    line,   // `line` holds one line
    silent, // nothing at all arrived before the deadline
    noLine, // bytes arrived, but no end of line among them
  };
  // A line longer than this is not NMEA (a sentence is at most 82 characters); it is dropped.
  static constexpr std::size_t kMaxLine = 1024;

  explicit PortLineReader(TPuertoCom& port) : port_(port) {}

  // Waits up to `timeoutMs` for the next line. Port errors raise as the port raises them.
  Result readLine(int timeoutMs, std::string& line);
  // Takes the bytes waiting now (waiting at most `timeoutMs` for the first) and hands every
  // complete line to `onLine`. Returns the number of bytes read.
  int pump(int timeoutMs, const std::function<void(std::string_view)>& onLine);
  // A partial last line (a port that went away mid-sentence), emptied.
  std::string takeRest();
  // Bytes received since construction.
  std::uint64_t bytesReceived() const { return bytes_; }

 private:
  bool popLine(std::string& line);
  int readSome(int timeoutMs);

  TPuertoCom& port_;
  std::string pending_;
  std::uint64_t bytes_ = 0;
};

}  // namespace pixtrail
