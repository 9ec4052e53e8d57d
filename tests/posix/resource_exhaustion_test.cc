#include <gtest/gtest.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <future>
#include <set>
#include <system_error>
#include <thread>

#include "platform/posix/thread_background_queue.h"
#include "tests/support/posix_test_support.h"
#include "tests/support/time_limit.h"

namespace orvel {
namespace {

using namespace posix_test;

TEST(ResourceExhaustion, DescriptorExhaustionFailsOnlyCallsThatNeedDescriptors) {
  PosixProcessLauncher launcher(processEnvironment());
  const TemporaryFolder folder;
  const std::string path = folder.file("file", "");
  const ResourceLimit limit(RLIMIT_NOFILE, 64);
  std::vector<std::shared_ptr<FileHandle>> handles;
  while (auto handle = FileHandle::createPrivate("/dev/null")) handles.push_back(std::move(handle));
  ASSERT_FALSE(handles.empty());

  EXPECT_FALSE(Pipe::create());
  EXPECT_FALSE(FileHandle::createPrivate(path));
  auto request = program("/bin/sh", {"-c", "exit 3"});
  request.standardError.kind = StandardStream::Kind::null;
  const auto child = launcher.launch(request);
  EXPECT_EQ(child.error, "");
  ASSERT_TRUE(child.process);
  child.process->waitUntilExit();
  EXPECT_EQ(child.process->terminationStatus(), 3);

  // The launcher must duplicate a handle that is itself descriptor 1, which needs a free
  // descriptor. The handle's destructor closes descriptor 1. The test therefore saves it first,
  // in place of the last handle, because no other descriptor is free.
  const int savedOutput = ::dup2(STDOUT_FILENO, handles.back()->descriptor());
  {
    const auto handle = std::make_shared<FileHandle>(STDOUT_FILENO);
    request.standardOutput = {StandardStream::Kind::handle, handle};
    const auto failed = launcher.launch(request);
    request.standardOutput = {};
    EXPECT_FALSE(failed.process);
    EXPECT_EQ(failed.error, "/bin/sh: " + errnoDescription(EMFILE));
  }
  ::dup2(savedOutput, STDOUT_FILENO);
}

#if defined(__linux__)
/// Limits the threads and processes of the user during the lifetime of the object
/// (RLIMIT_NPROC). Root is exempt from the limit, so a process of root runs as the user "nobody"
/// meanwhile.
class TaskLimit {
 public:
  explicit TaskLimit(rlim_t tasks) : limit_(RLIMIT_NPROC, tasks) {
    if (isRoot_ && ::setresuid(nobody, nobody, 0) != 0) ADD_FAILURE() << "cannot leave root";
  }
  ~TaskLimit() {
    if (isRoot_ && ::setresuid(0, 0, 0) != 0) ADD_FAILURE() << "cannot become root again";
  }

 private:
  static constexpr uid_t nobody = 65534;
  const bool isRoot_ = ::geteuid() == 0;
  const ResourceLimit limit_;
};

TEST(ResourceExhaustion, ThreadAndProcessExhaustionFailsLaunch) {
  // The launcher describes the error of a fork on the thread that forks, and the failure to start
  // that thread on the thread that calls launch.
  static const std::thread::id testThread = std::this_thread::get_id();
  PosixProcessLauncher launcher(processEnvironment(), [](int error) {
    const bool isOfThread = std::this_thread::get_id() == testThread;
    return errnoDescription(error) + (isOfThread ? ", no thread" : ", no process");
  });
  const auto request = program("/bin/sh", {"-c", "exit 3"});
  LaunchResult child;
  std::set<std::string> errors;
  rlim_t tasks = 0;
  // With a rising limit, the launch fails first for lack of a thread, then for lack of a process,
  // and finally succeeds. When it succeeds before both failures were seen, because another task of
  // the user ended before the fork, the limit starts again from zero. 20,000 bounds the loop.
  for (int launches = 0; launches < 20'000; ++launches) {
    const TaskLimit limit(tasks);
    child = launcher.launch(request);
    if (child.process && errors.size() == 2) break;
    if (!child.process) errors.insert(child.error);
    tasks = child.process ? 0 : tasks + 1;
  }
  const std::string error = "/bin/sh: " + errnoDescription(EAGAIN);
  EXPECT_EQ(errors, (std::set{error + ", no process", error + ", no thread"}));
  ASSERT_TRUE(child.process);
  child.process->waitUntilExit();
  EXPECT_EQ(child.process->terminationStatus(), 3);
  EXPECT_TRUE(eventually([] { return !hasZombieChild(); }));
}

TEST(ResourceExhaustion, ThreadExhaustionRunsBackgroundWorkOnReserveThread) {
  std::array<std::promise<std::thread::id>, 3> threadIds;
  // Created before the limit: the constructor creates the reserve thread, which runs the work when
  // no other thread can be created.
  ThreadBackgroundQueue queue;
  {
    const TaskLimit limit(0);
    ASSERT_THROW(std::thread([] {}).detach(), std::system_error);
    for (auto &threadId : threadIds) {
      queue.post([&threadId] {
        // A second reserve thread, if there were one, would take the next work meanwhile.
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        threadId.set_value(std::this_thread::get_id());
      });
    }
  }
  std::set<std::thread::id> threads;
  for (auto &threadId : threadIds) {
    auto future = threadId.get_future();
    ASSERT_EQ(future.wait_for(timeLimit(std::chrono::seconds(20))), std::future_status::ready);
    threads.insert(future.get());
  }
  EXPECT_EQ(threads.size(), 1U);
  EXPECT_FALSE(threads.contains(std::this_thread::get_id()));
}
#endif

}  // namespace
}  // namespace orvel
