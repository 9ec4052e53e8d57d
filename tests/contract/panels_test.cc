// The contract of alerts.

#include "tests/contract/contract_platform.h"

namespace orvel {
namespace {

class PanelsContract : public ContractTest {
 protected:
  /// Shows an alert, runs the user's action, and waits for the answer. Returns false when no
  /// answer arrives. Both are posted to the main queue, because showing an alert may block
  /// until it is answered.
  bool showAndAct(const Alert &alert, const std::function<void()> &userAction) {
    queue().post([this, alert] {
      platform->interfaces().panels.runModal(alert, [this](const AlertAnswer &answer) {
        EXPECT_TRUE(platform->onMainThread());
        answers.push_back(answer);
      });
    });
    queue().post([this, userAction] {
      EXPECT_TRUE(answers.empty());
      userAction();
    });
    return runUntil([this] { return answers.size() == 1; });
  }
  bool showAndAnswer(const Alert &alert, const AlertAnswer &answer) {
    return showAndAct(alert, [this, answer] { platform->answerAlert(answer); });
  }
  bool showAndPress(const Alert &alert, AlertKey key) {
    return showAndAct(alert, [this, key] { platform->pressInAlert(key); });
  }

  static Alert question() {
    Alert alert;
    alert.messageText = "Address";
    alert.informativeText = "Choose one.";
    alert.buttons = {"Save", "Cancel"};
    alert.textField = AlertTextField{.width = 340, .height = 24, .text = "http://127.0.0.1:4767/"};
    return alert;
  }

  std::vector<AlertAnswer> answers;
};

TEST_P(PanelsContract, FirstButtonReportsIndexZeroAndTypedText) {
  ASSERT_TRUE(showAndAnswer(question(), AlertAnswer{0, "https://example.test"}));
  EXPECT_EQ(answers[0].button, 0);
  EXPECT_EQ(answers[0].text, "https://example.test");
}

TEST_P(PanelsContract, SecondButtonReportsIndexOne) {
  ASSERT_TRUE(showAndAnswer(question(), AlertAnswer{1, ""}));
  EXPECT_EQ(answers[0].button, 1);
}

TEST_P(PanelsContract, ClosedAlertReportsNoButton) {
  ASSERT_TRUE(showAndAnswer(question(), AlertAnswer{std::nullopt, ""}));
  EXPECT_EQ(answers[0].button, std::nullopt);
}

TEST_P(PanelsContract, ReturnPressesFirstButtonWithUnchangedText) {
  ASSERT_TRUE(showAndPress(question(), AlertKey::enter));
  EXPECT_EQ(answers[0].button, 0);
  EXPECT_EQ(answers[0].text, "http://127.0.0.1:4767/");
}

TEST_P(PanelsContract, ReturnPressesFirstButtonWithoutTextField) {
  Alert confirmation;
  confirmation.messageText = "Continue?";
  confirmation.buttons = {"OK", "Cancel"};
  ASSERT_TRUE(showAndPress(confirmation, AlertKey::enter));
  EXPECT_EQ(answers[0].button, 0);
}

TEST_P(PanelsContract, EscapeClosesAlertOrPressesCancel) {
  ASSERT_TRUE(showAndPress(question(), AlertKey::escape));
  EXPECT_TRUE(!answers[0].button || answers[0].button == 1);
}

TEST_P(PanelsContract, AlertWithVeryLongMessageCanBeAnswered) {
  Alert notice;
  for (int line = 0; line < 2000; ++line) notice.messageText += "Another line é.\n";
  EXPECT_TRUE(showAndAnswer(notice, AlertAnswer{0, ""}));
}

TEST_P(PanelsContract, AlertWithoutButtonsHasDefaultButton) {
  Alert notice;
  notice.messageText = "This is not a valid address.";
  ASSERT_TRUE(showAndAnswer(notice, AlertAnswer{0, ""}));
  EXPECT_EQ(answers[0].button, 0);
}

TEST_P(PanelsContract, MainQueueRunsWhileAlertIsOpen) {
  int posted = 0;
  EXPECT_TRUE(showAndAct(question(), [&] {
    queue().post([&] { ++posted; });
    queue().after(std::chrono::milliseconds(30), [&] {
      EXPECT_EQ(posted, 1);
      EXPECT_TRUE(answers.empty());
      platform->answerAlert({0, ""});
    });
  }));
}

TEST_P(PanelsContract, CompletionCanShowAnotherAlert) {
  const auto pressFirstButton = [&] { platform->answerAlert({0, ""}); };
  std::vector<int> order;
  queue().post([&] {
    platform->interfaces().panels.runModal(question(), [&](const AlertAnswer &) {
      order.push_back(1);
      queue().post(pressFirstButton);
      platform->interfaces().panels.runModal(question(),
                                             [&](const AlertAnswer &) { order.push_back(2); });
    });
  });
  queue().post(pressFirstButton);
  ASSERT_TRUE(runUntil([&] { return order.size() == 2; }));
  EXPECT_EQ(order, (std::vector<int>{1, 2}));
}

INSTANTIATE_ON_EVERY_PLATFORM(PanelsContract);

}  // namespace
}  // namespace orvel
