#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>

namespace orvel {

/// A thread that runs work one piece at a time, in the order of posting.
class SerialQueue {
 public:
  /// Throws std::system_error when the system has no thread left.
  SerialQueue();
  /// Waits until all posted work has run. Not on the queue's own thread.
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
