#pragma once

#include <chrono>
#include <functional>

namespace orvel {

/// Work for the main thread. It also runs while a panel is open and while the
/// application waits for its deferred termination.
class MainQueue {
 public:
  virtual ~MainQueue() = default;

  /// Runs the work on the main thread, later and in the order of posting,
  /// never inside this call. Any thread.
  virtual void post(std::function<void()> work) = 0;
  /// Runs the work once on the main thread, no earlier than the delay from
  /// now. Any thread.
  virtual void after(std::chrono::milliseconds delay, std::function<void()> work) = 0;
  /// Runs the work on the main thread at every interval, the first time one
  /// interval from now, until the process ends. Any thread.
  virtual void every(std::chrono::milliseconds interval, std::function<void()> work) = 0;
};

}  // namespace orvel
