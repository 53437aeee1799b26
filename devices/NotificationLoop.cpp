#include "devices/NotificationLoop.hpp"

#include <chrono>

#ifdef _WIN32
#include <windows.h>
#endif

namespace pixtrail {

void NotificationLoop::post(const CommNotification& notification) {
  {
    std::lock_guard lock(mutex_);
    queue_.push_back(notification);
  }
  arrived_.notify_one();
}

std::optional<CommNotification> NotificationLoop::wait(int timeoutMs) {
  std::unique_lock lock(mutex_);
  const auto ready = [this] { return !queue_.empty() || quit_; };
  if (timeoutMs < 0) arrived_.wait(lock, ready);
  else arrived_.wait_for(lock, std::chrono::milliseconds(timeoutMs), ready);
  if (quit_) {
    quit_ = false;
    return std::nullopt;
  }
  if (queue_.empty()) return std::nullopt;
  CommNotification next = std::move(queue_.front());
  queue_.pop_front();
  return next;
}

void NotificationLoop::quit() {
  {
    std::lock_guard lock(mutex_);
    quit_ = true;
  }
  arrived_.notify_all();
}

#ifdef _WIN32
void WindowNotificationSink::post(const CommNotification& notification) {
  if (notification.kind == CommNotification::Kind::threadError) {
    ::MessageBoxA(nullptr, notification.text.c_str(), notification.title.c_str(), MB_OK | MB_ICONERROR);
    return;
  }
  ::PostMessageA(static_cast<HWND>(window_), kWmCommNotify, static_cast<WPARAM>(notification.port),
                 MAKELPARAM(kCnEvent, 0));
}
#endif

}  // namespace pixtrail
