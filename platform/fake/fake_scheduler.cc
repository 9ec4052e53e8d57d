#include "platform/fake/fake_scheduler.h"

#include <algorithm>
#include <stdexcept>
#include <string>

namespace orvel {

void FakeScheduler::recordOnMainThread(const std::string &call) {
  if (!onMainThread()) throw std::logic_error("outside the main thread: " + call);
  record_.add(call);
}

void FakeScheduler::schedule(Thread thread, Duration delay, std::function<void()> work) {
  tasks_.emplace(Key{now_ + delay, posted_++}, Task{thread, std::move(work)});
}

bool FakeScheduler::runNext(Duration latest, bool mainMayRun) {
  for (auto task = tasks_.begin(); task != tasks_.end() && task->first.first <= latest; ++task) {
    if (task->second.thread == Thread::main && !mainMayRun) continue;
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

void FakeScheduler::advance(Duration duration) {
  const Duration target = now_ + duration;
  while (runNext(target, true)) {
  }
  now_ = std::max(now_, target);
}

bool FakeScheduler::runUntil(const std::function<bool()> &condition, Duration limit) {
  const Duration target = now_ + limit;
  while (!condition()) {
    if (!runNext(target, true)) return false;
  }
  return true;
}

std::optional<FakeScheduler::Duration> FakeScheduler::nextDue() const {
  if (tasks_.empty()) return std::nullopt;
  return std::max(Duration(0), tasks_.begin()->first.first - now_);
}

void FakeScheduler::block(std::optional<Duration> limit, const std::function<bool()> &condition) {
  const Duration target = limit ? now_ + *limit : Duration::max();
  const bool mainMayRun = !onMainThread();
  while (!condition()) {
    if (runNext(target, mainMayRun)) continue;
    if (!limit) throw std::logic_error("deadlock: no task can end the wait");
    now_ = std::max(now_, target);
    return;
  }
}

void FakeMainQueue::post(std::function<void()> work) {
  scheduler_.schedule(FakeScheduler::Thread::main, FakeScheduler::Duration(0), std::move(work));
}

void FakeMainQueue::after(std::chrono::milliseconds delay, std::function<void()> work) {
  scheduler_.record().add("after " + std::to_string(delay.count()) + " ms");
  scheduler_.schedule(FakeScheduler::Thread::main, delay, std::move(work));
}

void FakeMainQueue::every(std::chrono::milliseconds interval, std::function<void()> work) {
  scheduler_.record().add("every " + std::to_string(interval.count()) + " ms");
  repeat(interval, work);
}

void FakeMainQueue::repeat(std::chrono::milliseconds interval, const std::function<void()> &work) {
  scheduler_.schedule(FakeScheduler::Thread::main, interval, [this, interval, work] {
    repeat(interval, work);
    work();
  });
}

void FakeClock::sleep(std::chrono::milliseconds duration) {
  scheduler_.record().add("sleep " + std::to_string(duration.count()) + " ms");
  scheduler_.block(duration, [] { return false; });
}

}  // namespace orvel
