#include <atomic>
#include <numeric>

#include "tests/contract/contract_platform.h"

namespace orvel {
namespace {

using std::chrono::milliseconds;

// The clock and the timers of a platform may differ by up to this much.
constexpr milliseconds clockTolerance(1);

class MainQueueContract : public ContractTest {
 protected:
  std::chrono::system_clock::time_point now() { return platform->interfaces().clock.now(); }
};

TEST_P(MainQueueContract, PostedWorkRunsInOrderAndNeverInsidePost) {
  std::vector<int> expected(1000);
  std::iota(expected.begin(), expected.end(), 0);
  std::vector<int> order;
  for (const int number : expected) {
    queue().post([&, number] {
      // The work posted here runs after all work that has been posted before.
      if (number == 0) queue().post([&] { order.push_back(1000); });
      order.push_back(number);
    });
  }
  expected.push_back(1000);
  EXPECT_TRUE(order.empty()) << "work ran before post() returned";
  ASSERT_TRUE(runUntil([&] { return order.size() == expected.size(); }));
  EXPECT_EQ(order, expected);
}

TEST_P(MainQueueContract, DelayedWorkRunsOnceAfterItsDelay) {
  constexpr milliseconds delay(120);
  const auto start = now();
  int runs = 0;
  auto ranAt = start;
  bool onMain = false;
  queue().after(delay, [&] {
    ++runs;
    ranAt = now();
    onMain = platform->onMainThread();
  });
  // A second run, after the same delay again, would come before this work.
  bool laterWorkRan = false;
  queue().after(milliseconds(300), [&] { laterWorkRan = true; });
  EXPECT_EQ(runs, 0);
  ASSERT_TRUE(runUntil([&] { return laterWorkRan; }));
  EXPECT_EQ(runs, 1);
  EXPECT_TRUE(onMain);
  EXPECT_GE(ranAt - start, delay - clockTolerance);
}

TEST_P(MainQueueContract, DelayedWorkRunsInOrderOfDelay) {
  std::vector<int> order;
  for (const int delay : {90, 0, 30, 60}) {
    queue().after(milliseconds(delay), [&order, delay] { order.push_back(delay); });
  }
  EXPECT_TRUE(order.empty()) << "work ran before after() returned";
  ASSERT_TRUE(runUntil([&] { return order.size() == 4; }));
  EXPECT_EQ(order, (std::vector<int>{0, 30, 60, 90}));
}

TEST_P(MainQueueContract, RepeatedWorkRunsNoEarlierThanItsInterval) {
  const auto start = now();
  std::vector<std::chrono::system_clock::time_point> times;
  queue().every(milliseconds(50), [&] { times.push_back(now()); });
  EXPECT_TRUE(times.empty());
  ASSERT_TRUE(runUntil([&] { return times.size() >= 4; }));
  for (std::size_t run = 0; run < 4; ++run) {
    EXPECT_GE(times[run] - start, milliseconds(50) * (run + 1) - clockTolerance);
  }
}

TEST_P(MainQueueContract, BackgroundWorkRunsOffMainThreadAndCanPostToIt) {
  int runs = 0;
  std::atomic<bool> backgroundWorkOnMain = false;
  bool postedWorkOffMain = false;
  for (int number = 0; number < 50; ++number) {
    platform->interfaces().backgroundQueue.post([&] {
      if (platform->onMainThread()) backgroundWorkOnMain = true;
      queue().post([&] {
        if (!platform->onMainThread()) postedWorkOffMain = true;
        ++runs;
      });
    });
  }
  ASSERT_TRUE(runUntil([&] { return runs == 50; }));
  EXPECT_FALSE(backgroundWorkOnMain);
  EXPECT_FALSE(postedWorkOffMain);
}

INSTANTIATE_ON_EVERY_PLATFORM(MainQueueContract);

}  // namespace
}  // namespace orvel
