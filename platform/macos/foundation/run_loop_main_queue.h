#pragma once

#include <CoreFoundation/CoreFoundation.h>

#include <memory>

#include "platform/main_queue.h"

namespace orvel {

/// Work for the main run loop in its common modes, which are those of panels
/// and of a deferred termination too, one piece of work at a time in the order
/// of posting. Not the main dispatch queue: that one stands still for as long as
/// work of its own has a panel open or waits for the termination that it asked
/// for, and the reply that ends the wait comes the same way.
class RunLoopMainQueue final : public MainQueue {
 public:
  RunLoopMainQueue();
  /// What has not run by then never does.
  ~RunLoopMainQueue() override;
  RunLoopMainQueue(const RunLoopMainQueue &) = delete;
  RunLoopMainQueue &operator=(const RunLoopMainQueue &) = delete;

  void post(std::function<void()> work) override;
  void after(std::chrono::milliseconds delay, std::function<void()> work) override;
  void every(std::chrono::milliseconds interval, std::function<void()> work) override;

 private:
  class Tasks;

  void addTimer(std::chrono::milliseconds delay, std::chrono::milliseconds interval,
                std::function<void()> work);

  /// Shared with the timers, which may outlive the queue.
  const std::shared_ptr<Tasks> tasks_;
};

}  // namespace orvel
