// TPuertoCom on POSIX: termios for serial lines, a Unix datagram socket for the mailslot.
//
// The Win32 comm model is kept so that both platforms behave alike for the protocols above:
// - ReadFile's time-outs become poll(): the first byte is awaited until the call's deadline, each
//   further byte for at most the read interval (the configured time-out between characters).
// - The four PurgeComm steps are tcflush calls; errors keep the Win32 operation names so a
//   message reads the same on every system, with errno as the last error.
// - The comm event mask becomes poll() on the line and on a wake-up pipe; transmit-empty is the
//   kernel's output queue running dry after a write.
// - The mailslot only receives; buffers, purges and time-outs do nothing on it, each read waits
//   at most 1000 ms for one message, and messages over 400 bytes are dropped as Windows refuses
//   them.
#ifndef _WIN32

#include <fcntl.h>
#include <poll.h>
#include <sys/file.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <thread>

#include "devices/TListaPuertosCOMM.hpp"
#include "devices/TPuertoCom.hpp"

namespace pixtrail {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::uint32_t kWriteTotalConstantMs = 1000;
constexpr int kMailslotReadTimeoutMs = 1000;
constexpr const char* kMailslotBaseName = "orvexgps_movingmap";

int msUntil(Clock::time_point deadline) {
  auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now()).count();
  return left > 0 ? static_cast<int>(left) : 0;
}

speed_t speedFor(std::uint32_t baud) {
  struct Row {
    std::uint32_t baud;
    speed_t speed;
  };
  static constexpr Row kSpeeds[] = {
      {1200, B1200},     {2400, B2400},     {4800, B4800},     {9600, B9600},
      {19200, B19200},   {38400, B38400},   {57600, B57600},   {115200, B115200},
      {230400, B230400}, {460800, B460800}, {921600, B921600},
  };
  for (const Row& row : kSpeeds)
    if (row.baud == baud) return row.speed;
  return B0;
}

class TPuertoComPosix final : public TPuertoCom {
 public:
  TPuertoComPosix(std::uint32_t inputBufferSize, std::uint32_t charTimeoutMs)
      : inputBufferSize_(inputBufferSize), charTimeoutMs_(charTimeoutMs) {}
  ~TPuertoComPosix() override {
    close();
    for (int& fd : wake_)
      if (fd >= 0) ::close(fd), fd = -1;
  }

  bool open(int index, bool raise) override {
    if (fd_ >= 0) return fail(raise, "Ya conectado", 0);
    if (index == kMailslotPortIndex) return openMailslot(raise);
    std::string path = index >= 0 ? TListaPuertosCOMM().pathOf(index) : std::string();
    if (path.empty()) return fail(raise, "CreateFile", ENOENT, "no port " + std::to_string(index));
    if (!openPath(path, raise)) return false;
    index_ = index;
    return true;
  }

  bool openPath(const std::string& path, bool raise) override {
    if (fd_ >= 0) return fail(raise, "Ya conectado", 0);
    int fd = ::open(path.c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
    if (fd < 0) return fail(raise, "CreateFile", errno, path);
    // Windows opens a COM port exclusively; an advisory lock gives the same between programs
    // that ask, TIOCEXCL keeps other non-root openers out.
    if (::flock(fd, LOCK_EX | LOCK_NB) != 0) {
      int error = errno == EWOULDBLOCK ? EBUSY : errno;
      ::close(fd);
      return fail(raise, "CreateFile", error, path);
    }
    if (::isatty(fd)) ::ioctl(fd, TIOCEXCL);
    fd_ = fd;
    path_ = path;
    index_ = -1;
    mailslot_ = false;
    return true;
  }

  void close() override {
    if (fd_ < 0) return;
    if (!mailslot_ && ::isatty(fd_)) ::ioctl(fd_, TIOCNXCL);
    ::close(fd_);
    if (mailslot_) ::unlink(path_.c_str());
    fd_ = -1;
    mailslot_ = false;
    path_.clear();
  }

  bool isOpen() const override { return fd_ >= 0; }
  bool isMailslot() const override { return mailslot_; }

  void setBuffers() override {
    if (mailslot_) return;
    requireOpen();
    // The kernel sizes tty buffers itself (Windows gets the input size and 25500 for output);
    // the configured input size stays the default read count.
  }

  void setState(std::uint32_t baud) override {
    if (mailslot_) return;
    requireOpen();
    termios tio{};
    if (::tcgetattr(fd_, &tio) != 0) return raiseError("GetCommState", errno);
    speed_t speed = speedFor(baud);
    if (speed == B0) return raiseError("SetCommState", EINVAL, "baud " + std::to_string(baud));
    ::cfmakeraw(&tio);  // binary: no parity check, no character replacement or stripping
    tio.c_cflag &= ~static_cast<tcflag_t>(CSIZE | PARENB | CSTOPB | CRTSCTS);
    tio.c_cflag |= CS8 | CREAD | CLOCAL;  // CLOCAL: no DSR/DCD sensitivity
    tio.c_iflag &= ~static_cast<tcflag_t>(IXON | IXOFF | IXANY);
    tio.c_cc[VMIN] = 0;
    tio.c_cc[VTIME] = 0;
    ::cfsetispeed(&tio, speed);
    ::cfsetospeed(&tio, speed);
    if (::tcsetattr(fd_, TCSANOW, &tio) != 0) return raiseError("SetCommState", errno);
    // DTR and RTS control disabled: both lines low. A pty has no modem lines, so failure there
    // is not an error.
    int lines = TIOCM_DTR | TIOCM_RTS;
    ::ioctl(fd_, TIOCMBIC, &lines);
    baud_ = baud;
  }

  void setTimeouts() override {
    if (mailslot_) return;
    requireOpen();
    timeouts_.readInterval = charTimeoutMs_;
    timeouts_.readTotalMultiplier = 0;
    timeouts_.readTotalConstant = 0;
    timeouts_.writeTotalMultiplier = 0;
    timeouts_.writeTotalConstant = kWriteTotalConstantMs;
  }

  int read(int timeoutMs, char* buffer, int count, bool raise) override {
    if (fd_ < 0) {
      if (raise) raiseError("Error, puerto cerrado!", 0);
      if (buffer) buffer[0] = 0;
      return 0;
    }
    if (count < 0) count = static_cast<int>(inputBufferSize_);
    if (timeoutMs < 0) timeoutMs = 0;
    if (!mailslot_) timeouts_.readTotalConstant = static_cast<std::uint32_t>(timeoutMs);
    ++readCalls_;
    const auto deadline = Clock::now() + std::chrono::milliseconds(timeoutMs);
    int total = 0;
    while (total < count) {
      int error = 0;
      int got = mailslot_ ? readMessage(buffer + total, count - total, deadline)
                          : readChunk(buffer + total, count - total, deadline, error);
      if (got < 0) {
        // Bytes already taken in this call are returned; the failure is still there next call.
        if (raise && !mailslot_ && total == 0) {
          buffer[0] = 0;
          raiseError("Error en la recepcion", error);
        }
        break;
      }
      total += got;
      if (total >= count || Clock::now() >= deadline) break;
      // Half the time-out, but never past the deadline, so a short line returns on time.
      std::this_thread::sleep_for(std::chrono::milliseconds(std::min(timeoutMs / 2, msUntil(deadline))));
    }
    buffer[total] = 0;
    return total;
  }

  void purge() override {
    if (mailslot_) return;
    requireOpen();
    // Transmit, receive, pending writes, pending reads: the Win32 order.
    static constexpr struct {
      const char* name;
      int queue;
    } kSteps[] = {{"PurgeComm 1", TCOFLUSH},
                  {"PurgeComm 2", TCIFLUSH},
                  {"PurgeComm 3", TCOFLUSH},
                  {"PurgeComm 4", TCIFLUSH}};
    for (const auto& step : kSteps)
      if (::tcflush(fd_, step.queue) != 0 && errno != ENOTTY) return raiseError(step.name, errno);
  }

  void write(const void* data, std::size_t size) override {
    if (fd_ < 0) return raiseError("Error, puerto cerrado!", 0);
    if (mailslot_) return raiseError("Error en la transmisión", EBADF);
    const char* bytes = static_cast<const char*>(data);
    std::uint32_t limitMs = timeouts_.writeTotalConstant ? timeouts_.writeTotalConstant : kWriteTotalConstantMs;
    const auto deadline = Clock::now() + std::chrono::milliseconds(limitMs);
    std::size_t done = 0;
    while (done < size) {
      ssize_t n = ::write(fd_, bytes + done, size - done);
      if (n > 0) {
        done += static_cast<std::size_t>(n);
        transmitPending_ = true;
        continue;
      }
      if (n < 0 && errno != EAGAIN && errno != EINTR) return raiseError("Error en la transmisión", errno);
      int left = msUntil(deadline);
      if (left == 0) return raiseError("Error en la transmisión", ETIMEDOUT);
      pollfd p{fd_, POLLOUT, 0};
      ::poll(&p, 1, left);
      if (p.revents & (POLLERR | POLLHUP | POLLNVAL)) return raiseError("Error en la transmisión", EIO);
    }
  }

  std::uint32_t baud() const override { return baud_; }
  std::uint32_t readCalls() const override { return readCalls_; }
  std::uintptr_t handle() const override { return static_cast<std::uintptr_t>(fd_); }

  bool setEventMask() override {
    if (fd_ < 0) return false;
    if (wake_[0] < 0 && ::pipe2(wake_, O_CLOEXEC | O_NONBLOCK) != 0) {
      wake_[0] = wake_[1] = -1;
      return false;
    }
    return true;
  }

  unsigned waitEvents(int timeoutMs) override {
    if (fd_ < 0 || wake_[0] < 0) return kPortEventLineError;
    const auto deadline = Clock::now() + std::chrono::milliseconds(timeoutMs < 0 ? 0 : timeoutMs);
    for (;;) {
      int waitMs = timeoutMs < 0 ? -1 : msUntil(deadline);
      // The output queue has no poll event of its own: while a write drains, look every few ms.
      if (transmitPending_) waitMs = waitMs < 0 ? kTransmitPollMs : std::min(waitMs, kTransmitPollMs);
      pollfd p[2] = {{fd_, POLLIN, 0}, {wake_[0], POLLIN, 0}};
      int ready = ::poll(p, 2, waitMs);
      if (ready < 0 && errno != EINTR) return kPortEventLineError;
      if (p[1].revents & POLLIN) {
        char drain[64];
        while (::read(wake_[0], drain, sizeof drain) > 0) {
        }
        return kPortEventNone;
      }
      unsigned events = kPortEventNone;
      // A hung-up pty or unplugged adapter also reports POLLIN (the read would fail): the
      // hang-up wins, and the owner still drains whatever bytes made it.
      if (p[0].revents & (POLLHUP | POLLERR | POLLNVAL)) events |= kPortEventLineError;
      else if (p[0].revents & POLLIN) events |= kPortEventCharReceived;
      if (transmitPending_ && !mailslot_) {
        int queued = 0;
        if (::ioctl(fd_, TIOCOUTQ, &queued) != 0 || queued == 0) {
          transmitPending_ = false;
          events |= kPortEventTransmitEmpty;
        }
      }
      if (events != kPortEventNone) return events;
      if (timeoutMs >= 0 && Clock::now() >= deadline) return kPortEventNone;
    }
  }

  void stopWaiting() override {
    if (wake_[1] >= 0) {
      char one = 1;
      [[maybe_unused]] ssize_t n = ::write(wake_[1], &one, 1);
    }
  }

  void clearRts() override {
    if (fd_ < 0 || mailslot_) return;
    int rts = TIOCM_RTS;
    ::ioctl(fd_, TIOCMBIC, &rts);  // a pty has no modem lines: nothing to lower there
  }

 private:
  static constexpr int kTransmitPollMs = 5;

  // One ReadFile: waits for the first byte until the deadline, then takes bytes while they come
  // closer together than the read interval. -1 with `error` set when the line failed or hung up.
  int readChunk(char* out, int count, Clock::time_point deadline, int& error) {
    int got = 0;
    while (got < count) {
      int waitMs = msUntil(deadline);
      if (got > 0 && timeouts_.readInterval > 0)
        waitMs = std::min(waitMs, static_cast<int>(timeouts_.readInterval));
      pollfd p{fd_, POLLIN, 0};
      int ready = ::poll(&p, 1, waitMs);
      if (ready < 0) {
        if (errno == EINTR) continue;
        error = errno;
        return got > 0 ? got : -1;
      }
      if (ready == 0) break;
      if (!(p.revents & POLLIN)) {  // hang-up without data: the far end went away
        error = EIO;
        return got > 0 ? got : -1;
      }
      ssize_t n = ::read(fd_, out + got, static_cast<std::size_t>(count - got));
      if (n > 0) {
        got += static_cast<int>(n);
      } else if (n == 0 || (errno != EAGAIN && errno != EINTR)) {
        error = n == 0 ? EIO : errno;
        return got > 0 ? got : -1;
      }
    }
    return got;
  }

  // One mailslot ReadFile: one whole message or nothing. A message larger than the room left
  // stays queued for the next call, as Windows keeps it.
  int readMessage(char* out, int room, Clock::time_point deadline) {
    for (;;) {
      pollfd p{fd_, POLLIN, 0};
      int waitMs = std::min(kMailslotReadTimeoutMs, msUntil(deadline));
      if (::poll(&p, 1, waitMs) <= 0) return -1;
      ssize_t size = ::recv(fd_, nullptr, 0, MSG_PEEK | MSG_TRUNC);
      if (size < 0) return -1;
      if (static_cast<std::size_t>(size) > kMailslotMessageMax) {
        char discard;
        ::recv(fd_, &discard, 1, 0);
        continue;
      }
      if (size > room) return -1;
      ssize_t n = ::recv(fd_, out, static_cast<std::size_t>(size), 0);
      return n < 0 ? -1 : static_cast<int>(n);
    }
  }

  bool openMailslot(bool raise) {
    std::string path = mailslotName();
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.size() >= sizeof address.sun_path) return fail(raise, "CreateMailslot", ENAMETOOLONG, path);
    std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
    int fd = ::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (fd < 0) return fail(raise, "CreateMailslot", errno, path);
    auto* generic = reinterpret_cast<const sockaddr*>(&address);
    int bound = ::bind(fd, generic, sizeof address);
    if (bound != 0 && errno == EADDRINUSE) {
      // A socket left by a program that died is taken over; a live listener keeps its mailslot,
      // as a second CreateMailslot of one name fails on Windows.
      // Anything there that is not a socket is somebody's file and stays.
      struct stat info {};
      bool socketFile = ::lstat(path.c_str(), &info) == 0 && S_ISSOCK(info.st_mode);
      int probe = ::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
      bool alive = !socketFile || (probe >= 0 && ::connect(probe, generic, sizeof address) == 0);
      if (probe >= 0) ::close(probe);
      if (!alive) {
        ::unlink(path.c_str());
        bound = ::bind(fd, generic, sizeof address);
      } else {
        errno = EADDRINUSE;
      }
    }
    if (bound != 0) {
      int error = errno;
      ::close(fd);
      return fail(raise, "CreateMailslot", error, path);
    }
    fd_ = fd;
    path_ = path;
    index_ = kMailslotPortIndex;
    mailslot_ = true;
    return true;
  }

  void requireOpen() const {
    if (fd_ < 0) raiseError("Error, puerto cerrado!", 0);
  }

  bool fail(bool raise, const std::string& operation, int error, const std::string& detail = {}) const {
    if (raise) raiseError(operation, error, detail);
    return false;
  }

  // "<operation> lasterror= <errno>". While another error is already on its way out, a second
  // one is dropped so the first reaches the user.
  static void raiseError(const std::string& operation, int error, const std::string& detail = {}) {
    if (std::uncaught_exceptions() > 0) return;
    std::string text = operation;
    if (error != 0) text += " lasterror= " + std::to_string(error);
    std::string why = error != 0 ? std::strerror(error) : std::string();
    if (!detail.empty()) why = why.empty() ? detail : detail + ": " + why;
    throw TErrorPr(text, why);
  }

  std::uint32_t inputBufferSize_;
  std::uint32_t charTimeoutMs_;
  int fd_ = -1;
  int index_ = -1;
  bool mailslot_ = false;
  std::string path_;
  std::uint32_t baud_ = 0;
  PortTimeouts timeouts_{};
  std::uint32_t readCalls_ = 0;
  int wake_[2] = {-1, -1};  // the watch thread's wake-up pipe
  std::atomic<bool> transmitPending_{false};
};

}  // namespace

std::unique_ptr<TPuertoCom> createPuertoCom(std::uint32_t inputBufferSize, std::uint32_t charTimeoutMs) {
  return std::make_unique<TPuertoComPosix>(inputBufferSize, charTimeoutMs);
}

std::string mailslotName() {
  // The user's runtime folder; without a session manager, the temporary folder.
  const char* folder = std::getenv("XDG_RUNTIME_DIR");
  if (!folder || !*folder) folder = std::getenv("TMPDIR");
  if (!folder || !*folder) folder = "/tmp";
  std::string path = folder;
  if (path.back() != '/') path += '/';
  return path + kMailslotBaseName;
}

void sendToMailslot(std::string_view message) {
  auto raise = [](int error, const std::string& detail) {
    throw TErrorPr("Error en la transmisión lasterror= " + std::to_string(error),
                   detail + ": " + std::strerror(error));
  };
  std::string path = mailslotName();
  if (message.size() > kMailslotMessageMax) raise(EMSGSIZE, path);
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  if (path.size() >= sizeof address.sun_path) raise(ENAMETOOLONG, path);
  std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
  int fd = ::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  if (fd < 0) raise(errno, path);
  ssize_t sent = ::sendto(fd, message.data(), message.size(), 0,
                          reinterpret_cast<const sockaddr*>(&address), sizeof address);
  int error = errno;
  ::close(fd);
  if (sent < 0) raise(error, path);
}

}  // namespace pixtrail

#endif  // _WIN32
