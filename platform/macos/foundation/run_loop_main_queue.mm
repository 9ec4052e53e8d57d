#import "platform/macos/foundation/run_loop_main_queue.h"

#include <algorithm>
#include <deque>
#include <mutex>
#include <utility>

#include "platform/macos/foundation/cf_pointer.h"

namespace orvel {

/// The work that has been posted, and the run loop source that runs it.
class RunLoopMainQueue::WorkSource {
 public:
  WorkSource() {
    CFRunLoopSourceContext context{};
    context.info = this;
    context.perform = [](void *self) { static_cast<WorkSource *>(self)->runNext(); };
    runLoopSource_.reset(CFRunLoopSourceCreate(kCFAllocatorDefault, 0, &context));
    CFRunLoopAddSource(CFRunLoopGetMain(), runLoopSource_.get(), kCFRunLoopCommonModes);
  }
  ~WorkSource() { CFRunLoopSourceInvalidate(runLoopSource_.get()); }
  WorkSource(const WorkSource &) = delete;
  WorkSource &operator=(const WorkSource &) = delete;

  /// Appends work, which the main thread runs. May be called on any thread.
  void add(std::function<void()> work) {
    const std::lock_guard lock(mutex_);
    waiting_.push_back(std::move(work));
    wake();
  }

 private:
  /// Makes the run loop call runNext() once.
  void wake() {
    CFRunLoopSourceSignal(runLoopSource_.get());
    CFRunLoopWakeUp(CFRunLoopGetMain());
  }

  /// Runs the oldest work item. Main thread.
  void runNext() {
    std::function<void()> work;
    {
      const std::lock_guard lock(mutex_);
      if (waiting_.empty()) return;
      work = std::move(waiting_.front());
      waiting_.pop_front();
      // Wake before the work runs, because the work may run a modal loop.
      if (!waiting_.empty()) wake();
    }
    @autoreleasepool {
      work();
    }
  }

  CFPointer<CFRunLoopSourceRef> runLoopSource_;
  std::mutex mutex_;
  std::deque<std::function<void()>> waiting_;
};

RunLoopMainQueue::RunLoopMainQueue() : source_(std::make_shared<WorkSource>()) {}

RunLoopMainQueue::~RunLoopMainQueue() = default;

void RunLoopMainQueue::post(std::function<void()> work) { source_->add(std::move(work)); }

void RunLoopMainQueue::after(std::chrono::milliseconds delay, std::function<void()> work) {
  addTimer(delay, std::chrono::milliseconds(0), std::move(work));
}

void RunLoopMainQueue::every(std::chrono::milliseconds interval, std::function<void()> work) {
  // With an interval of 0 the timer would fire only once.
  const auto step = std::max(interval, std::chrono::milliseconds(1));
  addTimer(step, step, std::move(work));
}

void RunLoopMainQueue::addTimer(std::chrono::milliseconds delay, std::chrono::milliseconds interval,
                                std::function<void()> work) {
  using Seconds = std::chrono::duration<CFTimeInterval>;
  const std::weak_ptr<WorkSource> weakSource = source_;
  // The callback only posts the work: a timer does not fire again before its callback has
  // returned, and the work may run a modal loop.
  const CFPointer<CFRunLoopTimerRef> timer(CFRunLoopTimerCreateWithHandler(
      kCFAllocatorDefault, CFAbsoluteTimeGetCurrent() + Seconds(delay).count(),
      Seconds(interval).count(), 0, 0, ^(CFRunLoopTimerRef) {
        if (const auto source = weakSource.lock()) source->add(work);
      }));
  CFRunLoopAddTimer(CFRunLoopGetMain(), timer.get(), kCFRunLoopCommonModes);
}

}  // namespace orvel
