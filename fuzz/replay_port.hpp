// A receiver line for the fuzz harnesses: its reads hand out the input and then fall silent, and
// whatever is written to it is swallowed. Some harnesses want the bytes in pieces of varying size,
// as a real line delivers them.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>

#include "devices/TPuertoCom.hpp"

namespace pixtrail {

class ReplayPort final : public TPuertoCom {
 public:
  explicit ReplayPort(std::string_view bytes, bool inPieces = false, std::uint32_t baud = 9600)
      : bytes_(bytes), inPieces_(inPieces), baud_(baud) {}
  bool open(int, bool) override { return true; }
  bool openPath(const std::string&, bool) override { return true; }
  void close() override {}
  bool isOpen() const override { return true; }
  bool isMailslot() const override { return false; }
  void setBuffers() override {}
  void setState(std::uint32_t) override {}
  void setTimeouts() override {}
  int read(int, char* buffer, int count, bool) override {
    if (count < 0) count = 64;
    std::size_t n = std::min<std::size_t>(bytes_.size(), static_cast<std::size_t>(count));
    if (inPieces_) n = std::min<std::size_t>(n, 1 + (calls_ * 7) % 97);
    ++calls_;
    std::memcpy(buffer, bytes_.data(), n);
    buffer[n] = 0;
    bytes_.remove_prefix(n);
    return static_cast<int>(n);
  }
  void purge() override {}
  void write(const void*, std::size_t) override {}
  std::uint32_t baud() const override { return baud_; }
  std::uint32_t readCalls() const override { return calls_; }
  std::uintptr_t handle() const override { return 1; }
  bool setEventMask() override { return true; }
  unsigned waitEvents(int) override { return kPortEventNone; }
  void stopWaiting() override {}
  void clearRts() override {}

 private:
  std::string_view bytes_;
  bool inPieces_;
  std::uint32_t baud_;
  std::uint32_t calls_ = 0;
};

}  // namespace pixtrail
