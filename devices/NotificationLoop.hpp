#pragma once
// How a port's watch thread reaches the port's owner. On Windows the owner is a window and the
// notification is the WM_COMMNOTIFY message; elsewhere (and in the command-line program on every
// system) it is queued on a NotificationLoop that the owner's thread runs.

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <mutex>
#include <optional>
#include <string>

namespace pixtrail {

inline constexpr unsigned kWmCommNotify = 0x0044;  // WM_COMMNOTIFY
inline constexpr unsigned kCnEvent = 4;            // CN_EVENT: an event of the mask happened

struct CommNotification {
  enum class Kind {
    data,         // bytes wait on the port (CN_EVENT)
    lineError,    // the line failed or was unplugged; the watch thread has ended
    threadError,  // the watch thread could not start waiting; `text` and `title` for the user
  };
  std::uintptr_t port = 0;  // the port's handle
  Kind kind = Kind::data;
  std::string text;
  std::string title;
};

class NotificationSink {
 public:
  virtual ~NotificationSink() = default;
  // Called from the watch thread; must not block.
  virtual void post(const CommNotification& notification) = 0;
};

// A queue the owner's thread drains: wait() returns the next notification in arrival order.
class NotificationLoop final : public NotificationSink {
 public:
  void post(const CommNotification& notification) override;
  // The next notification, or nothing when `timeoutMs` passes or quit() is called first.
  std::optional<CommNotification> wait(int timeoutMs);
  // Wakes a waiting owner (from a signal-watching thread, say); wait() then returns nothing once.
  void quit();

 private:
  std::mutex mutex_;
  std::condition_variable arrived_;
  std::deque<CommNotification> queue_;
  bool quit_ = false;
};

#ifdef _WIN32
// Posts WM_COMMNOTIFY (port handle, CN_EVENT) to a window; a thread error is shown in a message
// box titled as the notification says, a line error is posted with CN_EVENT too, so the window's
// next read finds it.
class WindowNotificationSink final : public NotificationSink {
 public:
  explicit WindowNotificationSink(void* window) : window_(window) {}
  void post(const CommNotification& notification) override;

 private:
  void* window_;  // HWND
};
#endif

}  // namespace pixtrail
