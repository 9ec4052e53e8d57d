// What the queues promise beyond the contract, on a real main loop and real threads.

#include <glib.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <future>
#include <system_error>
#include <thread>
#include <vector>

#include "platform/linux/glib/glib_main_queue.h"
#include "platform/posix/thread_background_queue.h"

namespace orvel {
namespace {

using std::chrono::milliseconds;

template <typename Condition>
void iterateUntil(const Condition &condition) {
  while (!condition()) g_main_context_iteration(nullptr, TRUE);
}

TEST(GlibMainQueue, NestedLoopRunsRemainingWork) {
  GlibMainQueue queue;
  std::vector<int> order;
  bool delayed = false;
  int repeated = 0;
  queue.every(milliseconds(5), [&] { ++repeated; });
  queue.post([&] {
    order.push_back(1);
    queue.post([&] { order.push_back(3); });
    queue.after(milliseconds(20), [&] { delayed = true; });
    iterateUntil([&] { return delayed && order.size() == 3 && repeated > 2; });
    order.push_back(4);
  });
  queue.post([&] { order.push_back(2); });
  iterateUntil([&] { return order.size() == 4; });
  EXPECT_EQ(order, (std::vector<int>{1, 2, 3, 4}));
}

TEST(GlibMainQueue, WorkOfEachThreadKeepsItsOrder) {
  GlibMainQueue queue;
  constexpr int perThread = 2000;
  std::vector<std::vector<int>> order(4);
  std::vector<std::thread> threads;
  for (auto &own : order) {
    threads.emplace_back([&queue, &own] {
      for (int number = 0; number < perThread; ++number) {
        queue.post([&own, number] { own.push_back(number); });
      }
    });
  }
  iterateUntil([&] {
    return std::all_of(order.begin(), order.end(),
                       [](const auto &own) { return own.size() == perThread; });
  });
  for (std::thread &thread : threads) thread.join();
  for (const auto &own : order) EXPECT_TRUE(std::is_sorted(own.begin(), own.end()));
}

TEST(GlibMainQueue, PostWakesSleepingLoop) {
  GlibMainQueue queue;
  std::atomic<bool> ran = false;
  std::thread other([&] { queue.post([&] { ran = true; }); });
  iterateUntil([&] { return ran.load(); });
  other.join();
}

TEST(GlibMainQueue, MissedRepetitionsAreSkipped) {
  GlibMainQueue queue;
  int runs = 0;
  queue.every(milliseconds(20), [&] { ++runs; });
  std::this_thread::sleep_for(milliseconds(210));
  bool last = false;
  queue.post([&] { last = true; });
  iterateUntil([&] { return last; });
  EXPECT_EQ(runs, 1);
}

TEST(GlibMainQueue, DestructionDropsPendingWork) {
  const auto captured = std::make_shared<int>(1);
  {
    GlibMainQueue queue;
    queue.post([captured] { ADD_FAILURE() << "ran after destruction"; });
    queue.after(milliseconds(0), [captured] { ADD_FAILURE() << "ran after destruction"; });
    EXPECT_EQ(captured.use_count(), 3);
  }
  EXPECT_EQ(captured.use_count(), 1);
  while (g_main_context_iteration(nullptr, FALSE)) {
  }
}

TEST(GlibMainQueue, FinishedWorkIsReleased) {
  GlibMainQueue queue;
  const auto captured = std::make_shared<int>(1);
  bool ran = false;
  queue.post([captured, &ran] { ran = true; });
  iterateUntil([&] { return ran; });
  EXPECT_EQ(captured.use_count(), 1);
}

TEST(ThreadBackgroundQueue, WorkRunsInParallel) {
  ThreadBackgroundQueue queue;
  std::promise<void> first;
  std::promise<void> second;
  std::promise<void> done;
  queue.post([&] {
    first.set_value();
    second.get_future().wait();
    done.set_value();
  });
  queue.post([&] {
    first.get_future().wait();
    second.set_value();
  });
  EXPECT_EQ(done.get_future().wait_for(std::chrono::seconds(20)), std::future_status::ready);
}

/// Prevents this process from starting threads during the lifetime of the object, with
/// RLIMIT_NPROC. Root is exempt from the limit and therefore becomes an ordinary user
/// meanwhile.
class NoNewThreads {
 public:
  NoNewThreads() {
    ::getrlimit(RLIMIT_NPROC, &before_);
    const rlimit none{0, before_.rlim_max};
    ::setrlimit(RLIMIT_NPROC, &none);
    if (isRoot_ && ::setresuid(nobody, nobody, 0) != 0) ADD_FAILURE() << "cannot leave root";
  }
  ~NoNewThreads() {
    if (isRoot_ && ::setresuid(0, 0, 0) != 0) ADD_FAILURE() << "cannot become root again";
    ::setrlimit(RLIMIT_NPROC, &before_);
  }
  NoNewThreads(const NoNewThreads &) = delete;
  NoNewThreads &operator=(const NoNewThreads &) = delete;

 private:
  static constexpr uid_t nobody = 65534;
  const bool isRoot_ = ::geteuid() == 0;
  rlimit before_{};
};

TEST(ThreadBackgroundQueue, WorkNeverRunsOnCallerWhenNoThreadCanStart) {
  std::array<std::promise<std::thread::id>, 3> threads;
  ThreadBackgroundQueue queue;
  {
    const NoNewThreads limit;
    ASSERT_THROW(std::thread([] {}).detach(), std::system_error);
    for (auto &thread : threads) {
      queue.post([&thread] { thread.set_value(std::this_thread::get_id()); });
    }
  }
  for (auto &thread : threads) {
    auto ran = thread.get_future();
    ASSERT_EQ(ran.wait_for(std::chrono::seconds(20)), std::future_status::ready);
    EXPECT_NE(ran.get(), std::this_thread::get_id());
  }
}

TEST(ThreadBackgroundQueue, DestructionWaitsForWork) {
  std::atomic<int> ended = 0;
  const auto captured = std::make_shared<int>(1);
  {
    ThreadBackgroundQueue queue;
    for (int number = 0; number < 20; ++number) {
      queue.post([&ended, captured] {
        std::this_thread::sleep_for(milliseconds(20));
        ++ended;
      });
    }
  }
  EXPECT_EQ(ended, 20);
  EXPECT_EQ(captured.use_count(), 1);
}

}  // namespace
}  // namespace orvel
