#pragma once

#include <memory>
#include <thread>

#include "platform/background_queue.h"

namespace orvel {

/// A queue that runs each work item on a new thread. When no thread can be created, the
/// item runs on a reserve thread, one item at a time.
class ThreadBackgroundQueue final : public BackgroundQueue {
 public:
  /// Throws std::system_error when the reserve thread cannot be created.
  ThreadBackgroundQueue();
  /// Waits until all work has ended.
  ~ThreadBackgroundQueue() override;
  ThreadBackgroundQueue(const ThreadBackgroundQueue &) = delete;
  ThreadBackgroundQueue &operator=(const ThreadBackgroundQueue &) = delete;

  void post(std::function<void()> work) override;

 private:
  struct State;

  // Shared, because a detached thread may use it briefly after the queue is destroyed.
  const std::shared_ptr<State> state_;
  std::thread reserve_;
};

}  // namespace orvel
