#include "base/one_shot.h"

#include <gmock/gmock.h>

#include <string>
#include <vector>

namespace orvel {
namespace {

using testing::ElementsAre;

class OneShot : public testing::Test {
 protected:
  /// Returns a one-shot function that appends its argument to `answers_`. The fallback is "none".
  std::function<void(std::string)> makeOneShot() {
    return oneShot<std::string>([this](const std::string &answer) { answers_.push_back(answer); },
                                "none");
  }

  std::vector<std::string> answers_;
};

TEST_F(OneShot, OnlyFirstCallReachesHandler) {
  {
    const auto answer = makeOneShot();
    const auto copy = answer;
    EXPECT_THAT(answers_, ElementsAre());
    answer("yes");
    answer("no");
    copy("no");
  }
  EXPECT_THAT(answers_, ElementsAre("yes")) << "after the destruction of both copies";
}

TEST_F(OneShot, DestructionOfLastCopyWithoutCallPassesFallback) {
  auto answer = makeOneShot();
  auto copy = answer;
  answer = nullptr;
  EXPECT_THAT(answers_, ElementsAre());
  copy = nullptr;
  EXPECT_THAT(answers_, ElementsAre("none"));
}

TEST_F(OneShot, ReentrantCallIsIgnored) {
  int calls = 0;
  std::function<void()> answer;
  answer = oneShot<>([&] {
    ++calls;
    answer();
  });
  answer();
  EXPECT_EQ(calls, 1);
}

}  // namespace
}  // namespace orvel
