#include "devices/TThreadVRK.hpp"

namespace pixtrail {

TThreadVRK::~TThreadVRK() {
  // A derived class stops its body in its own destructor; this only reaps the thread.
  if (thread_.joinable()) thread_.join();
}

void TThreadVRK::start() {
  if (thread_.joinable()) return;
  terminated_ = false;
  running_ = true;
  thread_ = std::thread([this] {
    execute();
    running_ = false;
  });
}

void TThreadVRK::waitFor() {
  if (thread_.joinable() && thread_.get_id() != std::this_thread::get_id()) thread_.join();
}

void ConsumerEvent::set() {
  {
    std::lock_guard lock(mutex_);
    set_ = true;
  }
  changed_.notify_all();
}

bool ConsumerEvent::waitAndReset() {
  std::unique_lock lock(mutex_);
  changed_.wait(lock, [this] { return set_ || interrupted_; });
  if (interrupted_) return false;
  set_ = false;
  return true;
}

void ConsumerEvent::interrupt() {
  {
    std::lock_guard lock(mutex_);
    interrupted_ = true;
  }
  changed_.notify_all();
}

void PortWatchThread::terminate() {
  TThreadVRK::terminate();
  consumerReady_.interrupt();
  port_.stopWaiting();
}

void PortWatchThread::stop() {
  terminate();
  waitFor();
}

void PortWatchThread::execute() {
  const std::uintptr_t handle = port_.handle();
  if (!port_.setEventMask()) {
    owner_.post({handle, CommNotification::Kind::threadError, "Failed to create event for thread!",
                 "TTY Error!"});
    return;
  }
  while (!terminated()) {
    const unsigned events = port_.waitEvents(-1);
    if (terminated()) break;
    if (events & kPortEventTransmitEmpty) port_.clearRts();
    if (events & kPortEventLineError) {
      owner_.post({handle, CommNotification::Kind::lineError, "Error en la recepcion", ""});
      break;
    }
    if (events & kPortEventCharReceived) {
      if (!consumerReady_.waitAndReset()) break;
      // The owner may have read these very bytes with the previous notification's.
      if (!(port_.waitEvents(0) & kPortEventCharReceived)) {
        consumerReady_.set();
        continue;
      }
      dataWaiting_ = true;
      owner_.post({handle, CommNotification::Kind::data, "", ""});
    }
  }
}

}  // namespace pixtrail
