#include <utility>

#include "tests/linux/webkit/page.h"

namespace orvel {
namespace {

class ScriptDialog : public PageTest {
 protected:
  /// Runs a script in a timer of the page. evaluate() alone would wait for the end of the script,
  /// which a dialog blocks until the test answers the dialog.
  void runLater(const std::string &script) { evaluate("setTimeout(() => { " + script + " })"); }
  void runAndWaitForPanel(const std::string &script) {
    runLater(script);
    ASSERT_TRUE(runUntil([this] { return !delegate.panels.empty(); }));
  }
  bool waitForTitle(const std::string &title) { return waitForResult("document.title", title); }
  /// Confirms all panels since the last call, and returns them.
  Strings confirmPanels() {
    for (const auto &completion : delegate.panelCompletions) completion(true);
    delegate.panelCompletions.clear();
    return std::exchange(delegate.panels, {});
  }
};

TEST_F(ScriptDialog, AlertOfFrameIsShown) {
  showPage("<iframe srcdoc='x'></iframe>");
  runAndWaitForPanel("frames[0].alert('inside'); document.title = 'done';");
  EXPECT_EQ(confirmPanels(), Strings{"alert inside"});
  EXPECT_TRUE(waitForTitle("done"));
}

TEST_F(ScriptDialog, PromptReturnsNullWithoutPanel) {
  showPage("page");
  runLater("document.title = '' + prompt('Name?', 'default');");
  EXPECT_TRUE(waitForTitle("null"));
  EXPECT_EQ(delegate.panels, Strings());
}

TEST_F(ScriptDialog, BeforeUnloadShowsNoPanel) {
  showPage("<script>onbeforeunload = event => { event.returnValue = 'stay'; }</script>");
  // WebKit requests a confirmation only after a user gesture, such as a script of evaluate().
  evaluate("0");
  showPage("next");
  EXPECT_EQ(delegate.panels, Strings());
}

TEST_F(ScriptDialog, AnswerAfterViewIsDestroyedIsIgnored) {
  for (const std::string function : {"alert", "confirm"}) {
    showPage("page");
    runAndWaitForPanel(function + "('x');");
    makeView(folder.path());
    confirmPanels();
  }
  showPage("next");
}

TEST_F(ScriptDialog, AnswerAfterWebProcessIsTerminatedIsIgnored) {
  showPage("page");
  runAndWaitForPanel("alert('x');");
  webkit_web_view_terminate_web_process(webKitView());
  confirmPanels();
  showPage("next");
  runAndWaitForPanel("confirm('y'); document.title = 'done';");
  confirmPanels();
  EXPECT_TRUE(waitForTitle("done"));
}

TEST_F(ScriptDialog, PageOrHtmlLoadedDuringAlertIsShownAfterAnswer) {
  showPage("page");
  runAndWaitForPanel("alert('x');");
  load("/next");
  confirmPanels();
  EXPECT_TRUE(waitForText("content of /next"));
  runAndWaitForPanel("alert('x');");
  view->loadHtml("<body>notice</body>");
  confirmPanels();
  EXPECT_TRUE(waitForText("notice"));
}

}  // namespace
}  // namespace orvel
