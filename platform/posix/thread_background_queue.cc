#include "platform/posix/thread_background_queue.h"

#include <condition_variable>
#include <deque>
#include <mutex>
#include <system_error>
#include <utility>

namespace orvel {

struct ThreadBackgroundQueue::State {
  std::mutex mutex;
  std::condition_variable changed;
  /// The number of posted work items that have not ended.
  int pending = 0;
  /// The work items that wait for the reserve thread.
  std::deque<std::function<void()>> waiting;
  bool isEnding = false;

  void run(std::function<void()> work) {
    work();
    // Releases the captures before the work counts as ended.
    work = nullptr;
    const std::lock_guard lock(mutex);
    --pending;
    changed.notify_all();
  }

  void runWaiting() {
    for (;;) {
      std::unique_lock lock(mutex);
      changed.wait(lock, [this] { return isEnding || !waiting.empty(); });
      if (waiting.empty()) return;
      auto work = std::move(waiting.front());
      waiting.pop_front();
      lock.unlock();
      run(std::move(work));
    }
  }
};

ThreadBackgroundQueue::ThreadBackgroundQueue()
    : state_(std::make_shared<State>()), reserve_([state = state_] { state->runWaiting(); }) {}

ThreadBackgroundQueue::~ThreadBackgroundQueue() {
  {
    std::unique_lock lock(state_->mutex);
    state_->changed.wait(lock, [this] { return state_->pending == 0; });
    state_->isEnding = true;
    state_->changed.notify_all();
  }
  reserve_.join();
}

void ThreadBackgroundQueue::post(std::function<void()> work) {
  {
    const std::lock_guard lock(state_->mutex);
    ++state_->pending;
  }
  // When std::thread throws, everything that was moved into its lambda is lost. The lambda
  // therefore shares the work with this function.
  const auto held = std::make_shared<std::function<void()>>(std::move(work));
  try {
    std::thread([state = state_, held] { state->run(std::move(*held)); }).detach();
  } catch (const std::system_error &) {
    const std::lock_guard lock(state_->mutex);
    state_->waiting.push_back(std::move(*held));
    state_->changed.notify_all();
  }
}

}  // namespace orvel
