#include "devices/PortLineReader.hpp"

#include <algorithm>
#include <chrono>

namespace pixtrail {
namespace {

using Clock = std::chrono::steady_clock;
// Each read waits this long at most, so a line that completes early is handed on early.
constexpr int kSliceMs = 50;
constexpr int kReadBytes = 512;

}  // namespace

bool PortLineReader::popLine(std::string& line) {
  const std::size_t lf = pending_.find('\n');
  if (lf == std::string::npos) {
    // Without an end of line in sight the bytes are not sentences: keep only the tail.
    if (pending_.size() > kMaxLine) pending_.erase(0, pending_.size() - kMaxLine / 2);
    return false;
  }
  line.assign(pending_, 0, lf + 1);
  pending_.erase(0, lf + 1);
  return true;
}

int PortLineReader::readSome(int timeoutMs) {
  char buffer[kReadBytes + 1];
  const int got = port_.read(timeoutMs, buffer, kReadBytes, true);
  if (got > 0) {
    pending_.append(buffer, static_cast<std::size_t>(got));
    bytes_ += static_cast<std::uint64_t>(got);
  }
  return got;
}

PortLineReader::Result PortLineReader::readLine(int timeoutMs, std::string& line) {
  if (popLine(line)) return Result::line;
  bool any = !pending_.empty();
  const auto deadline = Clock::now() + std::chrono::milliseconds(std::max(timeoutMs, 0));
  for (;;) {
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now()).count();
    if (left <= 0) return any ? Result::noLine : Result::silent;
    if (readSome(static_cast<int>(std::min<long long>(left, kSliceMs))) > 0) any = true;
    if (popLine(line)) return Result::line;
  }
}

int PortLineReader::pump(int timeoutMs, const std::function<void(std::string_view)>& onLine) {
  const int got = readSome(timeoutMs);
  std::string line;
  while (popLine(line)) onLine(line);
  return got;
}

std::string PortLineReader::takeRest() {
  std::string rest;
  rest.swap(pending_);
  return rest;
}

}  // namespace pixtrail
