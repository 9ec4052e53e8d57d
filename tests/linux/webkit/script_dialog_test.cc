// What scripts of a page ask the user.

#include "tests/linux/webkit/page.h"

namespace orvel {
namespace {

class LinuxScriptDialog : public LinuxPage {
 protected:
  /// Runs a script that does not come back before a panel has been answered.
  void start(const std::string &script) {
    evaluate("setTimeout(() => { document.title = '(open)'; " + script + " }); 0");
  }
  bool titleIs(const std::string &title) { return untilPage("document.title", title); }
};

TEST_P(LinuxScriptDialog, AnAlertKeepsThePageUntilItIsAnswered) {
  show("pagina");
  start("alert('Hé <b>\\n⌘'); document.title = 'klaar'; fetch('/later')");
  ASSERT_TRUE(until([&] { return delegate.alerts.size() == 1; }));
  EXPECT_EQ(delegate.panels, Strings{"alert Hé <b>\n⌘"});
  EXPECT_EQ(requests("GET /later"), Strings());
  delegate.alerts.front()();
  EXPECT_TRUE(titleIs("klaar"));
  EXPECT_TRUE(until([&] { return requests("GET /later").size() == 1; }));
  EXPECT_EQ(delegate.panels.size(), 1U);
}

TEST_P(LinuxScriptDialog, AConfirmTellsThePageTheAnswer) {
  show("pagina");
  for (const bool agreed : {true, false, true}) {
    start("document.title = '' + confirm('Weet u het zeker?');");
    ASSERT_TRUE(until([&] { return delegate.confirms.size() == 1; }));
    delegate.confirms.front()(agreed);
    EXPECT_TRUE(titleIs(agreed ? "true" : "false"));
    delegate.confirms.clear();
  }
  EXPECT_EQ(delegate.panels, Strings(3, "confirm Weet u het zeker?"));
}

TEST_P(LinuxScriptDialog, AnAlertInAFrame) {
  show("<iframe srcdoc='x'></iframe>");
  start("frames[0].alert('binnen'); document.title = 'klaar';");
  ASSERT_TRUE(until([&] { return delegate.alerts.size() == 1; }));
  delegate.alerts.front()();
  EXPECT_TRUE(titleIs("klaar"));
}

TEST_P(LinuxScriptDialog, APromptAnswersNothingAtOnce) {
  show("pagina");
  start("document.title = '' + prompt('Naam?', 'standaard');");
  EXPECT_TRUE(titleIs("null"));
  EXPECT_EQ(delegate.panels, Strings());
}

TEST_P(LinuxScriptDialog, APageIsLeftWithoutAQuestion) {
  show("<script>onbeforeunload = event => { event.returnValue = 'blijf'; }</script>");
  evaluate("0");
  show("volgende");
  EXPECT_EQ(delegate.panels, Strings());
}

TEST_P(LinuxScriptDialog, TheViewGoesWhileOneIsOpen) {
  for (const std::string kind : {"alert", "confirm"}) {
    show("pagina");
    start(kind + "('x');");
    ASSERT_TRUE(until([&] { return !delegate.panels.empty(); }));
    makeView(folder);
    for (const auto &completion : delegate.alerts) completion();
    for (const auto &completion : delegate.confirms) completion(true);
    delegate.panels.clear();
    delegate.alerts.clear();
    delegate.confirms.clear();
  }
  show("volgende");
}

TEST_P(LinuxScriptDialog, TheProcessOfThePageEndsWhileOneIsOpen) {
  show("pagina");
  start("alert('x');");
  ASSERT_TRUE(until([&] { return delegate.alerts.size() == 1; }));
  webkit_web_view_terminate_web_process(webKit());
  ASSERT_TRUE(until([&] { return true; }));
  delegate.alerts.front()();
  delegate.alerts.clear();
  show("volgende");
  start("confirm('y'); document.title = 'klaar';");
  ASSERT_TRUE(until([&] { return delegate.confirms.size() == 1; }));
  delegate.confirms.front()(true);
  EXPECT_TRUE(titleIs("klaar"));
}

TEST_P(LinuxScriptDialog, ALoadWhileOneIsOpen) {
  show("pagina");
  start("alert('x');");
  ASSERT_TRUE(until([&] { return delegate.alerts.size() == 1; }));
  load("/next");
  delegate.alerts.front()();
  EXPECT_TRUE(untilPage("document.body ? document.body.innerText : ''", "inhoud van /next"));
}

INSTANTIATE_TEST_SUITE_P(WebKitGtk, LinuxScriptDialog, testing::Values("Linux"),
                         [](const auto &platform) { return platform.param; });

}  // namespace
}  // namespace orvel
