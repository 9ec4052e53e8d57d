#pragma once

#include <memory>

#include "platform/background_queue.h"

namespace orvel {

/// A thread for each piece of work. When the system has none left the work is
/// done inside post, on the thread that asks for it.
class ThreadBackgroundQueue final : public BackgroundQueue {
 public:
  ThreadBackgroundQueue();
  /// Waits until all work has ended.
  ~ThreadBackgroundQueue() override;
  ThreadBackgroundQueue(const ThreadBackgroundQueue &) = delete;
  ThreadBackgroundQueue &operator=(const ThreadBackgroundQueue &) = delete;

  void post(std::function<void()> work) override;

 private:
  struct Running;

  // Outlives the queue by the last moments of a thread.
  const std::shared_ptr<Running> running_;
};

}  // namespace orvel
