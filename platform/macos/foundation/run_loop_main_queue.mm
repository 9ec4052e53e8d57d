#import "platform/macos/foundation/run_loop_main_queue.h"

#include <algorithm>
#include <deque>
#include <mutex>
#include <utility>

namespace orvel {

class RunLoopMainQueue::Tasks {
 public:
  Tasks() {
    CFRunLoopSourceContext context{};
    context.info = this;
    context.perform = [](void *tasks) { static_cast<Tasks *>(tasks)->runNext(); };
    source_ = CFRunLoopSourceCreate(kCFAllocatorDefault, 0, &context);
    CFRunLoopAddSource(CFRunLoopGetMain(), source_, kCFRunLoopCommonModes);
  }
  ~Tasks() {
    CFRunLoopSourceInvalidate(source_);
    CFRelease(source_);
  }
  Tasks(const Tasks &) = delete;
  Tasks &operator=(const Tasks &) = delete;

  void add(std::function<void()> work) {
    const std::lock_guard lock(mutex_);
    waiting_.push_back(std::move(work));
    wake();
  }

 private:
  void wake() {
    CFRunLoopSourceSignal(source_);
    CFRunLoopWakeUp(CFRunLoopGetMain());
  }

  void runNext() {
    std::function<void()> work;
    {
      const std::lock_guard lock(mutex_);
      if (waiting_.empty()) return;
      work = std::move(waiting_.front());
      waiting_.pop_front();
      // Before the work runs: it may open a loop of its own.
      if (!waiting_.empty()) wake();
    }
    @autoreleasepool {
      work();
    }
  }

  CFRunLoopSourceRef source_ = nullptr;
  std::mutex mutex_;
  std::deque<std::function<void()>> waiting_;
};

RunLoopMainQueue::RunLoopMainQueue() : tasks_(std::make_shared<Tasks>()) {}

RunLoopMainQueue::~RunLoopMainQueue() = default;

void RunLoopMainQueue::post(std::function<void()> work) { tasks_->add(std::move(work)); }

void RunLoopMainQueue::after(std::chrono::milliseconds delay, std::function<void()> work) {
  addTimer(delay, std::chrono::milliseconds(0), std::move(work));
}

void RunLoopMainQueue::every(std::chrono::milliseconds interval, std::function<void()> work) {
  const auto step = std::max(interval, std::chrono::milliseconds(1));
  addTimer(step, step, std::move(work));
}

void RunLoopMainQueue::addTimer(std::chrono::milliseconds delay, std::chrono::milliseconds interval,
                                std::function<void()> work) {
  using Seconds = std::chrono::duration<CFTimeInterval>;
  const std::weak_ptr<Tasks> tasks = tasks_;
  // The work does not run inside the timer, which could not fire again before
  // it has returned.
  CFRunLoopTimerRef timer = CFRunLoopTimerCreateWithHandler(
      kCFAllocatorDefault, CFAbsoluteTimeGetCurrent() + Seconds(delay).count(),
      Seconds(interval).count(), 0, 0, ^(CFRunLoopTimerRef) {
        if (const auto queue = tasks.lock()) queue->add(work);
      });
  CFRunLoopAddTimer(CFRunLoopGetMain(), timer, kCFRunLoopCommonModes);
  CFRelease(timer);
}

}  // namespace orvel
