#include "devices/GpsdClient.hpp"

#include <charconv>
#include <cstring>

#include "devices/TErrorPr.hpp"

#ifdef _WIN32
#include <winsock2.h>
#include <ws2tcpip.h>
#else
#include <netdb.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>
#include <cerrno>
#endif

namespace pixtrail {
namespace {

constexpr std::string_view kWatchRaw = "?WATCH={\"enable\":true,\"raw\":1}\n";
constexpr std::size_t kMaxLine = 4096;

int lastSocketError() {
#ifdef _WIN32
  return WSAGetLastError();
#else
  return errno;
#endif
}

void closeSocket(std::intptr_t s) {
#ifdef _WIN32
  ::closesocket(static_cast<SOCKET>(s));
#else
  ::close(static_cast<int>(s));
#endif
}

// Waits for the socket to become readable (or writable); >0 ready, 0 time-out, <0 failure.
int waitSocket(std::intptr_t s, bool forWrite, int timeoutMs) {
#ifdef _WIN32
  WSAPOLLFD p{static_cast<SOCKET>(s), static_cast<SHORT>(forWrite ? POLLOUT : POLLIN), 0};
  return ::WSAPoll(&p, 1, timeoutMs);
#else
  pollfd p{static_cast<int>(s), static_cast<short>(forWrite ? POLLOUT : POLLIN), 0};
  int ready;
  do ready = ::poll(&p, 1, timeoutMs);
  while (ready < 0 && errno == EINTR);
  return ready;
#endif
}

[[noreturn]] void raise(const char* operation, int error, const std::string& detail) {
  throw TErrorPr(std::string(operation) + " lasterror= " + std::to_string(error), detail);
}

}  // namespace

bool GpsdClient::parseAddress(std::string_view address, std::string& host, std::uint16_t& port) {
  host = "localhost";
  port = kGpsdDefaultPort;
  const std::size_t colon = address.rfind(':');
  std::string_view hostPart = colon == std::string_view::npos ? address : address.substr(0, colon);
  if (!hostPart.empty()) host = std::string(hostPart);
  if (colon == std::string_view::npos) return true;
  std::string_view portPart = address.substr(colon + 1);
  unsigned value = 0;
  const auto [end, ec] = std::from_chars(portPart.data(), portPart.data() + portPart.size(), value);
  if (ec != std::errc() || end != portPart.data() + portPart.size() || value == 0 || value > 65535) return false;
  port = static_cast<std::uint16_t>(value);
  return true;
}

void GpsdClient::connect(std::string_view address, int timeoutMs) {
  close();
#ifdef _WIN32
  WSADATA wsa;
  ::WSAStartup(MAKEWORD(2, 2), &wsa);
#endif
  std::string host;
  std::uint16_t port = 0;
  if (!parseAddress(address, host, port)) throw TErrorPr("Error default", "gpsd address " + std::string(address));
  addrinfo hints{};
  hints.ai_family = AF_UNSPEC;
  hints.ai_socktype = SOCK_STREAM;
  addrinfo* found = nullptr;
  const std::string service = std::to_string(port);
  if (int rc = ::getaddrinfo(host.c_str(), service.c_str(), &hints, &found); rc != 0)
    raise("getaddrinfo", rc, host);
  int error = 0;
  for (addrinfo* a = found; a && socket_ == kNoSocket; a = a->ai_next) {
    auto s = static_cast<std::intptr_t>(::socket(a->ai_family, a->ai_socktype, a->ai_protocol));
    if (s < 0) {
      error = lastSocketError();
      continue;
    }
    if (::connect(static_cast<decltype(::socket(0, 0, 0))>(s), a->ai_addr, static_cast<int>(a->ai_addrlen)) == 0) {
      socket_ = s;
    } else {
      error = lastSocketError();
      closeSocket(s);
    }
  }
  ::freeaddrinfo(found);
  const std::string where = host + ":" + service;
  if (socket_ == kNoSocket) raise("connect", error, where);
  if (waitSocket(socket_, true, timeoutMs) <= 0 ||
      ::send(static_cast<decltype(::socket(0, 0, 0))>(socket_), kWatchRaw.data(), static_cast<int>(kWatchRaw.size()), 0) !=
          static_cast<int>(kWatchRaw.size())) {
    error = lastSocketError();
    close();
    raise("send", error, where);
  }
}

bool GpsdClient::pump(int timeoutMs, const std::function<void(std::string_view)>& onLine) {
  if (socket_ == kNoSocket) return false;
  const int ready = waitSocket(socket_, false, timeoutMs);
  if (ready == 0) return true;
  char buffer[4096];
  const auto got = ready < 0 ? -1
                             : ::recv(static_cast<decltype(::socket(0, 0, 0))>(socket_), buffer, sizeof buffer, 0);
  if (got <= 0) {
    close();
    return false;
  }
  pending_.append(buffer, static_cast<std::size_t>(got));
  std::size_t start = 0;
  for (std::size_t lf = pending_.find('\n'); lf != std::string::npos; lf = pending_.find('\n', start)) {
    std::string_view line(pending_.data() + start, lf + 1 - start);
    start = lf + 1;
    if (line.find('$') != std::string_view::npos && line.front() != '{') onLine(line);
  }
  pending_.erase(0, start);
  if (pending_.size() > kMaxLine) pending_.clear();
  return true;
}

void GpsdClient::close() {
  if (socket_ != kNoSocket) closeSocket(socket_);
  socket_ = kNoSocket;
  pending_.clear();
}

}  // namespace pixtrail
