#include "tests/unit/core_test.h"

namespace orvel {
namespace {

class JavascriptPanels : public CoreTest {
 protected:
  JavascriptPanels() { createWebView(); }

  void confirm() {
    delegate().runJavaScriptConfirmPanel("Continue?",
                                         [this](bool confirmed) { answers.push_back(confirmed); });
  }

  std::vector<bool> answers;
};

TEST_F(JavascriptPanels, AlertHasStandardButtonAndCompletesOnlyWhenAnswered) {
  for (const auto &button : std::vector<std::optional<int>>{0, std::nullopt}) {
    int completions = 0;
    delegate().runJavaScriptAlertPanel("Done & <b>good</b>", [&] { ++completions; });
    EXPECT_EQ(fake.panels.shown.back(), Alert{.messageText = "Done & <b>good</b>"});
    fake.scheduler.advance(1h);
    EXPECT_EQ(completions, 0);
    answerAlert(button);
    EXPECT_EQ(completions, 1);
  }
}

TEST_F(JavascriptPanels, ConfirmIsTrueForFirstButtonOnly) {
  const Alert expected{.messageText = "Continue?", .buttons = {"OK", "Annuleren"}};
  for (const auto &button : std::vector<std::optional<int>>{0, 1, std::nullopt}) {
    confirm();
    EXPECT_EQ(fake.panels.shown.back(), expected);
    answerAlert(button);
  }
  EXPECT_THAT(answers, ElementsAre(true, false, false));
}

TEST_F(JavascriptPanels, ServerExitIsReportedWhilePanelIsOpen) {
  delegate().startServer();
  confirm();
  exitServer(3);
  EXPECT_THAT(shownError(), StartsWith("De OS-server is gestopt (code 3)."));
  EXPECT_THAT(answers, IsEmpty());
}

}  // namespace
}  // namespace orvel
