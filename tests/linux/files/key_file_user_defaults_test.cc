#include "platform/linux/files/key_file_user_defaults.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <map>
#include <thread>
#include <vector>

#include "tests/linux/files/forked_child.h"
#include "tests/support/posix_test_support.h"

namespace orvel {
namespace {

using namespace posix_test;
using namespace std::string_literals;

class KeyFileDefaults : public testing::Test {
 protected:
  /// Writes the file of the defaults.
  void write(const std::string &contents) {
    std::filesystem::create_directories(path_.parent_path());
    std::ofstream(path_) << contents;
  }
  /// Returns new defaults that read the file, as after a restart of the application.
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
  std::string pathWithSuffix(const std::string &suffix) { return path_.string() + suffix; }

  const TemporaryFolder folder_;
  const std::filesystem::path path_ = folder_.path() / "config" / "nl.orvel.os" / "defaults.ini";
};

TEST_F(KeyFileDefaults, StoredValueSurvivesRestart) {
  open().setText("osURL", "https://os.test/");
  EXPECT_EQ(open().text("osURL"), "https://os.test/");
  EXPECT_EQ(contentsOf(path_), "[Defaults]\nosURL=https://os.test/\n");
  // The temporary file of the write.
  EXPECT_FALSE(std::filesystem::exists(pathWithSuffix(".new")));
}

TEST_F(KeyFileDefaults, FileAndFolderAreOnlyForOwner) {
  const ScopedUmask umask(0);
  write("");
  // The temporary file of a process that was killed during a write.
  std::ofstream(pathWithSuffix(".new")) << "partial";
  ASSERT_EQ(modeOf(path_.parent_path()), 0777U);
  open().setText("osURL", "https://os.test/");
  EXPECT_EQ(modeOf(path_), 0600U);
  EXPECT_EQ(modeOf(path_.parent_path()), 0700U);
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
                                       "a\0b"s,
                                       everyByte,
                                       std::string(100'000, 'x')};
  for (const std::string &text : texts) {
    open().setText("osURL", text);
    open().setText("other", "kept");
    EXPECT_EQ(open().text("osURL"), text);
  }
}

TEST_F(KeyFileDefaults, KeyOfAnyBytesIsAccepted) {
  std::map<std::string, std::string> values;
  for (const char *key : {"osURL", "NSWindow Frame ORVELOSMain", " a ", "a=b", "a%3Db", "[a]", "#a",
                          "", "%", "key[nl]", "\xff", "a\nb"}) {
    values[key] = "value of " + std::string(key);
    open().setText(key, values[key]);
  }
  for (const auto &[key, value] : values) EXPECT_EQ(open().text(key), value) << key;
}

TEST_F(KeyFileDefaults, OtherEntriesAndCommentsAreKept) {
  // The comment has a blank line after it, because GLib 2.74 would insert one. GLib 2.84 does not.
  write("# mine\n\n[Other]\nosURL=elsewhere\n\n[Defaults]\nkept=yes\nosURL=old\n");
  open().setText("osURL", "new");
  EXPECT_EQ(contentsOf(path_),
            "# mine\n\n[Other]\nosURL=elsewhere\n\n[Defaults]\nkept=yes\nosURL=new\n");
}

TEST_F(KeyFileDefaults, LookupsEventuallyUseCacheOfUnchangedFile) {
  constexpr std::size_t fileSize = 1'000'000;
  write("[Defaults]\nosURL=first\n#" + std::string(fileSize, 'x') + "\n");
  auto defaults = open();
  const auto bytesReadByLookup = [&] {
    const std::size_t before = bytesReadByThisThread();
    EXPECT_EQ(defaults.text("osURL"), "first");
    return bytesReadByThisThread() - before;
  };
  EXPECT_GT(bytesReadByLookup(), fileSize);
  // File systems round times, so the cache is used only some time after a change of the file.
  EXPECT_TRUE(eventually([&] { return bytesReadByLookup() < fileSize; }, std::chrono::seconds(60)));
}

TEST_F(KeyFileDefaults, CreationChangeAndRemovalOfFileAreSeen) {
  auto defaults = open();
  EXPECT_EQ(defaults.text("osURL"), std::nullopt);
  EXPECT_FALSE(std::filesystem::exists(path_.parent_path())) << "created by reading";
  write("[Defaults]\nosURL=first\n");
  EXPECT_EQ(defaults.text("osURL"), "first");
  // The size of the file stays the same, so only its times reveal the change.
  write("[Defaults]\nosURL=other\n");
  EXPECT_EQ(defaults.text("osURL"), "other");
  // Another instance replaces the file by another one.
  open().setText("osURL", "third");
  EXPECT_EQ(defaults.text("osURL"), "third");
  std::filesystem::remove(path_);
  EXPECT_EQ(defaults.text("osURL"), std::nullopt);
}

TEST_F(KeyFileDefaults, ConcurrentWritersLoseNoValue) {
  constexpr int writers = 4;
  constexpr int keysOfWriter = 25;
  const auto key = [](int writer, int number) {
    return "key" + std::to_string(writer) + "." + std::to_string(number);
  };
  auto shared = open();
  std::vector<std::thread> threads;
  for (int writer = 0; writer < writers; ++writer) {
    threads.emplace_back([&, writer] {
      auto own = open();
      for (int number = 0; number < keysOfWriter; ++number) {
        KeyFileUserDefaults &defaults = number % 2 == 0 ? own : shared;
        defaults.setText(key(writer, number), "stored");
      }
    });
  }
  for (std::thread &thread : threads) thread.join();
  for (int index = 0; index < writers * keysOfWriter; ++index) {
    const std::string name = key(index / keysOfWriter, index % keysOfWriter);
    EXPECT_EQ(shared.text(name), "stored") << name;
  }
}

TEST_F(KeyFileDefaults, CorruptFileIsKeptUnderAnotherName) {
  const std::string corrupt = "[Defaults]\nosURL=x\n\0\0\0\0\0"s;
  write(corrupt);
  auto defaults = open();
  EXPECT_EQ(defaults.text("osURL"), std::nullopt);
  EXPECT_EQ(contentsOf(path_), corrupt);
  defaults.setText("osURL", "new");
  EXPECT_EQ(open().text("osURL"), "new");
  EXPECT_EQ(contentsOf(pathWithSuffix(".damaged")), corrupt);

  write("corrupt again");
  open().setText("osURL", "newer");
  EXPECT_EQ(contentsOf(pathWithSuffix(".damaged")), corrupt);
  EXPECT_EQ(contentsOf(pathWithSuffix(".damaged.2")), "corrupt again");
}

TEST_F(KeyFileDefaults, EntryWithMalformedEscapeIsAbsent) {
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

TEST_F(KeyFileDefaults, UnwritableValueIsKeptInMemoryAndWrittenWithNextChange) {
  // A file in place of the folder. Missing permissions would not stop root.
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

TEST_F(KeyFileDefaults, KillAtAnySystemCallLeavesOldOrNewValue) {
  open().setText("other", "kept");
  int oldValues = 0;
  int newValues = 0;
  const bool isTraceable = killAtEverySystemCall(
      [this] { open().setText("osURL", "old"); },
      [this] {
        open().setText("osURL", "new");
        return true;
      },
      [&] {
        const auto value = open().text("osURL");
        EXPECT_TRUE(value == "old" || value == "new") << value.value_or("no value");
        ++(value == "old" ? oldValues : newValues);
        EXPECT_EQ(open().text("other"), "kept");
        EXPECT_FALSE(std::filesystem::exists(pathWithSuffix(".damaged")));
      });
  if (!isTraceable) GTEST_SKIP() << "ptrace is not permitted";
  EXPECT_GT(oldValues, 1);
  // One new value would prove nothing: the child that was not killed leaves one.
  EXPECT_GT(newValues, 1);
}

}  // namespace
}  // namespace orvel
