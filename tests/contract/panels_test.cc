// What every platform promises of alerts.

#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <vector>

#include "tests/contract/contract_platform.h"

namespace orvel {
namespace {

class PanelsContract : public testing::TestWithParam<PlatformUnderContract> {
 protected:
  void show(const Alert &alert) {
    platform->ports().panels.runModal(alert, [this](const AlertAnswer &answer) {
      EXPECT_TRUE(platform->onMainThread());
      answers.push_back(answer);
    });
  }

  static Alert question() {
    Alert alert;
    alert.messageText = "Adres";
    alert.informativeText = "Kies er een.";
    alert.buttons = {"Bewaar", "Annuleren"};
    alert.textField = AlertTextField{340, 24, "http://127.0.0.1:4767/"};
    return alert;
  }

  std::unique_ptr<ContractPlatform> platform = GetParam().make();
  std::vector<AlertAnswer> answers;
};

// The completion may come inside the answer of the user or after it.
TEST_P(PanelsContract, TellsTheButtonAndTheTextOnce) {
  show(question());
  EXPECT_TRUE(answers.empty());
  platform->answerAlert({0, "https://example.test"});
  ASSERT_TRUE(platform->runUntil([&] { return answers.size() == 1; }));
  EXPECT_EQ(answers[0].button, 0);
  EXPECT_EQ(answers[0].text, "https://example.test");
}

TEST_P(PanelsContract, CountsTheButtonsFromTheFirst) {
  show(question());
  platform->answerAlert({1, ""});
  ASSERT_TRUE(platform->runUntil([&] { return answers.size() == 1; }));
  EXPECT_EQ(answers[0].button, 1);
}

TEST_P(PanelsContract, AnAlertThatIsClosedHasNoButton) {
  show(question());
  platform->answerAlert({std::nullopt, ""});
  ASSERT_TRUE(platform->runUntil([&] { return answers.size() == 1; }));
  EXPECT_EQ(answers[0].button, std::nullopt);
}

TEST_P(PanelsContract, ReturnTakesTheFirstButtonAndTheTextAsItStands) {
  show(question());
  platform->pressInAlert(AlertKey::enter);
  ASSERT_TRUE(platform->runUntil([&] { return answers.size() == 1; }));
  EXPECT_EQ(answers[0].button, 0);
  EXPECT_EQ(answers[0].text, "http://127.0.0.1:4767/");
}

TEST_P(PanelsContract, ReturnTakesTheFirstButtonWithoutAField) {
  Alert confirm;
  confirm.messageText = "Doorgaan?";
  confirm.buttons = {"OK", "Annuleren"};
  show(confirm);
  platform->pressInAlert(AlertKey::enter);
  ASSERT_TRUE(platform->runUntil([&] { return answers.size() == 1; }));
  EXPECT_EQ(answers[0].button, 0);
}

TEST_P(PanelsContract, EscapeClosesAnAlert) {
  show(question());
  platform->pressInAlert(AlertKey::escape);
  ASSERT_TRUE(platform->runUntil([&] { return answers.size() == 1; }));
  EXPECT_EQ(answers[0].button, std::nullopt);
}

TEST_P(PanelsContract, AMessageMayBeOfAnyLength) {
  Alert notice;
  for (int line = 0; line < 2000; ++line) notice.messageText += "Nog een regel é.\n";
  show(notice);
  platform->answerAlert({0, ""});
  EXPECT_TRUE(platform->runUntil([&] { return answers.size() == 1; }));
}

TEST_P(PanelsContract, ThePlatformsOwnButtonIsTheFirst) {
  Alert notice;
  notice.messageText = "Dat is geen geldig adres.";
  show(notice);
  platform->answerAlert({0, ""});
  ASSERT_TRUE(platform->runUntil([&] { return answers.size() == 1; }));
  EXPECT_EQ(answers[0].button, 0);
}

TEST_P(PanelsContract, WorkGoesOnWhileAnAlertIsOpen) {
  show(question());
  bool posted = false;
  bool delayed = false;
  platform->ports().mainQueue.post([&] { posted = true; });
  platform->ports().mainQueue.after(std::chrono::milliseconds(30), [&] { delayed = true; });
  ASSERT_TRUE(platform->runUntil([&] { return posted && delayed; }));
  EXPECT_TRUE(answers.empty());
  platform->answerAlert({0, ""});
  EXPECT_TRUE(platform->runUntil([&] { return answers.size() == 1; }));
}

TEST_P(PanelsContract, ACompletionMayShowTheNextAlert) {
  std::vector<int> order;
  platform->ports().panels.runModal(question(), [&](const AlertAnswer &) {
    order.push_back(1);
    platform->ports().panels.runModal(question(), [&](const AlertAnswer &) { order.push_back(2); });
  });
  platform->answerAlert({0, ""});
  ASSERT_TRUE(platform->runUntil([&] { return order.size() == 1; }));
  platform->answerAlert({0, ""});
  ASSERT_TRUE(platform->runUntil([&] { return order.size() == 2; }));
  EXPECT_EQ(order, (std::vector<int>{1, 2}));
}

INSTANTIATE_TEST_SUITE_P(EveryPlatform, PanelsContract, testing::ValuesIn(platformsUnderContract()),
                         [](const auto &platform) { return platform.param.name; });

}  // namespace
}  // namespace orvel
