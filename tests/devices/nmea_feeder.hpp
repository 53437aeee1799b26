#pragma once
// A receiver on the far side of a pty: sends its lines over and over until stopped.
#ifndef _WIN32

#include <atomic>
#include <chrono>
#include <string>
#include <thread>
#include <vector>

#include "tests/devices/pty_pair.hpp"

namespace pixtrail::test {

class NmeaFeeder {
 public:
  NmeaFeeder(const PtyPair& pty, std::vector<std::string> lines, int everyMs)
      : thread_([this, &pty, lines = std::move(lines), everyMs] {
          while (!stop_)
            for (const std::string& line : lines) {
              if (stop_) break;
              pty.send(line);
              std::this_thread::sleep_for(std::chrono::milliseconds(everyMs));
            }
        }) {}
  ~NmeaFeeder() { stop(); }
  void stop() {
    stop_ = true;
    if (thread_.joinable()) thread_.join();
  }

 private:
  std::atomic<bool> stop_{false};
  std::thread thread_;
};

}  // namespace pixtrail::test

#endif
