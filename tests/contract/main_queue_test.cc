// What every platform promises of work on the main thread and beside it.

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <mutex>
#include <vector>

#include "tests/contract/contract_platform.h"

namespace orvel {
namespace {

using std::chrono::milliseconds;

class MainQueueContract : public testing::TestWithParam<PlatformUnderContract> {
 protected:
  MainQueue &queue() { return platform_->ports().mainQueue; }
  std::chrono::system_clock::time_point now() { return platform_->ports().clock.now(); }

  std::unique_ptr<ContractPlatform> platform_ = GetParam().make();
};

TEST_P(MainQueueContract, RunsWorkInTheOrderOfPosting) {
  std::vector<int> order;
  for (int number = 0; number < 1000; ++number) {
    queue().post([&order, number] { order.push_back(number); });
  }
  EXPECT_TRUE(order.empty()) << "work ran inside the call";
  ASSERT_TRUE(platform_->runUntil([&] { return order.size() == 1000; }));
  for (int number = 0; number < 1000; ++number) {
    ASSERT_EQ(order[static_cast<std::size_t>(number)], number);
  }
}

TEST_P(MainQueueContract, RunsWorkThatWorkPostedAfterwards) {
  std::vector<std::string> order;
  queue().post([&] {
    queue().post([&] { order.emplace_back("second"); });
    order.emplace_back("first");
  });
  ASSERT_TRUE(platform_->runUntil([&] { return order.size() == 2; }));
  EXPECT_EQ(order, (std::vector<std::string>{"first", "second"}));
}

TEST_P(MainQueueContract, RunsWorkOfOtherThreadsOnTheMainThread) {
  std::atomic<bool> postedFromMain = true;
  bool ranOnMain = false;
  bool done = false;
  platform_->ports().backgroundQueue.post([&] {
    postedFromMain = platform_->onMainThread();
    queue().post([&] {
      ranOnMain = platform_->onMainThread();
      done = true;
    });
  });
  ASSERT_TRUE(platform_->runUntil([&] { return done; }));
  EXPECT_FALSE(postedFromMain);
  EXPECT_TRUE(ranOnMain);
}

TEST_P(MainQueueContract, RunsDelayedWorkOnceAndNoEarlier) {
  const auto start = now();
  int runs = 0;
  auto ran = start;
  bool onMain = false;
  queue().after(milliseconds(120), [&] {
    ++runs;
    ran = now();
    onMain = platform_->onMainThread();
  });
  bool later = false;
  queue().after(milliseconds(300), [&] { later = true; });
  EXPECT_EQ(runs, 0);
  ASSERT_TRUE(platform_->runUntil([&] { return later; }));
  EXPECT_EQ(runs, 1);
  EXPECT_TRUE(onMain);
  // The clocks tick apart by less than this.
  EXPECT_GE(ran - start, milliseconds(119));
}

TEST_P(MainQueueContract, RunsDelayedWorkInTheOrderOfItsTimes) {
  std::vector<int> order;
  queue().after(milliseconds(90), [&] { order.push_back(90); });
  queue().after(milliseconds(30), [&] { order.push_back(30); });
  queue().after(milliseconds(60), [&] { order.push_back(60); });
  queue().post([&] { order.push_back(0); });
  ASSERT_TRUE(platform_->runUntil([&] { return order.size() == 4; }));
  EXPECT_EQ(order, (std::vector<int>{0, 30, 60, 90}));
}

TEST_P(MainQueueContract, NeverRunsWorkWithoutDelayInsideTheCall) {
  bool ran = false;
  queue().after(milliseconds(0), [&] { ran = true; });
  EXPECT_FALSE(ran);
  EXPECT_TRUE(platform_->runUntil([&] { return ran; }));
}

TEST_P(MainQueueContract, RepeatsWorkAtItsInterval) {
  const auto start = now();
  std::vector<std::chrono::system_clock::time_point> times;
  queue().every(milliseconds(50), [&] { times.push_back(now()); });
  EXPECT_TRUE(times.empty());
  ASSERT_TRUE(platform_->runUntil([&] { return times.size() >= 4; }));
  for (std::size_t run = 0; run < 4; ++run) {
    EXPECT_GE(times[run] - start, milliseconds(50) * (run + 1) - milliseconds(1));
  }
}

TEST_P(MainQueueContract, LetsOtherWorkInBetweenRepetitions) {
  int repetitions = 0;
  bool posted = false;
  queue().every(milliseconds(10), [&] { ++repetitions; });
  ASSERT_TRUE(platform_->runUntil([&] { return repetitions >= 2; }));
  queue().post([&] { posted = true; });
  EXPECT_TRUE(platform_->runUntil([&] { return posted; }));
}

TEST_P(MainQueueContract, BackgroundWorkRunsEachOnceAndNeverOnTheMainThread) {
  int runs = 0;
  std::atomic<bool> onMain = false;
  for (int number = 0; number < 50; ++number) {
    platform_->ports().backgroundQueue.post([&] {
      if (platform_->onMainThread()) onMain = true;
      queue().post([&] { ++runs; });
    });
  }
  ASSERT_TRUE(platform_->runUntil([&] { return runs == 50; }));
  EXPECT_FALSE(onMain);
}

INSTANTIATE_TEST_SUITE_P(EveryPlatform, MainQueueContract,
                         testing::ValuesIn(platformsUnderContract()),
                         [](const auto &platform) { return platform.param.name; });

}  // namespace
}  // namespace orvel
