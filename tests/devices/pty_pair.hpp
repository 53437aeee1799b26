#pragma once
// A pseudo-terminal pair standing in for a serial line: the program opens slavePath() as its
// port, the test plays the device on the master side.
#ifndef _WIN32

#include <fcntl.h>
#include <poll.h>
#include <stdlib.h>
#include <unistd.h>

#include <chrono>
#include <string>
#include <string_view>

namespace pixtrail::test {

class PtyPair {
 public:
  PtyPair() {
    master_ = ::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
    if (master_ >= 0 && ::grantpt(master_) == 0 && ::unlockpt(master_) == 0)
      slavePath_ = ::ptsname(master_);
  }
  ~PtyPair() { closeMaster(); }
  PtyPair(const PtyPair&) = delete;
  PtyPair& operator=(const PtyPair&) = delete;

  bool ok() const { return master_ >= 0 && !slavePath_.empty(); }
  const std::string& slavePath() const { return slavePath_; }
  int master() const { return master_; }

  bool send(std::string_view bytes) const {
    return ::write(master_, bytes.data(), bytes.size()) == static_cast<ssize_t>(bytes.size());
  }
  // Everything that arrives within `waitMs`.
  std::string receive(int waitMs) const {
    std::string bytes;
    auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(waitMs);
    for (;;) {
      auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
                      deadline - std::chrono::steady_clock::now()).count();
      if (left <= 0) break;
      pollfd p{master_, POLLIN, 0};
      if (::poll(&p, 1, static_cast<int>(left)) <= 0) break;
      char chunk[256];
      ssize_t n = ::read(master_, chunk, sizeof chunk);
      if (n <= 0) break;
      bytes.append(chunk, static_cast<std::size_t>(n));
    }
    return bytes;
  }
  // The device unplugged.
  void closeMaster() {
    if (master_ >= 0) ::close(master_);
    master_ = -1;
  }

 private:
  int master_ = -1;
  std::string slavePath_;
};

}  // namespace pixtrail::test

#endif
