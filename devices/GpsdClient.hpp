#pragma once
// Raw NMEA from a running gpsd: on Linux a receiver is often owned by gpsd, which hands its
// sentences on to any client that asks with ?WATCH={"enable":true,"raw":1}. gpsd's own JSON
// reports on the same connection are skipped.

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

namespace pixtrail {

inline constexpr std::uint16_t kGpsdDefaultPort = 2947;

class GpsdClient {
 public:
  GpsdClient() = default;
  ~GpsdClient() { close(); }
  GpsdClient(const GpsdClient&) = delete;
  GpsdClient& operator=(const GpsdClient&) = delete;

  // `address` is "HOST:PORT", "HOST", ":PORT" or empty (localhost, 2947). Connects and asks for
  // raw NMEA; raises TErrorPr ("connect lasterror= ...") when gpsd is not there.
  void connect(std::string_view address, int timeoutMs);
  // Waits up to `timeoutMs` for data and hands each NMEA line (with its CR LF) to `onLine`.
  // False once gpsd has closed the connection or it failed.
  bool pump(int timeoutMs, const std::function<void(std::string_view)>& onLine);
  void close();
  bool isOpen() const { return socket_ != kNoSocket; }

  // Splits "HOST:PORT"; false for a port that is not a number from 1 to 65535.
  static bool parseAddress(std::string_view address, std::string& host, std::uint16_t& port);

 private:
  static constexpr std::intptr_t kNoSocket = -1;
  std::intptr_t socket_ = kNoSocket;
  std::string pending_;
};

}  // namespace pixtrail
