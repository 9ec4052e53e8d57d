#include "tests/contract/contract_platform.h"

namespace orvel {
namespace {

class PanelsContract : public ContractTest {
 protected:
  /// Shows an alert, runs the user's action, and waits for the answer. Returns false when no
  /// answer arrives. Posts the alert and the action to the main queue, because showing an
  /// alert may block until it is answered.
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
  /// Shows an alert, reads its texts, and presses its default button.
  ShownAlert showAndRead(const Alert &alert) {
    ShownAlert shown;
    EXPECT_TRUE(showAndAct(alert, [&] {
      shown = platform->shownAlert();
      platform->pressButton(shown.defaultButton);
    }));
    EXPECT_EQ(answers.at(0).button, 0);
    return shown;
  }

  static Alert question() {
    return {.messageText = "Address",
            .informativeText = "Choose one.",
            .buttons = {"Save", "Cancel"},
            .textField = {{.width = 340, .height = 24, .text = "http://127.0.0.1:4767/"}}};
  }

  std::vector<AlertAnswer> answers;
};

TEST_P(PanelsContract, TextsAndButtonsAreShown) {
  const ShownAlert expected{"Address", "Choose one.", {"Save", "Cancel"}, "Save"};
  EXPECT_EQ(showAndRead(question()), expected);
}

TEST_P(PanelsContract, MarkupIsShownAsText) {
  Alert alert;
  alert.messageText = "<b>bold</b> & &amp; %s";
  alert.informativeText = "<a href='http://example.test/'>link</a>\n_second line_";
  alert.buttons = {"<i>Yes</i>", "_No", "Maybe & more"};
  const ShownAlert expected{alert.messageText, alert.informativeText, alert.buttons, "<i>Yes</i>"};
  EXPECT_EQ(showAndRead(alert), expected);
}

TEST_P(PanelsContract, AlertWithoutButtonsHasOneDefaultButton) {
  Alert alert;
  alert.messageText = "This is not a valid address.";
  const ShownAlert shown = showAndRead(alert);
  EXPECT_EQ(shown.message, alert.messageText);
  EXPECT_EQ(shown.information, "");
  EXPECT_EQ(shown.buttons, std::vector{shown.defaultButton});
}

TEST_P(PanelsContract, VeryLongMessageIsShown) {
  const std::string line = "Another line é.\n";
  Alert alert;
  for (int number = 0; number < 2000; ++number) alert.messageText += line;
  // A platform may truncate the text after the first hundred lines.
  const std::string beginning = alert.messageText.substr(0, 100 * line.size());
  EXPECT_TRUE(showAndRead(alert).message.starts_with(beginning));
}

TEST_P(PanelsContract, PressedButtonIsReportedByIndexWithTypedText) {
  for (const int button : {0, 1}) {
    answers.clear();
    ASSERT_TRUE(showAndAct(question(), [&] {
      platform->typeInAlert("https://example.test");
      platform->pressButton(question().buttons[static_cast<std::size_t>(button)]);
    }));
    EXPECT_EQ(answers[0].button, button);
    EXPECT_EQ(answers[0].text, "https://example.test");
  }
}

TEST_P(PanelsContract, ClosedAlertReportsNoButton) {
  ASSERT_TRUE(showAndAct(question(), [&] { platform->closeAlert(); }));
  EXPECT_EQ(answers[0].button, std::nullopt);
}

TEST_P(PanelsContract, EnterKeyPressesFirstButtonWithUnchangedText) {
  Alert withoutField = question();
  withoutField.textField.reset();
  for (const Alert &alert : {question(), withoutField}) {
    answers.clear();
    ASSERT_TRUE(showAndAct(alert, [&] { platform->pressInAlert(AlertKey::enter); }));
    EXPECT_EQ(answers[0].button, 0);
    EXPECT_EQ(answers[0].text, alert.textField ? alert.textField->text : "");
  }
}

TEST_P(PanelsContract, EscapeKeyClosesAlertOrPressesLastButton) {
  ASSERT_TRUE(showAndAct(question(), [&] { platform->pressInAlert(AlertKey::escape); }));
  EXPECT_TRUE(!answers[0].button || answers[0].button == 1);
}

TEST_P(PanelsContract, MainQueueRunsWhileAlertIsOpen) {
  int posted = 0;
  EXPECT_TRUE(showAndAct(question(), [&] {
    queue().post([&] { ++posted; });
    queue().after(std::chrono::milliseconds(30), [&] {
      EXPECT_EQ(posted, 1);
      EXPECT_TRUE(answers.empty());
      platform->pressButton("Save");
    });
  }));
}

TEST_P(PanelsContract, CompletionCanShowAnotherAlert) {
  std::vector<int> order;
  const auto pressEnter = [&] { platform->pressInAlert(AlertKey::enter); };
  queue().post([&] {
    // Each key press is posted to the queue, because runModal() may block until the answer.
    platform->interfaces().panels.runModal(question(), [&](const AlertAnswer &) {
      order.push_back(1);
      queue().post(pressEnter);
      platform->interfaces().panels.runModal(question(),
                                             [&](const AlertAnswer &) { order.push_back(2); });
    });
  });
  queue().post(pressEnter);
  ASSERT_TRUE(runUntil([&] { return order.size() == 2; }));
  EXPECT_EQ(order, (std::vector<int>{1, 2}));
}

INSTANTIATE_ON_EVERY_PLATFORM(PanelsContract);

}  // namespace
}  // namespace orvel
