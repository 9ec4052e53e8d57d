// Navigations of the main frame that the policy cancels. The server must not receive a
// request, however the page starts the navigation.

#include "tests/linux/webkit/page.h"

namespace orvel {
namespace {

class MainFrame : public PageTest {
 protected:
  /// Waits for the decision and expects that it had no other effect.
  void expectCancelled(const std::string &address) {
    EXPECT_TRUE(untilCancelled());
    EXPECT_TRUE(settle());
    EXPECT_EQ(delegate.cancelled, Strings{"mainFrame " + address});
    EXPECT_EQ(requests("GET /file/"), Strings());
    EXPECT_EQ(requests("POST /file/"), Strings());
    EXPECT_EQ(delegate.windows, Strings());
    delegate.cancelled.clear();
  }
  void showPageWithFrame() { show("<iframe src=/frame></iframe>"); }
};

struct MainFrameSource {
  std::string name;
  std::string html;
  std::string script;
  std::string address;
};

class MainFrameNavigation : public MainFrame,
                            public testing::WithParamInterface<MainFrameSource> {};

TEST_P(MainFrameNavigation, IsCancelledWithoutRequest) {
  setPage("/frame", "<a id=link target=_top href=/file/1>x</a>");
  show(GetParam().html + "<iframe src=/frame></iframe>");
  evaluate(GetParam().script);
  expectCancelled(GetParam().address);
}

INSTANTIATE_TEST_SUITE_P(
    EverySource, MainFrameNavigation,
    testing::Values(
        MainFrameSource{"Link", "<a id=link href=/file/1>x</a>", "link.click()", "/file/1"},
        MainFrameSource{"LinkInFrameWithTargetTop", "",
                        "frames[0].document.getElementById('link').click()", "/file/1"},
        MainFrameSource{"Script", "", "location = '/file/1?query#part'", "/file/1?query#part"},
        MainFrameSource{"FormWithGet", "<form action=/file/1><input name=a value=b></form>",
                        "document.forms[0].submit()", "/file/1?a=b"},
        MainFrameSource{"FormWithPost", "<form action=/file/1 method=post></form>",
                        "document.forms[0].submit()", "/file/1"},
        MainFrameSource{"FormWithTwoRedirects",
                        "<form action=/redirect/307/redirect/307/file/1 method=post></form>",
                        "document.forms[0].submit()", "/file/1"},
        MainFrameSource{
            "PageWithBeforeUnload",
            "<script>onbeforeunload = event => { event.returnValue = 'stay'; }</script>",
            "location = '/file/1'", "/file/1"},
        MainFrameSource{"LongQuery", "", "location = '/file/1?' + 'q'.repeat(100000)",
                        "/file/1?" + std::string(100'000, 'q')},
        MainFrameSource{"LongPath", "", "location = '/file/' + 'p'.repeat(10000)",
                        "/file/" + std::string(10'000, 'p')},
        MainFrameSource{"CharactersWithMeaningInFilterPattern", "",
                        R"(location = '/file/a.*+(b)$[c]|{d}^\\"%zz~!@&=,;:_-')",
                        "/file/a.*+(b)$%5Bc%5D%7C%7Bd%7D%5E/%22%25zz~!@&=,;:_-"}),
    [](const auto &source) { return source.param.name; });

TEST_F(MainFrame, NavigationWithoutUserGestureIsCancelled) {
  for (const std::string html : {"<script>setTimeout(() => location = '/file/1')</script>",
                                 "<meta http-equiv=refresh content='0;url=/file/1'>"}) {
    setPage("/start", html);
    load("/start");
    expectCancelled("/file/1");
  }
}

TEST_F(MainFrame, RedirectIsDecidedAgainAndCancelled) {
  for (const std::string status : {"301", "302", "303", "307", "308"}) {
    showPageWithFrame();
    delegate.decisions.clear();
    evaluate("location = '/redirect/" + status + "/file/1'");
    expectCancelled("/file/1");
    EXPECT_EQ(delegate.decisions.front(), "mainFrame /redirect/" + status + "/file/1");
    EXPECT_EQ(delegate.decisions.size(), 2U);
  }
}

TEST_F(MainFrame, ReloadAfterPushStateIsCancelled) {
  show("page");
  evaluate("history.pushState(0, '', '/file/1')");
  evaluate("location.reload()");
  expectCancelled("/file/1");
}

TEST_F(MainFrame, HistoryNavigationIsCancelled) {
  show("first");
  evaluate("history.pushState(0, '', '/file/1')");
  show("later");
  evaluate("history.back()");
  expectCancelled("/file/1");
}

TEST_F(MainFrame, LoadByApplicationIsCancelled) {
  show("page");
  load("/file/1");
  expectCancelled("/file/1");
}

TEST_F(MainFrame, CancelledNavigationFiresNoUnloadEvents) {
  show("<script>onbeforeunload = onpagehide = () => { document.title += 'unloaded'; }</script>");
  evaluate("location = '/file/1'");
  expectCancelled("/file/1");
  EXPECT_EQ(evaluate("document.title"), "");
  // Control: an allowed navigation fires beforeunload.
  evaluate("onbeforeunload = () => { navigator.sendBeacon('/unloaded'); }");
  show("later");
  EXPECT_EQ(requests("POST /unloaded").size(), 1U);
}

TEST_F(MainFrame, SeveralLinksClickedAtOnceAreAllCancelled) {
  show(
      "<a href=/file/1>1</a><a href=/file/2>2</a><a href=/file/3?query>3</a>"
      "<iframe src=/frame></iframe>");
  evaluate("document.querySelectorAll('a').forEach(link => link.click())");
  EXPECT_TRUE(until([&] { return delegate.cancelled.size() == 3; }));
  EXPECT_TRUE(settle());
  EXPECT_EQ(delegate.cancelled,
            (Strings{"mainFrame /file/1", "mainFrame /file/2", "mainFrame /file/3?query"}));
  EXPECT_EQ(requests("GET /file/"), Strings());
}

TEST_F(MainFrame, RepeatedNavigationsAreCancelled) {
  showPageWithFrame();
  for (const std::string address : {"/file/1", "/file/2", "/file/1"}) {
    evaluate("location = '" + address + "'");
    expectCancelled(address);
  }
}

TEST_F(MainFrame, PendingFetchSurvivesCancelledNavigation) {
  show(
      "<script>fetch('/gate/a').then(() => document.title += 'a', () => document.title += 'x');"
      "</script>");
  ASSERT_TRUE(until([&] { return !requests("GET /gate/a").empty(); }));
  evaluate("location = '/file/1'");
  expectCancelled("/file/1");
  openGate();
  EXPECT_TRUE(untilScript("document.title", "a"));
}

TEST_F(MainFrame, AddressCancelledInEveryFrameIsDecidedOnce) {
  show("page");
  delegate.decisions.clear();
  evaluate("location = '/export?a=b'");
  expectCancelled("/export?a=b");
  EXPECT_EQ(requests("GET /export"), Strings());
  EXPECT_EQ(delegate.decisions.size(), 1U);
}

TEST_F(MainFrame, WithoutContentFilterSubFrameCountsAsMainFrame) {
  // A file in place of the folder prevents the filter from being stored.
  makeView(folder.file("file", "no folder"));
  showPageWithFrame();
  evaluate("location = '/file/1'");
  expectCancelled("/file/1");
  evaluate("frames[0].location = '/file/2'");
  expectCancelled("/file/2");
}

}  // namespace
}  // namespace orvel
