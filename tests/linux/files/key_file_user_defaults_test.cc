// The file of the user defaults: format, corruption, concurrency and kills.

#include "platform/linux/files/key_file_user_defaults.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <thread>
#include <vector>

#include "base/file_handle.h"
#include "tests/support/posix_test_support.h"

namespace orvel {
namespace {

using posix_test::contentsOf;

class KeyFileDefaults : public testing::Test {
 protected:
  void write(const std::string &contents) {
    std::filesystem::create_directories(path_.parent_path());
    std::ofstream(path_) << contents;
  }
  KeyFileUserDefaults open() { return KeyFileUserDefaults(path_); }
  /// Returns how many bytes this thread has read so far (proc_pid_io(5)).
  static std::size_t bytesReadByThisThread() {
    std::ifstream counters("/proc/thread-self/io");
    std::string name;
    std::size_t bytes = 0;
    while (counters >> name >> bytes && name != "rchar:") {
    }
    return bytes;
  }
  std::string pathWith(const std::string &suffix) { return path_.string() + suffix; }

  const TemporaryFolder folder_;
  const std::filesystem::path path_ = folder_.path() / "config" / "nl.orvel.os" / "defaults.ini";
};

TEST_F(KeyFileDefaults, ReadingCreatesNoFile) {
  EXPECT_EQ(open().text("osURL"), std::nullopt);
  EXPECT_FALSE(std::filesystem::exists(path_.parent_path()));
}

TEST_F(KeyFileDefaults, StoredValueSurvivesRestart) {
  open().setText("osURL", "https://os.test/");
  EXPECT_EQ(open().text("osURL"), "https://os.test/");
  EXPECT_EQ(contentsOf(path_), "[Defaults]\nosURL=https://os.test/\n");
  struct stat status;
  ASSERT_EQ(::stat(path_.c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777U, 0600U);
  EXPECT_FALSE(std::filesystem::exists(pathWith(".new")));
}

TEST_F(KeyFileDefaults, ValueOfAnyBytesIsReturnedUnchanged) {
  std::string everyByte;
  for (int byte = 0; byte < 256; ++byte) everyByte += static_cast<char>(byte);
  const std::vector<std::string> texts{"",
                                       " ",
                                       "  leading and trailing \t",
                                       "\tx",
                                       "two\nlines\r\n",
                                       "[Defaults]\nosURL=x",
                                       "# no comment",
                                       R"(a=b;c\d\ne\x41)",
                                       "caf\xC3\xA9 \xF0\x9F\x98\x80",
                                       "\xC3",
                                       "\xff\xfe\xC3\x28",
                                       std::string("a\0b", 3),
                                       everyByte,
                                       std::string(100'000, 'x')};
  for (const std::string &text : texts) {
    open().setText("osURL", text);
    open().setText("other", "kept");
    EXPECT_EQ(open().text("osURL"), text);
  }
}

TEST_F(KeyFileDefaults, AnyKeyIsAccepted) {
  const std::vector<std::string> keys{"osURL", "NSWindow Frame ORVELOSMain",
                                      " a ",   "a=b",
                                      "a%3Db", "[a]",
                                      "#a",    "",
                                      "%",     "key[nl]",
                                      "\xff",  "a\nb"};
  for (std::size_t at = 0; at < keys.size(); ++at) open().setText(keys[at], std::to_string(at));
  for (std::size_t at = 0; at < keys.size(); ++at) {
    EXPECT_EQ(open().text(keys[at]), std::to_string(at)) << keys[at];
  }
}

TEST_F(KeyFileDefaults, OtherEntriesAndCommentsAreKept) {
  // The blank line matters: GLib 2.74 inserts one after a comment, and 2.84 does not.
  write("# mine\n\n[Other]\nosURL=elsewhere\n\n[Defaults]\nkept=yes\nosURL=old\n");
  open().setText("osURL", "new");
  EXPECT_EQ(contentsOf(path_),
            "# mine\n\n[Other]\nosURL=elsewhere\n\n[Defaults]\nkept=yes\nosURL=new\n");
}

TEST_F(KeyFileDefaults, ValueStoredByAnotherInstanceIsSeen) {
  auto one = open();
  auto other = open();
  one.setText("one", "1");
  other.setText("other", "2");
  EXPECT_EQ(one.text("other"), "2");
  one.setText("one", "3");
  EXPECT_EQ(other.text("one"), "3");
  EXPECT_EQ(other.text("other"), "2");
}

TEST_F(KeyFileDefaults, UnchangedFileIsReadOnce) {
  constexpr std::size_t fileSize = 1'000'000;
  write("[Defaults]\nosURL=first\n#" + std::string(fileSize, 'x') + "\n");
  auto defaults = open();
  const auto bytesReadByLookup = [&] {
    const std::size_t before = bytesReadByThisThread();
    EXPECT_EQ(defaults.text("osURL"), "first");
    return bytesReadByThisThread() - before;
  };
  EXPECT_GT(bytesReadByLookup(), fileSize);
  // A file that has just been written is read again for a moment.
  const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(60);
  std::size_t bytes = fileSize;
  while (bytes >= fileSize && std::chrono::steady_clock::now() < end) {
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    bytes = bytesReadByLookup();
  }
  EXPECT_LT(bytes, fileSize);
}

TEST_F(KeyFileDefaults, FileThatAppearsAndDisappearsIsSeen) {
  auto defaults = open();
  EXPECT_EQ(defaults.text("osURL"), std::nullopt);
  write("[Defaults]\nosURL=new\n");
  EXPECT_EQ(defaults.text("osURL"), "new");
  std::filesystem::remove(path_);
  EXPECT_EQ(defaults.text("osURL"), std::nullopt);
}

TEST_F(KeyFileDefaults, EditInPlaceIsSeen) {
  write("[Defaults]\nosURL=first\n");
  auto defaults = open();
  EXPECT_EQ(defaults.text("osURL"), "first");
  write("[Defaults]\nosURL=other\n");
  EXPECT_EQ(defaults.text("osURL"), "other");
}

TEST_F(KeyFileDefaults, ChangeByAnotherProcessIsSeen) {
  auto defaults = open();
  defaults.setText("osURL", "first");
  EXPECT_EQ(defaults.text("osURL"), "first");
  const pid_t writer = ::fork();
  ASSERT_GE(writer, 0);
  if (writer == 0) {
    // The same size, so that the size does not reveal the change.
    open().setText("osURL", "other");
    ::_exit(0);
  }
  int status = 0;
  ASSERT_EQ(::waitpid(writer, &status, 0), writer);
  ASSERT_EQ(status, 0);
  EXPECT_EQ(defaults.text("osURL"), "other");
}

TEST_F(KeyFileDefaults, ConcurrentWritersLoseNoValue) {
  auto shared = open();
  std::vector<std::thread> threads;
  for (int writer = 0; writer < 4; ++writer) {
    threads.emplace_back([this, writer, &shared] {
      auto own = open();
      for (int number = 0; number < 25; ++number) {
        auto &defaults = number % 2 == 0 ? own : shared;
        defaults.setText("key" + std::to_string(writer) + "." + std::to_string(number), "stored");
      }
    });
  }
  for (std::thread &thread : threads) thread.join();
  for (int writer = 0; writer < 4; ++writer) {
    for (int number = 0; number < 25; ++number) {
      EXPECT_EQ(shared.text("key" + std::to_string(writer) + "." + std::to_string(number)),
                "stored");
    }
  }
}

TEST_F(KeyFileDefaults, CorruptFileIsKeptUnderAnotherName) {
  const std::string corrupt("[Defaults]\nosURL=x\n\0\0\0\0\0", 24);
  write(corrupt);
  auto defaults = open();
  EXPECT_EQ(defaults.text("osURL"), std::nullopt);
  EXPECT_EQ(contentsOf(path_), corrupt);
  defaults.setText("osURL", "new");
  EXPECT_EQ(open().text("osURL"), "new");
  EXPECT_EQ(contentsOf(pathWith(".damaged")), corrupt);

  write("corrupt again");
  open().setText("osURL", "newer");
  EXPECT_EQ(contentsOf(pathWith(".damaged")), corrupt);
  EXPECT_EQ(contentsOf(pathWith(".damaged.2")), "corrupt again");
}

TEST_F(KeyFileDefaults, InvalidEntryIsAbsent) {
  write("[Defaults]\nosURL=\\q\nother=a\\\nfine=x\n");
  EXPECT_EQ(open().text("osURL"), std::nullopt);
  EXPECT_EQ(open().text("other"), std::nullopt);
  EXPECT_EQ(open().text("fine"), "x");
}

TEST_F(KeyFileDefaults, PipeInPlaceOfFileDoesNotBlock) {
  std::filesystem::create_directories(path_.parent_path());
  ASSERT_EQ(::mkfifo(path_.c_str(), 0600), 0);
  auto defaults = open();
  EXPECT_EQ(defaults.text("osURL"), std::nullopt);
  defaults.setText("osURL", "new");
  EXPECT_EQ(open().text("osURL"), "new");
}

TEST_F(KeyFileDefaults, UnwritableValueIsKeptForThisRun) {
  // A file in place of the folder, which fails for root as well.
  std::filesystem::create_directories(path_.parent_path().parent_path());
  std::ofstream(path_.parent_path()) << "in the way";
  auto defaults = open();
  defaults.setText("osURL", "unsaved");
  EXPECT_EQ(defaults.text("osURL"), "unsaved");
  EXPECT_EQ(open().text("osURL"), std::nullopt);

  std::filesystem::remove(path_.parent_path());
  defaults.setText("other", "saved");
  EXPECT_EQ(open().text("osURL"), "unsaved");
  EXPECT_EQ(open().text("other"), "saved");
}

TEST_F(KeyFileDefaults, KilledWriterLeavesOldOrNewValue) {
  const std::string old(60'000, 'a');
  const std::string fresh(60'000, 'b');
  open().setText("kept", "kept");
  open().setText("osURL", old);
  int keptNew = 0;
  for (int round = 0; round < 60; ++round) {
    auto written = Pipe::create();
    ASSERT_TRUE(written);
    const pid_t writer = ::fork();
    ASSERT_GE(writer, 0);
    if (writer == 0) {
      // If the parent dies, the next write ends this process with SIGPIPE.
      written->reading.reset();
      auto defaults = open();
      for (;;) {
        defaults.setText("osURL", fresh);
        written->writing->write("1");
        defaults.setText("osURL", old);
      }
    }
    char byte = 0;
    ASSERT_EQ(::read(written->reading->descriptor(), &byte, 1), 1);
    // Each round kills the writer at another moment.
    std::this_thread::sleep_for(std::chrono::microseconds(137 * round));
    ::kill(writer, SIGKILL);
    int status = 0;
    ASSERT_EQ(::waitpid(writer, &status, 0), writer);
    ASSERT_TRUE(WIFSIGNALED(status));

    const auto found = open().text("osURL");
    ASSERT_TRUE(found == old || found == fresh) << "round " << round;
    ASSERT_EQ(open().text("kept"), "kept");
    if (found == fresh) ++keptNew;
    ASSERT_FALSE(std::filesystem::exists(pathWith(".damaged")));
  }
  EXPECT_GT(keptNew, 0) << "no writer was killed after a write";
}

}  // namespace
}  // namespace orvel
