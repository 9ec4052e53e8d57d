#include <dlfcn.h>
#include <glib.h>
#include <poll.h>
#include <pthread.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <ctime>

// Records the stalls of the main loop of a GLib program: long times between two calls of poll(2),
// during which new events wait. Loaded by LD_PRELOAD, this library writes one line for each stall to
// the file ORVEL_MAIN_LOOP_STALLS, in milliseconds:
//
//   WAITED WORKED
//
// WAITED is how long the main thread waited for another thread in pthread_cond_wait(), for example
// for the one that runs a child process. WORKED is the processor time of the main thread.

namespace {

using Clock = std::chrono::steady_clock;

/// The shortest time between two polls that counts as a stall, in milliseconds. Below a third of a
/// frame at 60 Hz, so that every visible stall is recorded.
constexpr double minStall = 5;

/// Returns the processor time of the calling thread in milliseconds.
double threadProcessorTime() {
  timespec time{};
  ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
  return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_nsec) / 1e6;
}

double milliseconds(Clock::duration duration) {
  return std::chrono::duration<double, std::milli>(duration).count();
}

struct Stalls {
  Clock::time_point busySince = Clock::now();
  double waited = 0;
  double processorTimeBefore = 0;
  std::FILE *file = nullptr;
  /// The function of the C library that the one below replaces.
  int (*condWait)(pthread_cond_t *, pthread_mutex_t *) = nullptr;
};

Stalls &stalls() {
  static Stalls instance;
  return instance;
}

bool isMainThread() { return ::getpid() == ::gettid(); }

gint pollAndRecord(GPollFD *descriptors, guint count, gint timeout) {
  if (!isMainThread()) return ::poll(reinterpret_cast<pollfd *>(descriptors), count, timeout);
  Stalls &state = stalls();
  if (milliseconds(Clock::now() - state.busySince) >= minStall && state.file != nullptr) {
    std::fprintf(state.file, "%.1f %.1f\n", state.waited,
                 threadProcessorTime() - state.processorTimeBefore);
    std::fflush(state.file);
  }
  const int result = ::poll(reinterpret_cast<pollfd *>(descriptors), count, timeout);
  state.busySince = Clock::now();
  state.waited = 0;
  state.processorTimeBefore = threadProcessorTime();
  return result;
}

[[gnu::constructor]] void startRecording() {
  Stalls &state = stalls();
  if (const char *path = std::getenv("ORVEL_MAIN_LOOP_STALLS")) state.file = std::fopen(path, "we");
  // Child processes would load the library too and write to the same file.
  ::unsetenv("LD_PRELOAD");
  ::unsetenv("ORVEL_MAIN_LOOP_STALLS");
  g_main_context_set_poll_func(nullptr, pollAndRecord);
}

}  // namespace

extern "C" [[gnu::visibility("default")]] int pthread_cond_wait(pthread_cond_t *condition,
                                                                pthread_mutex_t *mutex) {
  Stalls &state = stalls();
  if (state.condWait == nullptr) {
    // dlsym() may return the older version of this function in glibc, which has another ABI.
    void *found = dlvsym(RTLD_NEXT, "pthread_cond_wait", "GLIBC_2.3.2");
    state.condWait = reinterpret_cast<decltype(state.condWait)>(found);
  }
  if (!isMainThread()) return state.condWait(condition, mutex);
  const auto since = Clock::now();
  const int result = state.condWait(condition, mutex);
  state.waited += milliseconds(Clock::now() - since);
  return result;
}
