// What stands at the path when the process is killed while it replaces a
// folder: at every one of its system calls in turn.

#include <gtest/gtest.h>

#include <memory>

#include "platform/linux/files/folder_replacement.h"
#include "tests/linux/files/forked_child.h"
#include "tests/support/folder_tree.h"
#include "tests/support/posix_test_support.h"

namespace orvel {
namespace {

namespace fs = std::filesystem;
using namespace posix_test;

struct Circumstances {
  std::string name;
  bool crossesFileSystems;
  bool canExchange;
};

class KilledReplacement : public testing::TestWithParam<Circumstances> {
 protected:
  void SetUp() override {
    if (GetParam().crossesFileSystems && !elsewhere_) {
      GTEST_SKIP() << "there is no second file system to write to";
    }
    if (!GetParam().canExchange && !inChild(loseExchange).value_or(false)) {
      GTEST_SKIP() << "system calls cannot be filtered here";
    }
    if (killAtSystemCall(1, [] { return true; }) == ChildEnd::notFollowed) {
      GTEST_SKIP() << "child processes cannot be followed here";
    }
    fs::create_directories(applications_);
  }

  bool replace() const {
    if (!GetParam().canExchange && !loseExchange()) return false;
    return replaceFolder(original_.string(), replacement_.string());
  }
  std::ptrdiff_t entriesBesideOriginal() const {
    return std::distance(fs::directory_iterator(applications_), fs::directory_iterator()) - 1;
  }

  const TemporaryFolder folder_;
  const std::unique_ptr<TemporaryFolder> elsewhere_ = folderOnAnotherFileSystem();
  const fs::path applications_ = folder_.path() / "Applications";
  const fs::path original_ = applications_ / "Orvel OS.app";
  const fs::path aside_ = applications_ / ".Orvel OS.app.oud";
  const fs::path replacement_ =
      (GetParam().crossesFileSystems ? elsewhere_->path() : folder_.path()) / "unpacked";
};

TEST_P(KilledReplacement, IsWhollyOldOrWhollyNew) {
  int keptOld = 0;
  int gotNew = 0;
  int nothing = 0;
  ChildEnd end = ChildEnd::killed;
  for (int number = 1; end == ChildEnd::killed; ++number) {
    fs::remove_all(original_);
    fs::remove_all(replacement_);
    const Tree old = makeSmallTree(original_, "old");
    const Tree replacing = makeSmallTree(replacement_, "new");
    end = killAtSystemCall(number, [this] { return replace(); });

    const Tree left = treeOf(original_);
    if (left.empty()) {
      // The one moment between two renames.
      ++nothing;
      ASSERT_EQ(treeOf(aside_), old) << "killed at " << number;
      fs::rename(aside_, original_);
    } else {
      ++(left == old ? keptOld : gotNew);
      ASSERT_TRUE(left == old || left == replacing) << "killed at " << number;
    }

    fs::remove_all(replacement_);
    const Tree next = makeSmallTree(replacement_, "next");
    ASSERT_EQ(inChild([this] { return replace(); }), true) << "after a kill at " << number;
    ASSERT_EQ(treeOf(original_), next) << "after a kill at " << number;
    ASSERT_EQ(entriesBesideOriginal(), 0) << "after a kill at " << number;
    ASSERT_FALSE(fs::exists(replacement_)) << "after a kill at " << number;
  }
  EXPECT_EQ(end, ChildEnd::succeeded);
  EXPECT_GT(keptOld, 5);
  EXPECT_GT(gotNew, 5);
  if (GetParam().canExchange) {
    EXPECT_EQ(nothing, 0);
  } else if (!hasSanitizer) {
    EXPECT_GT(nothing, 0) << "no kill fell between the two renames";
  }
  RecordProperty("kills", keptOld + gotNew + nothing);
}

INSTANTIATE_TEST_SUITE_P(EverySystemCall, KilledReplacement,
                         testing::Values(Circumstances{"OnOneFileSystem", false, true},
                                         Circumstances{"AcrossFileSystems", true, true},
                                         Circumstances{"WithoutExchange", false, false},
                                         Circumstances{"AcrossWithoutExchange", true, false}),
                         [](const auto &circumstances) { return circumstances.param.name; });

}  // namespace
}  // namespace orvel
