// JavaScript dialogs: alert, confirm, prompt and beforeunload.

#include "tests/linux/webkit/page.h"

namespace orvel {
namespace {

class ScriptDialog : public PageTest {
 protected:
  /// Runs a script that blocks until its dialog is answered.
  void start(const std::string &script) {
    evaluate("setTimeout(() => { document.title = '(open)'; " + script + " }); 0");
  }
  bool untilTitle(const std::string &title) { return untilScript("document.title", title); }
  bool untilAlert() {
    return until([this] { return delegate.alerts.size() == 1; });
  }
  bool untilConfirm() {
    return until([this] { return delegate.confirms.size() == 1; });
  }
};

TEST_F(ScriptDialog, AlertBlocksPageUntilAnswered) {
  show("page");
  start("alert('Hé <b>\\n⌘'); document.title = 'done'; fetch('/later')");
  ASSERT_TRUE(untilAlert());
  EXPECT_EQ(delegate.panels, Strings{"alert Hé <b>\n⌘"});
  EXPECT_EQ(requests("GET /later"), Strings());
  delegate.alerts.front()();
  EXPECT_TRUE(untilTitle("done"));
  EXPECT_TRUE(until([&] { return requests("GET /later").size() == 1; }));
  EXPECT_EQ(delegate.panels.size(), 1U);
}

TEST_F(ScriptDialog, ConfirmReturnsAnswer) {
  show("page");
  for (const bool agreed : {true, false, true}) {
    start("document.title = '' + confirm('Are you sure?');");
    ASSERT_TRUE(untilConfirm());
    delegate.confirms.front()(agreed);
    EXPECT_TRUE(untilTitle(agreed ? "true" : "false"));
    delegate.confirms.clear();
  }
  EXPECT_EQ(delegate.panels, Strings(3, "confirm Are you sure?"));
}

TEST_F(ScriptDialog, AlertOfFrameIsShown) {
  show("<iframe srcdoc='x'></iframe>");
  start("frames[0].alert('inside'); document.title = 'done';");
  ASSERT_TRUE(untilAlert());
  delegate.alerts.front()();
  EXPECT_TRUE(untilTitle("done"));
}

TEST_F(ScriptDialog, PromptReturnsNullWithoutPanel) {
  show("page");
  start("document.title = '' + prompt('Name?', 'default');");
  EXPECT_TRUE(untilTitle("null"));
  EXPECT_EQ(delegate.panels, Strings());
}

TEST_F(ScriptDialog, BeforeUnloadShowsNoPanel) {
  show("<script>onbeforeunload = event => { event.returnValue = 'stay'; }</script>");
  evaluate("0");
  show("next");
  EXPECT_EQ(delegate.panels, Strings());
}

TEST_F(ScriptDialog, AnswerAfterViewIsDestroyedIsIgnored) {
  for (const std::string kind : {"alert", "confirm"}) {
    show("page");
    start(kind + "('x');");
    ASSERT_TRUE(until([&] { return !delegate.panels.empty(); }));
    makeView(folder.path());
    for (const auto &completion : delegate.alerts) completion();
    for (const auto &completion : delegate.confirms) completion(true);
    delegate.panels.clear();
    delegate.alerts.clear();
    delegate.confirms.clear();
  }
  show("next");
}

TEST_F(ScriptDialog, AnswerAfterWebProcessIsTerminatedIsIgnored) {
  show("page");
  start("alert('x');");
  ASSERT_TRUE(untilAlert());
  webkit_web_view_terminate_web_process(webKit());
  delegate.alerts.front()();
  delegate.alerts.clear();
  show("next");
  start("confirm('y'); document.title = 'done';");
  ASSERT_TRUE(untilConfirm());
  delegate.confirms.front()(true);
  EXPECT_TRUE(untilTitle("done"));
}

TEST_F(ScriptDialog, LoadDuringAlertRunsAfterAnswer) {
  show("page");
  start("alert('x');");
  ASSERT_TRUE(untilAlert());
  load("/next");
  delegate.alerts.front()();
  EXPECT_TRUE(untilText("content of /next"));
}

}  // namespace
}  // namespace orvel
