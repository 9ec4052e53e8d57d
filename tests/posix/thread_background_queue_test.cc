#include "platform/posix/thread_background_queue.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <chrono>
#include <future>
#include <memory>
#include <system_error>
#include <thread>

namespace orvel {
namespace {

using std::chrono::milliseconds;

TEST(ThreadBackgroundQueue, WorkRunsInParallel) {
  ThreadBackgroundQueue queue;
  std::promise<void> firstStarted;
  std::promise<void> secondStarted;
  std::promise<void> done;
  queue.post([&] {
    firstStarted.set_value();
    secondStarted.get_future().wait();
    done.set_value();
  });
  queue.post([&] {
    firstStarted.get_future().wait();
    secondStarted.set_value();
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

TEST(ThreadBackgroundQueue, WorkPostedWhenNoThreadCanStartRunsOnAnotherThread) {
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

TEST(ThreadBackgroundQueue, DestructionWaitsForPostedWork) {
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
