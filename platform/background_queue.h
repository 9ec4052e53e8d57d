#pragma once

#include <functional>

namespace orvel {

/// Work away from the main thread.
class BackgroundQueue {
 public:
  virtual ~BackgroundQueue() = default;

  /// Runs the work on a thread that is never the main thread, beside other
  /// such work; it may block. Any thread.
  virtual void post(std::function<void()> work) = 0;
};

}  // namespace orvel
