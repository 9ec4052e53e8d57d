#include "tests/unit/core_test.h"

namespace orvel {
namespace {

class JavaScriptPanels : public CoreTest {
 protected:
  JavaScriptPanels() { makeWebView(); }

  void confirm() {
    delegate().runJavaScriptConfirmPanel("Doorgaan?",
                                         [this](bool agreed) { answers.push_back(agreed); });
  }

  std::vector<bool> answers;
};

TEST_F(JavaScriptPanels, alertHasTheMessageAndThePlatformsOwnButton) {
  int completions = 0;
  delegate().runJavaScriptAlertPanel("Klaar & <b>goed</b>", [&] { ++completions; });
  Alert expected;
  expected.messageText = "Klaar & <b>goed</b>";
  EXPECT_THAT(fake.panels.shown, ElementsAre(expected));
  fake.scheduler.advance(1h);
  EXPECT_EQ(completions, 0);
  fake.panels.answer({0, ""});
  fake.scheduler.runUntilIdle();
  EXPECT_EQ(completions, 1);
}

TEST_F(JavaScriptPanels, alertThatIsClosedGoesOnToo) {
  int completions = 0;
  delegate().runJavaScriptAlertPanel("Klaar", [&] { ++completions; });
  fake.panels.answer({std::nullopt, ""});
  fake.scheduler.runUntilIdle();
  EXPECT_EQ(completions, 1);
}

TEST_F(JavaScriptPanels, confirmHasTheTwoButtons) {
  confirm();
  Alert expected;
  expected.messageText = "Doorgaan?";
  expected.buttons = {"OK", "Annuleren"};
  EXPECT_THAT(fake.panels.shown, ElementsAre(expected));
  EXPECT_THAT(answers, IsEmpty());
}

TEST_F(JavaScriptPanels, confirmIsTrueForTheFirstButtonOnly) {
  for (const std::optional<int> button :
       {std::optional(0), std::optional(1), std::optional<int>()}) {
    confirm();
    fake.panels.answer({button, ""});
    fake.scheduler.runUntilIdle();
  }
  EXPECT_THAT(answers, ElementsAre(true, false, false));
}

TEST_F(JavaScriptPanels, serverMayExitBehindAnOpenPanel) {
  delegate().startServer();
  confirm();
  lastServer().exit(3);
  fake.scheduler.runUntilIdle();
  EXPECT_EQ(shownError(),
            "De OS-server is gestopt (code 3). Zie ~/orvel-os/v3/.local/server.log. Herstarten met "
            "⌘R.");
  EXPECT_THAT(answers, IsEmpty());
}

TEST_F(JavaScriptPanels, applicationMayQuitBehindAnOpenPanel) {
  delegate().startServer();
  confirm();
  fake.application.requestTermination();
  fake.scheduler.advance(5s);
  EXPECT_TRUE(fake.application.terminated);
  EXPECT_FALSE(lastServer().isRunning());
}

}  // namespace
}  // namespace orvel
