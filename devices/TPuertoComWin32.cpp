// TPuertoCom on Windows: the Win32 communications API on "\\.\COMn", and a mailslot.
//
// The port is opened for overlapped I/O so that the watch thread's WaitCommEvent and the owner's
// ReadFile/WriteFile can be pending at the same time; each read and write waits for its own
// completion (GetOverlappedResult), so to the callers it behaves as a plain blocking handle.
// One departure from the plain deadline loop: each pass of read() sets the read total constant
// to the time left rather than the whole time-out again, so a short line returns at its deadline
// instead of up to one time-out and a half after it.
#ifdef _WIN32

#include <windows.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <exception>
#include <string>

#include "devices/TPuertoCom.hpp"

namespace pixtrail {
namespace {

using Clock = std::chrono::steady_clock;

constexpr DWORD kOutputBufferSize = 25500;
constexpr DWORD kWriteTotalConstantMs = 1000;
constexpr DWORD kMailslotMessageMaxBytes = 400;
constexpr DWORD kMailslotReadTimeoutMs = 1000;
constexpr const char* kMailslotPath = "\\\\.\\mailslot\\orvexgps_movingmap";

int msUntil(Clock::time_point deadline) {
  auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now()).count();
  return left > 0 ? static_cast<int>(left) : 0;
}

std::string systemText(DWORD error) {
  char text[512] = {};
  DWORD n = ::FormatMessageA(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr, error, 0, text,
                             sizeof text, nullptr);
  while (n > 0 && (text[n - 1] == '\n' || text[n - 1] == '\r' || text[n - 1] == ' ')) text[--n] = 0;
  return text;
}

// "<operation> lasterror= <GetLastError()>". While another error is already on its way out, a
// second one is dropped so the first reaches the user.
void raiseError(const std::string& operation, DWORD error, const std::string& detail = {}) {
  if (std::uncaught_exceptions() > 0) return;
  std::string text = operation;
  if (error != 0) text += " lasterror= " + std::to_string(error);
  std::string why = error != 0 ? systemText(error) : std::string();
  if (!detail.empty()) why = why.empty() ? detail : detail + ": " + why;
  throw TErrorPr(text, why);
}

// An event for one overlapped operation, closed with it.
class Overlapped {
 public:
  Overlapped() { io.hEvent = ::CreateEventA(nullptr, TRUE, FALSE, nullptr); }
  ~Overlapped() {
    if (io.hEvent) ::CloseHandle(io.hEvent);
  }
  Overlapped(const Overlapped&) = delete;
  Overlapped& operator=(const Overlapped&) = delete;
  bool ok() const { return io.hEvent != nullptr; }
  OVERLAPPED io{};
};

class TPuertoComWin32 final : public TPuertoCom {
 public:
  TPuertoComWin32(std::uint32_t inputBufferSize, std::uint32_t charTimeoutMs)
      : inputBufferSize_(inputBufferSize), charTimeoutMs_(charTimeoutMs) {}
  ~TPuertoComWin32() override {
    close();
    if (stopEvent_) ::CloseHandle(stopEvent_);
  }

  bool open(int index, bool raise) override {
    if (handle_ != INVALID_HANDLE_VALUE) return fail(raise, "Ya conectado", 0);
    if (index == kMailslotPortIndex) return openMailslot(raise);
    if (index < 0) return fail(raise, "CreateFile", ERROR_FILE_NOT_FOUND, "no port " + std::to_string(index));
    char name[32];
    std::snprintf(name, sizeof name, "\\\\.\\COM%d", index + 1);
    if (!openPath(name, raise)) return false;
    index_ = index;
    return true;
  }

  bool openPath(const std::string& path, bool raise) override {
    if (handle_ != INVALID_HANDLE_VALUE) return fail(raise, "Ya conectado", 0);
    // "COM12" alone does not open above COM9; the device namespace always does.
    std::string name = path;
    if (name.size() > 3 && _strnicmp(name.c_str(), "COM", 3) == 0) name = "\\\\.\\" + name;
    HANDLE h = ::CreateFileA(name.c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_EXISTING,
                             FILE_ATTRIBUTE_NORMAL | FILE_FLAG_OVERLAPPED, nullptr);
    if (h == INVALID_HANDLE_VALUE) return fail(raise, "CreateFile", ::GetLastError(), path);
    handle_ = h;
    index_ = -1;
    mailslot_ = false;
    return true;
  }

  void close() override {
    if (handle_ == INVALID_HANDLE_VALUE) return;
    ::CloseHandle(handle_);
    handle_ = INVALID_HANDLE_VALUE;
    mailslot_ = false;
  }

  bool isOpen() const override { return handle_ != INVALID_HANDLE_VALUE; }
  bool isMailslot() const override { return mailslot_; }

  void setBuffers() override {
    if (mailslot_) return;
    requireOpen();
    if (!::SetupComm(handle_, inputBufferSize_, kOutputBufferSize)) raiseError("SetupComm", ::GetLastError());
  }

  void setState(std::uint32_t baud) override {
    if (mailslot_) return;
    requireOpen();
    DCB dcb{};
    dcb.DCBlength = sizeof dcb;
    if (!::GetCommState(handle_, &dcb)) return raiseError("GetCommState", ::GetLastError());
    dcb.BaudRate = baud;
    dcb.ByteSize = 8;
    dcb.Parity = NOPARITY;
    dcb.StopBits = ONESTOPBIT;
    dcb.fBinary = TRUE;
    dcb.fParity = FALSE;
    dcb.fOutxCtsFlow = FALSE;
    dcb.fOutxDsrFlow = FALSE;
    dcb.fDtrControl = DTR_CONTROL_DISABLE;
    dcb.fDsrSensitivity = FALSE;
    dcb.fTXContinueOnXoff = TRUE;
    dcb.fOutX = FALSE;
    dcb.fInX = FALSE;
    dcb.fErrorChar = FALSE;
    dcb.fNull = FALSE;
    dcb.fRtsControl = RTS_CONTROL_DISABLE;
    dcb.fAbortOnError = FALSE;
    if (!::SetCommState(handle_, &dcb)) return raiseError("SetCommState", ::GetLastError());
    baud_ = baud;
  }

  void setTimeouts() override {
    if (mailslot_) return;
    requireOpen();
    COMMTIMEOUTS t{};
    if (!::GetCommTimeouts(handle_, &t)) return raiseError("GetCommTimeOuts", ::GetLastError());
    t.ReadIntervalTimeout = charTimeoutMs_;
    t.ReadTotalTimeoutMultiplier = 0;
    t.ReadTotalTimeoutConstant = 0;
    t.WriteTotalTimeoutMultiplier = 0;
    t.WriteTotalTimeoutConstant = kWriteTotalConstantMs;
    if (!::SetCommTimeouts(handle_, &t)) return raiseError("SetCommTimeOuts", ::GetLastError());
    timeouts_ = {t.ReadIntervalTimeout, 0, 0, 0, kWriteTotalConstantMs};
  }

  int read(int timeoutMs, char* buffer, int count, bool raise) override {
    if (handle_ == INVALID_HANDLE_VALUE) {
      if (raise) raiseError("Error, puerto cerrado!", 0);
      if (buffer) buffer[0] = 0;
      return 0;
    }
    if (count < 0) count = static_cast<int>(inputBufferSize_);
    if (timeoutMs < 0) timeoutMs = 0;
    ++readCalls_;
    const auto deadline = Clock::now() + std::chrono::milliseconds(timeoutMs);
    int total = 0;
    while (total < count) {
      DWORD got = 0;
      if (mailslot_) {
        // One whole message per ReadFile, within the mailslot's own time-out; a failure (no
        // message, or one larger than the room left) returns what was read, silently.
        if (!::ReadFile(handle_, buffer + total, static_cast<DWORD>(count - total), &got, nullptr)) break;
      } else {
        COMMTIMEOUTS t{timeouts_.readInterval, 0, static_cast<DWORD>(std::max(msUntil(deadline), 1)), 0,
                       timeouts_.writeTotalConstant ? timeouts_.writeTotalConstant : kWriteTotalConstantMs};
        if (!::SetCommTimeouts(handle_, &t)) {
          if (raise) raiseError("SetCommTimeOuts2", ::GetLastError());
          break;
        }
        timeouts_.readTotalConstant = t.ReadTotalTimeoutConstant;
        Overlapped ov;
        BOOL ok = ov.ok() && ::ReadFile(handle_, buffer + total, static_cast<DWORD>(count - total), &got, &ov.io);
        if (!ok && ov.ok() && ::GetLastError() == ERROR_IO_PENDING) ok = ::GetOverlappedResult(handle_, &ov.io, &got, TRUE);
        if (!ok) {
          DWORD error = ::GetLastError();
          if (raise && total == 0) {
            buffer[0] = 0;
            raiseError("Error en la recepcion", error);
          }
          break;
        }
      }
      total += static_cast<int>(got);
      if (total >= count || Clock::now() >= deadline) break;
      ::Sleep(static_cast<DWORD>(std::min(timeoutMs / 2, msUntil(deadline))));
    }
    buffer[total] = 0;
    return total;
  }

  void purge() override {
    if (mailslot_) return;
    requireOpen();
    static constexpr struct {
      const char* name;
      DWORD flags;
    } kSteps[] = {{"PurgeComm 1", PURGE_TXCLEAR},
                  {"PurgeComm 2", PURGE_RXCLEAR},
                  {"PurgeComm 3", PURGE_TXABORT},
                  {"PurgeComm 4", PURGE_RXABORT}};
    for (const auto& step : kSteps)
      if (!::PurgeComm(handle_, step.flags)) return raiseError(step.name, ::GetLastError());
  }

  void write(const void* data, std::size_t size) override {
    if (handle_ == INVALID_HANDLE_VALUE) return raiseError("Error, puerto cerrado!", 0);
    if (mailslot_) return raiseError("Error en la transmisión", ERROR_INVALID_FUNCTION);
    Overlapped ov;
    DWORD written = 0;
    BOOL ok = ov.ok() && ::WriteFile(handle_, data, static_cast<DWORD>(size), &written, &ov.io);
    if (!ok && ov.ok() && ::GetLastError() == ERROR_IO_PENDING) ok = ::GetOverlappedResult(handle_, &ov.io, &written, TRUE);
    if (!ok) return raiseError("Error en la transmisión", ::GetLastError());
    if (written != size) return raiseError("Error en la transmisión", ERROR_TIMEOUT);
  }

  std::uint32_t baud() const override { return baud_; }
  std::uint32_t readCalls() const override { return readCalls_; }
  std::uintptr_t handle() const override { return reinterpret_cast<std::uintptr_t>(handle_); }

  bool setEventMask() override {
    if (handle_ == INVALID_HANDLE_VALUE || mailslot_) return false;
    if (!stopEvent_) stopEvent_ = ::CreateEventA(nullptr, FALSE, FALSE, nullptr);
    if (!stopEvent_) return false;
    return ::SetCommMask(handle_, EV_RXCHAR | EV_TXEMPTY) != 0;
  }

  unsigned waitEvents(int timeoutMs) override {
    if (handle_ == INVALID_HANDLE_VALUE || !stopEvent_) return kPortEventLineError;
    // EV_RXCHAR announces arrivals only; bytes already queued count as an event too, as poll()
    // has it on the other systems.
    DWORD errors = 0;
    COMSTAT status{};
    if (!::ClearCommError(handle_, &errors, &status)) return kPortEventLineError;
    if (status.cbInQue > 0) return kPortEventCharReceived;
    if (timeoutMs == 0) return kPortEventNone;
    Overlapped ov;
    if (!ov.ok()) return kPortEventLineError;
    DWORD mask = 0, unused = 0;
    if (!::WaitCommEvent(handle_, &mask, &ov.io)) {
      if (::GetLastError() != ERROR_IO_PENDING) return kPortEventLineError;
      HANDLE waits[2] = {ov.io.hEvent, stopEvent_};
      DWORD which = ::WaitForMultipleObjects(2, waits, FALSE, timeoutMs < 0 ? INFINITE : static_cast<DWORD>(timeoutMs));
      if (which != WAIT_OBJECT_0) {
        // Setting the mask again completes the pending wait, which must end before `ov` goes.
        ::SetCommMask(handle_, EV_RXCHAR | EV_TXEMPTY);
        ::GetOverlappedResult(handle_, &ov.io, &unused, TRUE);
        return which == WAIT_OBJECT_0 + 1 || which == WAIT_TIMEOUT ? kPortEventNone : kPortEventLineError;
      }
      if (!::GetOverlappedResult(handle_, &ov.io, &unused, FALSE)) return kPortEventLineError;
    }
    unsigned events = kPortEventNone;
    if (mask & EV_RXCHAR) events |= kPortEventCharReceived;
    if (mask & EV_TXEMPTY) events |= kPortEventTransmitEmpty;
    return events;
  }

  void stopWaiting() override {
    if (stopEvent_) ::SetEvent(stopEvent_);
  }

  void clearRts() override {
    if (handle_ != INVALID_HANDLE_VALUE && !mailslot_) ::EscapeCommFunction(handle_, CLRRTS);
  }

 private:
  bool openMailslot(bool raise) {
    HANDLE h = ::CreateMailslotA(kMailslotPath, kMailslotMessageMaxBytes, kMailslotReadTimeoutMs, nullptr);
    if (h == INVALID_HANDLE_VALUE) return fail(raise, "CreateMailslot", ::GetLastError(), kMailslotPath);
    handle_ = h;
    index_ = kMailslotPortIndex;
    mailslot_ = true;
    return true;
  }

  void requireOpen() const {
    if (handle_ == INVALID_HANDLE_VALUE) raiseError("Error, puerto cerrado!", 0);
  }

  bool fail(bool raise, const std::string& operation, DWORD error, const std::string& detail = {}) const {
    if (raise) raiseError(operation, error, detail);
    return false;
  }

  std::uint32_t inputBufferSize_;
  std::uint32_t charTimeoutMs_;
  HANDLE handle_ = INVALID_HANDLE_VALUE;
  HANDLE stopEvent_ = nullptr;  // wakes the watch thread's wait
  int index_ = -1;
  bool mailslot_ = false;
  std::uint32_t baud_ = 0;
  PortTimeouts timeouts_{};
  std::uint32_t readCalls_ = 0;
};

}  // namespace

std::unique_ptr<TPuertoCom> createPuertoCom(std::uint32_t inputBufferSize, std::uint32_t charTimeoutMs) {
  return std::make_unique<TPuertoComWin32>(inputBufferSize, charTimeoutMs);
}

std::string mailslotName() { return kMailslotPath; }

void sendToMailslot(std::string_view message) {
  auto raise = [](DWORD error) {
    throw TErrorPr("Error en la transmisión lasterror= " + std::to_string(error), systemText(error));
  };
  if (message.size() > kMailslotMessageMax) raise(ERROR_INVALID_PARAMETER);
  HANDLE h = ::CreateFileA(kMailslotPath, GENERIC_WRITE, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                           FILE_ATTRIBUTE_NORMAL, nullptr);
  if (h == INVALID_HANDLE_VALUE) raise(::GetLastError());
  DWORD written = 0;
  BOOL ok = ::WriteFile(h, message.data(), static_cast<DWORD>(message.size()), &written, nullptr);
  DWORD error = ::GetLastError();
  ::CloseHandle(h);
  if (!ok) raise(error);
}

}  // namespace pixtrail

#endif  // _WIN32
