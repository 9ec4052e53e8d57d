// Folder replacement by a process that is killed at each of its system calls in turn.

#include <gtest/gtest.h>

#include <memory>

#include "platform/linux/files/folder_replacement.h"
#include "tests/linux/files/forked_child.h"
#include "tests/support/folder_tree.h"

namespace orvel {
namespace {

namespace fs = std::filesystem;
using namespace posix_test;

struct Scenario {
  std::string name;
  bool crossesFileSystems;
  bool canExchange;
};

class FolderReplacementKill : public testing::TestWithParam<Scenario> {
 protected:
  void SetUp() override {
    if (GetParam().crossesFileSystems && !elsewhere_) {
      GTEST_SKIP() << "no second writable file system";
    }
    if (!GetParam().canExchange && !inChild(disableRenameExchange).value_or(false)) {
      GTEST_SKIP() << "seccomp filters are not allowed";
    }
    if (killAtSystemCall(1, [] { return true; }) == ChildEnd::notTraceable) {
      GTEST_SKIP() << "ptrace is not allowed";
    }
    fs::create_directories(applications_);
  }

  bool replace() const {
    if (!GetParam().canExchange && !disableRenameExchange()) return false;
    return replaceFolder(original_, replacement_);
  }

  const TemporaryFolder folder_;
  const std::unique_ptr<TemporaryFolder> elsewhere_ = folderOnAnotherFileSystem();
  const fs::path applications_ = folder_.path() / "Applications";
  const fs::path original_ = applications_ / "Orvel OS.app";
  const fs::path renamed_ = applications_ / ".Orvel OS.app.oud";
  const fs::path replacement_ =
      (GetParam().crossesFileSystems ? elsewhere_->path() : folder_.path()) / "unpacked";
};

TEST_P(FolderReplacementKill, FolderIsCompletelyOldOrCompletelyNew) {
  int keptOld = 0;
  int gotNew = 0;
  int gotNone = 0;
  ChildEnd end = ChildEnd::killed;
  for (int number = 1; end == ChildEnd::killed; ++number) {
    fs::remove_all(original_);
    fs::remove_all(replacement_);
    const Tree old = makeSmallTree(original_, "old");
    const Tree replacing = makeSmallTree(replacement_, "new");
    end = killAtSystemCall(number, [this] { return replace(); });

    const Tree left = treeOf(original_);
    if (left.empty()) {
      // Between the two renames.
      ++gotNone;
      ASSERT_EQ(treeOf(renamed_), old) << "killed at " << number;
      fs::rename(renamed_, original_);
    } else {
      ++(left == old ? keptOld : gotNew);
      ASSERT_TRUE(left == old || left == replacing) << "killed at " << number;
    }

    fs::remove_all(replacement_);
    const Tree next = makeSmallTree(replacement_, "next");
    ASSERT_EQ(inChild([this] { return replace(); }), true) << "after a kill at " << number;
    ASSERT_EQ(treeOf(original_), next) << "after a kill at " << number;
    ASSERT_EQ(entryCount(applications_), 1) << "after a kill at " << number;
    ASSERT_FALSE(fs::exists(replacement_)) << "after a kill at " << number;
  }
  EXPECT_EQ(end, ChildEnd::succeeded);
  EXPECT_GT(keptOld, 5);
  EXPECT_GT(gotNew, 5);
  if (GetParam().canExchange) {
    EXPECT_EQ(gotNone, 0);
  } else if (!hasSanitizer) {
    EXPECT_GT(gotNone, 0) << "no kill between the two renames";
  }
  RecordProperty("kills", keptOld + gotNew + gotNone);
}

INSTANTIATE_TEST_SUITE_P(EverySystemCall, FolderReplacementKill,
                         testing::Values(Scenario{"OnOneFileSystem", false, true},
                                         Scenario{"AcrossFileSystems", true, true},
                                         Scenario{"WithoutExchange", false, false},
                                         Scenario{"AcrossWithoutExchange", true, false}),
                         [](const auto &scenario) { return scenario.param.name; });

}  // namespace
}  // namespace orvel
