#pragma once
// The program's threads. TThreadVRK is the base: a body run once on its own thread, a terminate
// request the body polls, and a join. PortWatchThread is the one kind the receiver links use:
// it only waits for events on one port and posts a notification to the port's owner, who does
// every read and parse on its own thread.

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <thread>

#include "devices/NotificationLoop.hpp"
#include "devices/TPuertoCom.hpp"

namespace pixtrail {

class TThreadVRK {
 public:
  TThreadVRK() = default;
  virtual ~TThreadVRK();
  TThreadVRK(const TThreadVRK&) = delete;
  TThreadVRK& operator=(const TThreadVRK&) = delete;

  void start();
  // Asks the body to finish; it looks at terminated() between waits.
  virtual void terminate() { terminated_ = true; }
  bool terminated() const { return terminated_; }
  // Waits until the body has returned (no-op when it never started).
  void waitFor();
  bool running() const { return running_; }

 protected:
  virtual void execute() = 0;

 private:
  std::thread thread_;
  std::atomic<bool> terminated_{false};
  std::atomic<bool> running_{false};
};

// A manual-reset event between two threads: set() lets one waitAndReset() through.
class ConsumerEvent {
 public:
  void set();
  // Waits until set, then resets it; false when interrupted instead.
  bool waitAndReset();
  void interrupt();

 private:
  std::mutex mutex_;
  std::condition_variable changed_;
  bool set_ = true;  // the consumer starts ready for the first notification
  bool interrupted_ = false;
};

// Watches one open port: on character-received it waits for the consumer's event (so at most one
// notification per port is outstanding), resets it, marks data waiting and posts CN_EVENT; on
// transmit-empty it lowers RTS. A line that fails ends the thread with a line-error notification.
// The owner must stop() the thread before it closes the port.
class PortWatchThread : public TThreadVRK {
 public:
  PortWatchThread(TPuertoCom& port, NotificationSink& owner) : port_(port), owner_(owner) {}
  ~PortWatchThread() override { stop(); }

  // The owner has taken the waiting bytes: the next character may be notified.
  void consumed() {
    dataWaiting_ = false;
    consumerReady_.set();
  }
  bool dataWaiting() const { return dataWaiting_; }
  void terminate() override;
  // terminate() and waitFor().
  void stop();

 protected:
  void execute() override;

 private:
  TPuertoCom& port_;
  NotificationSink& owner_;
  ConsumerEvent consumerReady_;
  std::atomic<bool> dataWaiting_{false};
};

}  // namespace pixtrail
