#pragma once

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>

#include "platform/background_queue.h"
#include "platform/clock.h"
#include "platform/fake/record.h"
#include "platform/main_queue.h"

namespace orvel {

/// Virtual time and a task queue. Runs the tasks of the main thread and of background threads,
/// and simulated events such as responses and process exits, all on the test's thread, by due
/// time and then in posting order.
class FakeScheduler {
 public:
  using Duration = std::chrono::milliseconds;
  enum class Thread { main, background };

  explicit FakeScheduler(Record &record) : record_(record) {}

  /// Returns the virtual time since the start.
  Duration now() const { return now_; }
  /// Returns whether the running task simulates the main thread. Outside a task, the test does.
  bool onMainThread() const { return thread_ == Thread::main; }
  /// Adds a call to the record. Throws std::logic_error when the running task simulates a
  /// background thread.
  void recordMainThreadCall(const std::string &call) {
    if (!onMainThread()) throw std::logic_error("outside the main thread: " + call);
    record_.add(call);
  }

  void schedule(Thread thread, Duration delay, std::function<void()> work) {
    tasks_.emplace(Key{now_ + delay, posted_++}, Task{thread, std::move(work)});
  }

  /// Advances the time and runs the tasks that become due.
  void advance(Duration duration) {
    const Duration target = now_ + duration;
    while (runNext(target)) {
    }
    now_ = std::max(now_, target);
  }
  /// Runs the tasks that are due now, including those that they post.
  void runUntilIdle() { advance(Duration(0)); }
  /// Runs tasks and advances the time until the condition is true. Returns false when no
  /// task is due within the time limit.
  bool runUntil(const std::function<bool()> &condition, Duration limit) {
    const Duration target = now_ + limit;
    while (!condition()) {
      if (!runNext(target)) return false;
    }
    return true;
  }
  /// Returns the time until the next task is due, or nullopt when there is no task.
  std::optional<Duration> nextDue() const {
    if (tasks_.empty()) return std::nullopt;
    return std::max(Duration(0), tasks_.begin()->first.first - now_);
  }

  /// Simulates that the running thread blocks until the condition is true or the time
  /// limit has passed. Meanwhile runs the tasks of other threads; when the main thread is
  /// blocked, its tasks wait. Without a limit, throws std::logic_error when no task is
  /// left that could make the condition true.
  void block(std::optional<Duration> limit, const std::function<bool()> &condition) {
    const Duration target = limit ? now_ + *limit : Duration::max();
    const bool wasMainBlocked = std::exchange(mainIsBlocked_, mainIsBlocked_ || onMainThread());
    bool timedOut = false;
    while (!timedOut && !condition()) timedOut = !runNext(target);
    mainIsBlocked_ = wasMainBlocked;
    if (!timedOut) return;
    if (!limit) throw std::logic_error("deadlock: no task can end the wait");
    now_ = std::max(now_, target);
  }

  Record &record() { return record_; }

 private:
  /// The time at which a task is due, and its number in posting order. The time may be in the past,
  /// because the tasks of a blocked main thread wait.
  using Key = std::pair<Duration, std::uint64_t>;
  struct Task {
    Thread thread;
    std::function<void()> work;
  };

  /// Runs the first task that is due by `latest`, skipping those of the main thread while it is
  /// blocked. Returns whether there was one.
  bool runNext(Duration latest) {
    for (auto task = tasks_.begin(); task != tasks_.end() && task->first.first <= latest; ++task) {
      if (task->second.thread == Thread::main && mainIsBlocked_) continue;
      const Task taken = std::move(task->second);
      now_ = std::max(now_, task->first.first);
      tasks_.erase(task);
      const Thread interrupted = std::exchange(thread_, taken.thread);
      taken.work();
      thread_ = interrupted;
      return true;
    }
    return false;
  }

  Record &record_;
  Duration now_{0};
  Thread thread_ = Thread::main;
  bool mainIsBlocked_ = false;
  std::uint64_t posted_ = 0;
  std::map<Key, Task> tasks_;
};

/// Base of the fakes that share the scheduler of a fake platform.
class SchedulerUser {
 public:
  explicit SchedulerUser(FakeScheduler &scheduler) : scheduler_(scheduler) {}

 protected:
  FakeScheduler &scheduler_;
};

/// A main queue in virtual time. Records `after` and `every`, but not `post`.
class FakeMainQueue final : public MainQueue, private SchedulerUser {
 public:
  using SchedulerUser::SchedulerUser;

  void post(std::function<void()> work) override {
    scheduler_.schedule(FakeScheduler::Thread::main, FakeScheduler::Duration(0), std::move(work));
  }
  void after(std::chrono::milliseconds delay, std::function<void()> work) override {
    scheduler_.record().add("after " + std::to_string(delay.count()) + " ms");
    scheduler_.schedule(FakeScheduler::Thread::main, delay, std::move(work));
  }
  void every(std::chrono::milliseconds interval, std::function<void()> work) override {
    scheduler_.record().add("every " + std::to_string(interval.count()) + " ms");
    repeat(interval, work);
  }

 private:
  void repeat(std::chrono::milliseconds interval, const std::function<void()> &work) {
    scheduler_.schedule(FakeScheduler::Thread::main, interval, [this, interval, work] {
      repeat(interval, work);
      work();
    });
  }
};

/// A background queue in virtual time. Records nothing.
class FakeBackgroundQueue final : public BackgroundQueue, private SchedulerUser {
 public:
  using SchedulerUser::SchedulerUser;

  void post(std::function<void()> work) override {
    scheduler_.schedule(FakeScheduler::Thread::background, FakeScheduler::Duration(0),
                        std::move(work));
  }
};

/// A clock that starts at a fixed time and follows the scheduler's virtual time.
class FakeClock final : public Clock, private SchedulerUser {
 public:
  using SchedulerUser::SchedulerUser;

  std::chrono::system_clock::time_point now() const override { return start + scheduler_.now(); }
  void sleep(std::chrono::milliseconds duration) override {
    scheduler_.record().add("sleep " + std::to_string(duration.count()) + " ms");
    scheduler_.block(duration, [] { return false; });
  }

  std::chrono::system_clock::time_point start{std::chrono::sys_days{std::chrono::year_month_day{
      std::chrono::year(2026), std::chrono::January, std::chrono::day(1)}}};
};

}  // namespace orvel
