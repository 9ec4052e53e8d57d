#include <dlfcn.h>
#include <glib.h>
#include <poll.h>
#include <pthread.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <ctime>

// Loaded into a GLib program before all else, it tells how long the main loop
// was kept from turning, one line for each time, in milliseconds:
//
//   AT LENGTH WAITED WORKED
//
// AT counts from the start of the program; WAITED is the part of LENGTH in which
// the main thread waited for another thread, as it does for a child process, and
// WORKED its processor time. The file is named by ORVEL_LOOP_WATCH.

namespace {

using Clock = std::chrono::steady_clock;

constexpr double worthTelling = 5;

double processorTime() {
  timespec time{};
  ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
  return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_nsec) / 1e6;
}

double milliseconds(Clock::duration duration) {
  return std::chrono::duration<double, std::milli>(duration).count();
}

struct Watch {
  const Clock::time_point start = Clock::now();
  Clock::time_point busySince = start;
  double waited = 0;
  double workedBefore = 0;
  std::FILE *file = nullptr;
  int (*condWait)(pthread_cond_t *, pthread_mutex_t *) = nullptr;
};

Watch &watch() {
  static Watch only;
  return only;
}

bool isMainThread() { return ::getpid() == ::gettid(); }

gint turn(GPollFD *descriptors, guint count, gint timeout) {
  if (!isMainThread()) return ::poll(reinterpret_cast<pollfd *>(descriptors), count, timeout);
  Watch &own = watch();
  const auto length = milliseconds(Clock::now() - own.busySince);
  if (length >= worthTelling && own.file != nullptr) {
    std::fprintf(own.file, "%.1f %.1f %.1f %.1f\n", milliseconds(own.busySince - own.start), length,
                 own.waited, processorTime() - own.workedBefore);
    std::fflush(own.file);
  }
  const int result = ::poll(reinterpret_cast<pollfd *>(descriptors), count, timeout);
  own.busySince = Clock::now();
  own.waited = 0;
  own.workedBefore = processorTime();
  return result;
}

[[gnu::constructor]] void begin() {
  Watch &own = watch();
  if (const char *path = std::getenv("ORVEL_LOOP_WATCH")) own.file = std::fopen(path, "we");
  // The processes that the program starts are not watched.
  ::unsetenv("LD_PRELOAD");
  ::unsetenv("ORVEL_LOOP_WATCH");
  g_main_context_set_poll_func(nullptr, turn);
}

}  // namespace

extern "C" [[gnu::visibility("default")]] int pthread_cond_wait(pthread_cond_t *condition,
                                                                pthread_mutex_t *mutex) {
  Watch &own = watch();
  if (own.condWait == nullptr) {
    // The C library has an older function of this name for older programs.
    void *found = dlvsym(RTLD_NEXT, "pthread_cond_wait", "GLIBC_2.3.2");
    own.condWait = reinterpret_cast<decltype(own.condWait)>(found);
  }
  if (!isMainThread()) return own.condWait(condition, mutex);
  const auto since = Clock::now();
  const int result = own.condWait(condition, mutex);
  own.waited += milliseconds(Clock::now() - since);
  return result;
}
