#pragma once

#include <chrono>

namespace orvel {

/// The wall clock, and sleeping. Any thread.
class Clock {
 public:
  virtual ~Clock() = default;

  virtual std::chrono::system_clock::time_point now() const = 0;
  /// Blocks the calling thread.
  virtual void sleep(std::chrono::milliseconds duration) = 0;
};

}  // namespace orvel
