#include "platform/linux/glib/glib_main_queue.h"

#include <algorithm>
#include <utility>

namespace orvel {

namespace {

constexpr std::int64_t microseconds(std::chrono::milliseconds duration) {
  return std::chrono::microseconds(duration).count();
}

}  // namespace

struct GlibMainQueue::Source {
  GSource base;
  GlibMainQueue *queue;

  static gboolean dispatch(GSource *source, GSourceFunc, gpointer) {
    reinterpret_cast<Source *>(source)->queue->runNext();
    return G_SOURCE_CONTINUE;
  }
};

GlibMainQueue::GlibMainQueue(GMainContext *context)
    : source_([] {
        static GSourceFuncs functions{nullptr, nullptr, Source::dispatch,
                                      nullptr, nullptr, nullptr};
        return g_source_new(&functions, sizeof(Source));
      }()) {
  reinterpret_cast<Source *>(source_)->queue = this;
  g_source_set_static_name(source_, "GlibMainQueue");
  g_source_set_can_recurse(source_, TRUE);
  g_source_attach(source_, context);
}

GlibMainQueue::~GlibMainQueue() {
  g_source_destroy(source_);
  g_source_unref(source_);
}

void GlibMainQueue::post(std::function<void()> work) { add(0, {.work = std::move(work)}); }

void GlibMainQueue::after(std::chrono::milliseconds delay, std::function<void()> work) {
  add(microseconds(std::max(delay, std::chrono::milliseconds(0))), {.work = std::move(work)});
}

void GlibMainQueue::every(std::chrono::milliseconds interval, std::function<void()> work) {
  const auto step = microseconds(std::max(interval, std::chrono::milliseconds(1)));
  add(step, {.work = std::move(work), .interval = step});
}

void GlibMainQueue::add(std::int64_t delay, Task task) {
  const std::lock_guard lock(mutex_);
  // Reads the clock under the lock, so that due times follow the order of posting.
  insert(g_get_monotonic_time() + delay, std::move(task));
  updateReadyTime();
}

void GlibMainQueue::insert(std::int64_t due, Task task) {
  tasks_.emplace(Position{due, ++lastSequence_}, std::move(task));
}

void GlibMainQueue::updateReadyTime() {
  g_source_set_ready_time(source_, tasks_.empty() ? -1 : tasks_.begin()->first.due);
}

void GlibMainQueue::runNext() {
  std::function<void()> work;
  {
    const std::lock_guard lock(mutex_);
    const auto now = g_get_monotonic_time();
    if (!tasks_.empty() && tasks_.begin()->first.due <= now) {
      auto first = tasks_.extract(tasks_.begin());
      const auto due = first.key().due;
      Task &task = first.mapped();
      if (task.interval == 0) {
        work = std::move(task.work);
      } else {
        work = task.work;
        // Skips missed due times and keeps the phase.
        const auto intervals = (now - due) / task.interval + 1;
        const auto next = due + intervals * task.interval;
        insert(next, std::move(task));
      }
    }
    // Set before the work runs, because the work may run a nested main loop.
    updateReadyTime();
  }
  if (work) work();
}

}  // namespace orvel
