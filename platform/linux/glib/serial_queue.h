#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>

namespace orvel {

/// A queue with one thread that runs work items one at a time, in the order of posting.
class SerialQueue {
 public:
  /// Throws std::system_error when the thread cannot be created.
  SerialQueue();
  /// Waits until all posted work has run. Must not run on the queue's own thread.
  ~SerialQueue();
  SerialQueue(const SerialQueue &) = delete;
  SerialQueue &operator=(const SerialQueue &) = delete;

  /// Appends work and returns at once. Any thread.
  void post(std::function<void()> work);

 private:
  void run();

  std::mutex mutex_;
  std::condition_variable changed_;
  std::deque<std::function<void()>> waiting_;
  bool stopping_ = false;
  std::thread thread_;
};

}  // namespace orvel
