// JavaScript dialogs: alert, confirm, prompt and beforeunload.

#include <utility>

#include "tests/linux/webkit/page.h"

namespace orvel {
namespace {

class ScriptDialog : public PageTest {
 protected:
  /// Starts a script, which runs after this function has returned and the title is cleared. A
  /// dialog blocks the script until it is answered.
  void start(const std::string &script) {
    evaluate("setTimeout(() => { document.title = ''; " + script + " }); 0");
  }
  /// Starts a script and waits for its panel.
  void startAndWaitForPanel(const std::string &script) {
    start(script);
    ASSERT_TRUE(runUntil([this] { return !delegate.panels.empty(); }));
  }
  bool waitForTitle(const std::string &title) { return waitForResult("document.title", title); }
  /// Answers all panels since the last call, and returns them.
  Strings answerPanels(bool isConfirmed = true) {
    for (const auto &completion : delegate.panelCompletions) completion(isConfirmed);
    delegate.panelCompletions.clear();
    return std::exchange(delegate.panels, {});
  }
};

TEST_F(ScriptDialog, AlertBlocksPageUntilAnswered) {
  showPage("page");
  startAndWaitForPanel("alert('Hé <b>\\n⌘'); document.title = 'done'; fetch('/later')");
  EXPECT_EQ(requestsTo("/later"), Strings());
  EXPECT_EQ(answerPanels(), Strings{"alert Hé <b>\n⌘"});
  EXPECT_TRUE(waitForTitle("done"));
  EXPECT_TRUE(runUntil([&] { return requestsTo("/later").size() == 1; }));
  EXPECT_EQ(delegate.panels, Strings());
}

TEST_F(ScriptDialog, ConfirmReturnsAnswer) {
  showPage("page");
  for (const bool isConfirmed : {true, false, true}) {
    startAndWaitForPanel("document.title = '' + confirm('Are you sure?');");
    EXPECT_EQ(answerPanels(isConfirmed), Strings{"confirm Are you sure?"});
    EXPECT_TRUE(waitForTitle(isConfirmed ? "true" : "false"));
  }
}

TEST_F(ScriptDialog, AlertOfFrameIsShown) {
  showPage("<iframe srcdoc='x'></iframe>");
  startAndWaitForPanel("frames[0].alert('inside'); document.title = 'done';");
  EXPECT_EQ(answerPanels(), Strings{"alert inside"});
  EXPECT_TRUE(waitForTitle("done"));
}

TEST_F(ScriptDialog, PromptReturnsNullWithoutPanel) {
  showPage("page");
  start("document.title = '' + prompt('Name?', 'default');");
  EXPECT_TRUE(waitForTitle("null"));
  EXPECT_EQ(delegate.panels, Strings());
}

TEST_F(ScriptDialog, BeforeUnloadShowsNoPanel) {
  showPage("<script>onbeforeunload = event => { event.returnValue = 'stay'; }</script>");
  // The script counts as a user gesture, without which WebKit requests no confirmation.
  evaluate("0");
  showPage("next");
  EXPECT_EQ(delegate.panels, Strings());
}

TEST_F(ScriptDialog, AnswerAfterViewIsDestroyedIsIgnored) {
  for (const std::string function : {"alert", "confirm"}) {
    showPage("page");
    startAndWaitForPanel(function + "('x');");
    makeView(folder.path());
    answerPanels();
  }
  showPage("next");
}

TEST_F(ScriptDialog, AnswerAfterWebProcessIsTerminatedIsIgnored) {
  showPage("page");
  startAndWaitForPanel("alert('x');");
  webkit_web_view_terminate_web_process(webKitView());
  answerPanels();
  showPage("next");
  startAndWaitForPanel("confirm('y'); document.title = 'done';");
  answerPanels();
  EXPECT_TRUE(waitForTitle("done"));
}

TEST_F(ScriptDialog, LoadDuringAlertRunsAfterAnswer) {
  showPage("page");
  startAndWaitForPanel("alert('x');");
  load("/next");
  answerPanels();
  EXPECT_TRUE(waitForText("content of /next"));
}

}  // namespace
}  // namespace orvel
