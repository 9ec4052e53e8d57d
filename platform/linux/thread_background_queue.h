#pragma once

#include <memory>
#include <thread>

#include "platform/background_queue.h"

namespace orvel {

/// A thread for each piece of work. Work for which the system has no thread
/// left runs on a reserve thread, one piece after the other.
class ThreadBackgroundQueue final : public BackgroundQueue {
 public:
  /// Throws std::system_error when there is no reserve thread to be had.
  ThreadBackgroundQueue();
  /// Waits until all work has ended.
  ~ThreadBackgroundQueue() override;
  ThreadBackgroundQueue(const ThreadBackgroundQueue &) = delete;
  ThreadBackgroundQueue &operator=(const ThreadBackgroundQueue &) = delete;

  void post(std::function<void()> work) override;

 private:
  struct State;

  // A detached thread still uses it for a moment after the queue has gone.
  const std::shared_ptr<State> state_;
  std::thread reserve_;
};

}  // namespace orvel
