#include "platform/linux/glib/glib_main_queue.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <thread>
#include <vector>

namespace orvel {
namespace {

using std::chrono::milliseconds;

/// Runs the main loop until the condition holds. Blocks while no work is due.
template <typename Condition>
void iterateUntil(const Condition &condition) {
  while (!condition()) g_main_context_iteration(nullptr, TRUE);
}

TEST(GlibMainQueue, NestedMainLoopRunsPostedAndDelayedAndRepeatedWork) {
  GlibMainQueue queue;
  std::vector<int> order;
  bool delayedWorkRan = false;
  int repetitions = 0;
  queue.every(milliseconds(5), [&] { ++repetitions; });
  queue.post([&] {
    order.push_back(1);
    queue.post([&] { order.push_back(3); });
    queue.after(milliseconds(20), [&] { delayedWorkRan = true; });
    iterateUntil([&] { return delayedWorkRan && order.size() == 3 && repetitions > 2; });
    order.push_back(4);
  });
  queue.post([&] { order.push_back(2); });
  iterateUntil([&] { return order.size() == 4; });
  EXPECT_EQ(order, (std::vector<int>{1, 2, 3, 4}));
}

TEST(GlibMainQueue, WorkPostedByOtherThreadsWakesMainLoopAndKeepsOrderOfEachThread) {
  GlibMainQueue queue;
  constexpr int perThread = 2000;
  std::vector<std::vector<int>> order(4);
  std::vector<std::thread> threads;
  for (auto &numbers : order) {
    threads.emplace_back([&queue, &numbers] {
      for (int number = 0; number < perThread; ++number) {
        queue.post([&numbers, number] { numbers.push_back(number); });
      }
    });
  }
  iterateUntil([&] {
    return std::all_of(order.begin(), order.end(),
                       [](const auto &numbers) { return numbers.size() == perThread; });
  });
  for (std::thread &thread : threads) thread.join();
  for (const auto &numbers : order) EXPECT_TRUE(std::is_sorted(numbers.begin(), numbers.end()));
}

TEST(GlibMainQueue, MissedRepetitionsAreSkipped) {
  GlibMainQueue queue;
  int runs = 0;
  queue.every(milliseconds(20), [&] { ++runs; });
  // Ten intervals pass before the main loop runs.
  std::this_thread::sleep_for(milliseconds(210));
  bool postedWorkRan = false;
  queue.post([&] { postedWorkRan = true; });
  iterateUntil([&] { return postedWorkRan; });
  EXPECT_EQ(runs, 1);
}

TEST(GlibMainQueue, FinishedWorkAndPendingWorkOfDestroyedQueueAreReleased) {
  const auto captured = std::make_shared<int>(1);
  {
    GlibMainQueue queue;
    bool ran = false;
    queue.post([captured, &ran] { ran = true; });
    iterateUntil([&] { return ran; });
    EXPECT_EQ(captured.use_count(), 1);
    queue.post([captured] { ADD_FAILURE() << "ran after destruction"; });
    queue.after(milliseconds(0), [captured] { ADD_FAILURE() << "ran after destruction"; });
    EXPECT_EQ(captured.use_count(), 3);
  }
  EXPECT_EQ(captured.use_count(), 1);
  // Would run work that is still in the main loop.
  while (g_main_context_iteration(nullptr, FALSE)) {
  }
}

}  // namespace
}  // namespace orvel
