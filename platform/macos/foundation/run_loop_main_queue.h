#pragma once

#include <memory>

#include "platform/main_queue.h"

namespace orvel {

/// A queue on the main run loop. Its run loop source is in the common modes, which include the
/// modes of modal panels and of a deferred termination. Each pass of the run loop runs one work
/// item, in the order of posting. Any thread.
///
/// The main dispatch queue is unsuitable: it runs nothing while one of its blocks shows a
/// panel or waits for a deferred termination, and the work that replies to that
/// termination is posted to this queue.
class RunLoopMainQueue final : public MainQueue {
 public:
  RunLoopMainQueue();
  /// Drops the work that has not run yet. Main thread.
  ~RunLoopMainQueue() override;
  RunLoopMainQueue(const RunLoopMainQueue &) = delete;
  RunLoopMainQueue &operator=(const RunLoopMainQueue &) = delete;

  void post(std::function<void()> work) override;
  void after(std::chrono::milliseconds delay, std::function<void()> work) override;
  void every(std::chrono::milliseconds interval, std::function<void()> work) override;

 private:
  class WorkSource;

  /// Adds a timer to the main run loop that posts the work. With an interval of 0, the timer
  /// fires once.
  void addTimer(std::chrono::milliseconds delay, std::chrono::milliseconds interval,
                std::function<void()> work);

  /// The timers hold weak pointers to the source, because they may outlive the queue.
  const std::shared_ptr<WorkSource> source_;
};

}  // namespace orvel
