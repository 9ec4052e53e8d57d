#include "platform/posix/thread_background_queue.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <future>
#include <memory>
#include <thread>

#include "tests/support/time_limit.h"

namespace orvel {
namespace {

TEST(ThreadBackgroundQueue, WorkRunsInParallel) {
  std::promise<void> firstStarted;
  std::promise<void> secondStarted;
  std::promise<void> done;
  ThreadBackgroundQueue queue;
  queue.post([&] {
    firstStarted.set_value();
    secondStarted.get_future().wait();
    done.set_value();
  });
  queue.post([&] {
    firstStarted.get_future().wait();
    secondStarted.set_value();
  });
  EXPECT_EQ(done.get_future().wait_for(timeLimit(std::chrono::seconds(20))),
            std::future_status::ready);
}

TEST(ThreadBackgroundQueue, DestructionWaitsForPostedWork) {
  std::atomic<int> ended = 0;
  const auto captured = std::make_shared<int>(1);
  {
    ThreadBackgroundQueue queue;
    for (int number = 0; number < 20; ++number) {
      queue.post([&ended, captured] {
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        ++ended;
      });
    }
  }
  EXPECT_EQ(ended, 20);
  EXPECT_EQ(captured.use_count(), 1);
}

}  // namespace
}  // namespace orvel
