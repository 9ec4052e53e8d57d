#include "platform/linux/thread_background_queue.h"

#include <condition_variable>
#include <mutex>
#include <system_error>
#include <thread>
#include <utility>

namespace orvel {

struct ThreadBackgroundQueue::Running {
  std::mutex mutex;
  std::condition_variable changed;
  int count = 0;
};

ThreadBackgroundQueue::ThreadBackgroundQueue() : running_(std::make_shared<Running>()) {}

ThreadBackgroundQueue::~ThreadBackgroundQueue() {
  std::unique_lock lock(running_->mutex);
  running_->changed.wait(lock, [this] { return running_->count == 0; });
}

void ThreadBackgroundQueue::post(std::function<void()> work) {
  {
    const std::lock_guard lock(running_->mutex);
    ++running_->count;
  }
  auto run = [running = running_, work = std::move(work)]() mutable {
    work();
    // What the work holds goes before the end is told.
    work = nullptr;
    const std::lock_guard lock(running->mutex);
    --running->count;
    running->changed.notify_all();
  };
  try {
    std::thread(run).detach();
  } catch (const std::system_error &) {
    // No thread is to be had: late is better than never.
    run();
  }
}

}  // namespace orvel
