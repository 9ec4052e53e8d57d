#pragma once

#include <glib.h>

#include <compare>
#include <cstdint>
#include <map>
#include <mutex>

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
  /// Must run on the thread of the context, or while no thread runs the context.
  ~GlibMainQueue() override;
  GlibMainQueue(const GlibMainQueue &) = delete;
  GlibMainQueue &operator=(const GlibMainQueue &) = delete;

  void post(std::function<void()> work) override;
  void after(std::chrono::milliseconds delay, std::function<void()> work) override;
  void every(std::chrono::milliseconds interval, std::function<void()> work) override;

 private:
  /// The place of a task in the queue.
  struct Position {
    /// In microseconds on the monotonic clock.
    std::int64_t due = 0;
    /// The order of tasks with the same due time.
    std::uint64_t sequence = 0;

    auto operator<=>(const Position &) const = default;
  };
  struct Task {
    std::function<void()> work;
    /// In microseconds; 0 for a task that runs once.
    std::int64_t interval = 0;
  };
  struct Source;

  /// Adds a task that is due after a delay in microseconds.
  void add(std::int64_t delay, Task task);
  // Both require the mutex.
  void insert(std::int64_t due, Task task);
  void updateReadyTime();

  /// Runs the first task if it is due.
  void runNext();

  std::mutex mutex_;
  std::map<Position, Task> tasks_;
  std::uint64_t lastSequence_ = 0;
  GSource *const source_;
};

}  // namespace orvel
