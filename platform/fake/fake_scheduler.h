#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string_view>
#include <utility>

#include "platform/background_queue.h"
#include "platform/clock.h"
#include "platform/fake/record.h"
#include "platform/main_queue.h"

namespace orvel {

/// Virtual time and the work that waits for it: the main queue, the other
/// threads and the world outside, all run one after another on the test's own
/// thread, in the order of their due times and, at one time, of their posting.
class FakeScheduler {
 public:
  using Duration = std::chrono::milliseconds;
  enum class Thread { main, background };

  explicit FakeScheduler(Record &record) : record_(record) {}

  /// Time since the start.
  Duration now() const { return now_; }
  /// Which thread the running code stands for.
  bool onMainThread() const { return thread_ == Thread::main; }
  /// Throws std::logic_error when the running code stands for another thread.
  void requireMainThread(std::string_view operation) const;

  void schedule(Thread thread, Duration delay, std::function<void()> work);

  /// Runs what becomes due in the duration, and ends that much later.
  void advance(Duration duration);
  /// Runs what is due now, and what that brings about now.
  void runUntilIdle();
  /// Runs tasks, moving time as needed, until the condition holds. False when
  /// the limit passes or nothing is left.
  bool runUntil(const std::function<bool()> &condition, Duration limit);
  /// How long until the next task is due; nothing when none waits.
  std::optional<Duration> nextDue() const;

  /// Blocks the running thread: time passes and the other threads go on, the
  /// main queue only when it is not the one that is blocked. Without a limit
  /// throws std::logic_error when nothing can ever make the condition true.
  void block(std::optional<Duration> limit, const std::function<bool()> &condition);

  Record &record() { return record_; }

 private:
  using Key = std::pair<Duration, std::uint64_t>;
  struct Task {
    Thread thread;
    std::function<void()> work;
  };

  /// Runs the first task due by the time that may run now.
  bool runNext(Duration latest, bool mainMayRun);

  Record &record_;
  Duration now_{0};
  Thread thread_ = Thread::main;
  std::uint64_t posted_ = 0;
  std::map<Key, Task> tasks_;
};

class FakeMainQueue final : public MainQueue {
 public:
  explicit FakeMainQueue(FakeScheduler &scheduler) : scheduler_(scheduler) {}

  void post(std::function<void()> work) override;
  void after(std::chrono::milliseconds delay, std::function<void()> work) override;
  void every(std::chrono::milliseconds interval, std::function<void()> work) override;

 private:
  void repeat(std::chrono::milliseconds interval, const std::function<void()> &work);

  FakeScheduler &scheduler_;
};

class FakeBackgroundQueue final : public BackgroundQueue {
 public:
  explicit FakeBackgroundQueue(FakeScheduler &scheduler) : scheduler_(scheduler) {}

  void post(std::function<void()> work) override;

 private:
  FakeScheduler &scheduler_;
};

/// A clock that starts at a fixed moment and moves with the scheduler.
class FakeClock final : public Clock {
 public:
  explicit FakeClock(FakeScheduler &scheduler) : scheduler_(scheduler) {}

  std::chrono::system_clock::time_point now() const override;
  void sleep(std::chrono::milliseconds duration) override;

  std::chrono::system_clock::time_point start{std::chrono::sys_days{std::chrono::year_month_day{
      std::chrono::year(2026), std::chrono::January, std::chrono::day(1)}}};

 private:
  FakeScheduler &scheduler_;
};

}  // namespace orvel
