#pragma once

#include <chrono>
#include <functional>

namespace orvel {

/// The serial queue of the main thread. It also runs while a modal panel is open and
/// while a termination is deferred.
class MainQueue {
 public:
  virtual ~MainQueue() = default;

  /// Runs the work on the main thread in the order of posting, never inside this call.
  /// Any thread.
  virtual void post(std::function<void()> work) = 0;
  /// Runs the work once on the main thread, after the delay or later. Any thread.
  virtual void after(std::chrono::milliseconds delay, std::function<void()> work) = 0;
  /// Runs the work on the main thread after every interval until the process ends. The
  /// first run is one interval from now. Any thread.
  virtual void every(std::chrono::milliseconds interval, std::function<void()> work) = 0;
};

}  // namespace orvel
