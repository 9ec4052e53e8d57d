#pragma once

#include <glib.h>

#include <cstdint>
#include <map>
#include <mutex>
#include <utility>

#include "platform/main_queue.h"

namespace orvel {

/// Work for the thread that runs a GLib main context, in the order of its due
/// time and, at one time, of its posting. Nested loops run it as well, also
/// those that the work itself opens. Made, used and destroyed while the context
/// exists; what has not run by its destruction never does.
class GlibMainQueue final : public MainQueue {
 public:
  /// Null stands for the default main context.
  explicit GlibMainQueue(GMainContext *context = nullptr);
  /// On the thread of the context.
  ~GlibMainQueue() override;
  GlibMainQueue(const GlibMainQueue &) = delete;
  GlibMainQueue &operator=(const GlibMainQueue &) = delete;

  void post(std::function<void()> work) override;
  void after(std::chrono::milliseconds delay, std::function<void()> work) override;
  void every(std::chrono::milliseconds interval, std::function<void()> work) override;

 private:
  /// Due time on the monotonic clock in microseconds, place in the order.
  using Key = std::pair<std::int64_t, std::uint64_t>;
  struct Task {
    std::function<void()> work;
    /// In microseconds; 0 for a task that runs once.
    std::int64_t interval = 0;
  };
  struct Source;

  void add(std::int64_t delay, Task task);
  void insert(std::int64_t due, Task task);
  void wakeForFirst();
  /// Runs the first task that is due.
  void runNext();

  std::mutex mutex_;
  std::map<Key, Task> tasks_;
  std::uint64_t added_ = 0;
  GSource *const source_;
};

}  // namespace orvel
