// What every platform promises of alerts.

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "tests/contract/contract_platform.h"

namespace orvel {
namespace {

class PanelsContract : public testing::TestWithParam<PlatformUnderContract> {
 protected:
  MainQueue &queue() { return platform->ports().mainQueue; }

  void show(const Alert &alert) {
    platform->ports().panels.runModal(alert, [this](const AlertAnswer &answer) {
      EXPECT_TRUE(platform->onMainThread());
      answers.push_back(answer);
    });
  }

  /// Shows an alert, then has the user act. Both as work in the queue, for the
  /// alert may hold up what shows it until it is answered.
  bool isAnswered(const Alert &alert, const std::function<void()> &act) {
    queue().post([this, alert] { show(alert); });
    queue().post([this, act] {
      EXPECT_TRUE(answers.empty());
      act();
    });
    return platform->runUntil([this] { return answers.size() == 1; });
  }
  bool isAnswered(const Alert &alert, const AlertAnswer &answer) {
    return isAnswered(alert, [this, answer] { platform->answerAlert(answer); });
  }
  bool isAnswered(const Alert &alert, AlertKey key) {
    return isAnswered(alert, [this, key] { platform->pressInAlert(key); });
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

TEST_P(PanelsContract, TellsTheButtonAndTheTextOnce) {
  ASSERT_TRUE(isAnswered(question(), AlertAnswer{0, "https://example.test"}));
  EXPECT_EQ(answers[0].button, 0);
  EXPECT_EQ(answers[0].text, "https://example.test");
}

TEST_P(PanelsContract, CountsTheButtonsFromTheFirst) {
  ASSERT_TRUE(isAnswered(question(), AlertAnswer{1, ""}));
  EXPECT_EQ(answers[0].button, 1);
}

TEST_P(PanelsContract, AnAlertThatIsClosedHasNoButton) {
  ASSERT_TRUE(isAnswered(question(), AlertAnswer{std::nullopt, ""}));
  EXPECT_EQ(answers[0].button, std::nullopt);
}

TEST_P(PanelsContract, ReturnTakesTheFirstButtonAndTheTextAsItStands) {
  ASSERT_TRUE(isAnswered(question(), AlertKey::enter));
  EXPECT_EQ(answers[0].button, 0);
  EXPECT_EQ(answers[0].text, "http://127.0.0.1:4767/");
}

TEST_P(PanelsContract, ReturnTakesTheFirstButtonWithoutAField) {
  Alert confirm;
  confirm.messageText = "Doorgaan?";
  confirm.buttons = {"OK", "Annuleren"};
  ASSERT_TRUE(isAnswered(confirm, AlertKey::enter));
  EXPECT_EQ(answers[0].button, 0);
}

TEST_P(PanelsContract, EscapeClosesAnAlertOrTakesTheButtonThatRefuses) {
  ASSERT_TRUE(isAnswered(question(), AlertKey::escape));
  EXPECT_TRUE(!answers[0].button || answers[0].button == 1);
}

TEST_P(PanelsContract, AMessageMayBeOfAnyLength) {
  Alert notice;
  for (int line = 0; line < 2000; ++line) notice.messageText += "Nog een regel é.\n";
  EXPECT_TRUE(isAnswered(notice, AlertAnswer{0, ""}));
}

TEST_P(PanelsContract, ThePlatformsOwnButtonIsTheFirst) {
  Alert notice;
  notice.messageText = "Dat is geen geldig adres.";
  ASSERT_TRUE(isAnswered(notice, AlertAnswer{0, ""}));
  EXPECT_EQ(answers[0].button, 0);
}

TEST_P(PanelsContract, WorkGoesOnWhileAnAlertIsOpen) {
  int posted = 0;
  EXPECT_TRUE(isAnswered(question(), [&] {
    queue().post([&] { ++posted; });
    queue().after(std::chrono::milliseconds(30), [&] {
      EXPECT_EQ(posted, 1);
      EXPECT_TRUE(answers.empty());
      platform->answerAlert({0, ""});
    });
  }));
}

TEST_P(PanelsContract, ACompletionMayShowTheNextAlert) {
  const auto answer = [&] { platform->answerAlert({0, ""}); };
  std::vector<int> order;
  queue().post([&] {
    platform->ports().panels.runModal(question(), [&](const AlertAnswer &) {
      order.push_back(1);
      queue().post(answer);
      platform->ports().panels.runModal(question(),
                                        [&](const AlertAnswer &) { order.push_back(2); });
    });
  });
  queue().post(answer);
  ASSERT_TRUE(platform->runUntil([&] { return order.size() == 2; }));
  EXPECT_EQ(order, (std::vector<int>{1, 2}));
}

INSTANTIATE_TEST_SUITE_P(EveryPlatform, PanelsContract, testing::ValuesIn(platformsUnderContract()),
                         [](const auto &platform) { return platform.param.name; });

}  // namespace
}  // namespace orvel
