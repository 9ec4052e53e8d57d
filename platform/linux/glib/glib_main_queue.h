#pragma once

#include <glib.h>

#include <cstdint>
#include <map>
#include <mutex>
#include <utility>

#include "platform/main_queue.h"

namespace orvel {

/// A queue of work for the thread that runs a GLib main context. Work runs in the order of
/// its due time; work with the same due time runs in the order of posting. Nested main
/// loops run it too, including a loop that the work itself runs. Any thread may post. The
/// context must outlive the queue. Work that is pending at the destruction never runs.
class GlibMainQueue final : public MainQueue {
 public:
  /// Null means the default main context.
  explicit GlibMainQueue(GMainContext *context = nullptr);
  /// Must run on the thread of the context.
  ~GlibMainQueue() override;
  GlibMainQueue(const GlibMainQueue &) = delete;
  GlibMainQueue &operator=(const GlibMainQueue &) = delete;

  void post(std::function<void()> work) override;
  void after(std::chrono::milliseconds delay, std::function<void()> work) override;
  void every(std::chrono::milliseconds interval, std::function<void()> work) override;

 private:
  /// Due time on the monotonic clock in microseconds, and sequence number.
  using Key = std::pair<std::int64_t, std::uint64_t>;
  struct Task {
    std::function<void()> work;
    /// In microseconds; 0 for a task that runs once.
    std::int64_t interval = 0;
  };
  struct Source;

  void add(std::int64_t delay, Task task);
  void insert(std::int64_t due, Task task);
  void updateReadyTime();
  /// Runs the first task if it is due.
  void runNext();

  std::mutex mutex_;
  std::map<Key, Task> tasks_;
  std::uint64_t lastSequence_ = 0;
  GSource *const source_;
};

}  // namespace orvel
