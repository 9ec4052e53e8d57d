// The contract of the main queue and the background queue.

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

TEST_P(MainQueueContract, PostedWorkRunsInOrderAfterPostReturns) {
  std::vector<int> expected(1000);
  std::iota(expected.begin(), expected.end(), 0);
  std::vector<int> order;
  for (const int number : expected) queue().post([&order, number] { order.push_back(number); });
  EXPECT_TRUE(order.empty()) << "work ran before post returned";
  ASSERT_TRUE(runUntil([&] { return order.size() == expected.size(); }));
  EXPECT_EQ(order, expected);
}

TEST_P(MainQueueContract, WorkPostedByRunningWorkRunsAfterIt) {
  std::vector<std::string> order;
  queue().post([&] {
    queue().post([&] { order.emplace_back("second"); });
    order.emplace_back("first");
  });
  ASSERT_TRUE(runUntil([&] { return order.size() == 2; }));
  EXPECT_EQ(order, (std::vector<std::string>{"first", "second"}));
}

TEST_P(MainQueueContract, WorkPostedByAnotherThreadRunsOnMainThread) {
  std::atomic<bool> postedFromMain = true;
  bool ranOnMain = false;
  bool done = false;
  platform->interfaces().backgroundQueue.post([&] {
    postedFromMain = platform->onMainThread();
    queue().post([&] {
      ranOnMain = platform->onMainThread();
      done = true;
    });
  });
  ASSERT_TRUE(runUntil([&] { return done; }));
  EXPECT_FALSE(postedFromMain);
  EXPECT_TRUE(ranOnMain);
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
  for (const int delay : {90, 30, 60}) {
    queue().after(milliseconds(delay), [&order, delay] { order.push_back(delay); });
  }
  queue().post([&] { order.push_back(0); });
  ASSERT_TRUE(runUntil([&] { return order.size() == 4; }));
  EXPECT_EQ(order, (std::vector<int>{0, 30, 60, 90}));
}

TEST_P(MainQueueContract, WorkWithZeroDelayRunsAfterCallReturns) {
  bool ran = false;
  queue().after(milliseconds(0), [&] { ran = true; });
  EXPECT_FALSE(ran);
  EXPECT_TRUE(runUntil([&] { return ran; }));
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

TEST_P(MainQueueContract, PostedWorkRunsBetweenRepetitions) {
  int repetitions = 0;
  bool posted = false;
  queue().every(milliseconds(10), [&] { ++repetitions; });
  ASSERT_TRUE(runUntil([&] { return repetitions >= 2; }));
  queue().post([&] { posted = true; });
  EXPECT_TRUE(runUntil([&] { return posted; }));
}

TEST_P(MainQueueContract, BackgroundWorkRunsOnceOffMainThread) {
  int runs = 0;
  std::atomic<bool> onMain = false;
  for (int number = 0; number < 50; ++number) {
    platform->interfaces().backgroundQueue.post([&] {
      if (platform->onMainThread()) onMain = true;
      queue().post([&] { ++runs; });
    });
  }
  ASSERT_TRUE(runUntil([&] { return runs == 50; }));
  EXPECT_FALSE(onMain);
}

INSTANTIATE_ON_EVERY_PLATFORM(MainQueueContract);

}  // namespace
}  // namespace orvel
