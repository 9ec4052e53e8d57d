#include <dlfcn.h>
#include <glib.h>
#include <poll.h>
#include <pthread.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <ctime>

// Records the stalls of the main loop of a GLib program: long times between two calls of poll(2),
// during which new events wait. Loaded by LD_PRELOAD, this library writes one line for each stall
// to the file ORVEL_MAIN_LOOP_STALLS, in milliseconds:
//
//   WAITED WORKED
//
// WAITED is how long the main thread waited for another thread in pthread_cond_wait(), for example
// for a thread that runs a child process. WORKED is the processor time of the main thread.

namespace {

/// The shortest time between two polls that counts as a stall, in milliseconds. Below a third of a
/// frame at 60 Hz, so that every visible stall is recorded.
constexpr double minStall = 5;

/// Returns the time of a clock in milliseconds.
double now(clockid_t clock) {
  timespec time{};
  ::clock_gettime(clock, &time);
  return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_nsec) / 1e6;
}

std::FILE *file = nullptr;
// The main thread's clocks at the end of its last poll, and how long it has waited since then. As
// the clocks are zero before the first poll, the launch is always recorded, with all processor time
// of the thread, dynamic linking included.
double busySince = 0;
double processorTimeBefore = 0;
double waited = 0;

/// The poll function of the default main context, which only the main thread runs.
gint pollAndRecord(GPollFD *descriptors, guint count, gint timeout) {
  if (file != nullptr && now(CLOCK_MONOTONIC) - busySince >= minStall) {
    std::fprintf(file, "%.1f %.1f\n", waited, now(CLOCK_THREAD_CPUTIME_ID) - processorTimeBefore);
    std::fflush(file);
  }
  const int result = ::poll(reinterpret_cast<pollfd *>(descriptors), count, timeout);
  busySince = now(CLOCK_MONOTONIC);
  processorTimeBefore = now(CLOCK_THREAD_CPUTIME_ID);
  waited = 0;
  return result;
}

[[gnu::constructor]] void startRecording() {
  if (const char *path = std::getenv("ORVEL_MAIN_LOOP_STALLS")) file = std::fopen(path, "we");
  // Child processes would load the library too and write to the same file.
  ::unsetenv("LD_PRELOAD");
  ::unsetenv("ORVEL_MAIN_LOOP_STALLS");
  g_main_context_set_poll_func(nullptr, pollAndRecord);
}

}  // namespace

/// Replaces the function of the C library: calls it, and adds the time that the main thread spends
/// in it to `waited`.
extern "C" [[gnu::visibility("default")]] int pthread_cond_wait(pthread_cond_t *condition,
                                                                pthread_mutex_t *mutex) {
  // Before glibc 2.36, RTLD_NEXT could find an older version of this function with another ABI.
  // Debian 12 has glibc 2.36.
  static const auto original = reinterpret_cast<int (*)(pthread_cond_t *, pthread_mutex_t *)>(
      dlsym(RTLD_NEXT, "pthread_cond_wait"));
  const bool isMainThread = ::getpid() == ::gettid();
  const double since = now(CLOCK_MONOTONIC);
  const int result = original(condition, mutex);
  if (isMainThread) waited += now(CLOCK_MONOTONIC) - since;
  return result;
}
