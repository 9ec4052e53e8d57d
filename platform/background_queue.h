#pragma once

#include <functional>

namespace orvel {

/// A concurrent queue for work outside the main thread.
class BackgroundQueue {
 public:
  virtual ~BackgroundQueue() = default;

  /// Runs the work on a thread that is never the main thread, concurrently with other
  /// work. The work may block. Any thread.
  virtual void post(std::function<void()> work) = 0;
};

}  // namespace orvel
