// Navigations of the main frame that the policy cancels. The server must not receive a request,
// however the page starts the navigation. Some pages have a sub-frame, because the view must not
// mistake it for the target of the navigation.

#include "tests/linux/webkit/page.h"

namespace orvel {
namespace {

class MainFrame : public PageTest {
 protected:
  /// Waits until a navigation of the main frame is cancelled. Expects no request for it, and no
  /// other effect.
  void expectCancelledWithoutRequest(const std::string &address) {
    expectCancelled({"mainFrame " + address});
    EXPECT_EQ(requestsTo("/file/"), Strings());
    EXPECT_EQ(requestsTo("/export"), Strings());
  }
};

class MainFrameNavigation : public MainFrame, public testing::WithParamInterface<NavigationCase> {};

TEST_P(MainFrameNavigation, IsCancelledWithoutRequest) {
  setPage("/frame", GetParam().framePage);
  showPage(GetParam().html + pageWithFrame);
  evaluate(GetParam().script);
  expectCancelledWithoutRequest(GetParam().address);
}

INSTANTIATE_TEST_SUITE_P(
    EveryCause, MainFrameNavigation,
    // The fields are the name, script, page, page of the sub-frame and address.
    testing::Values(
        NavigationCase{"Link", "link.click()", "<a id=link href=/file/1>x</a>"},
        NavigationCase{"LinkInFrameWithTargetTop", clickLinkInFrame, "",
                       "<a id=link target=_top href=/file/1>x</a>"},
        NavigationCase{.name = "Script",
                       .script = "location = '/file/1?query#part'",
                       .address = "/file/1?query#part"},
        NavigationCase{"ReloadAfterPushState",
                       "history.pushState(0, '', '/file/1'); location.reload()"},
        NavigationCase{.name = "FormWithGet",
                       .script = "document.forms[0].submit()",
                       .html = "<form action=/file/1><input name=a value=b></form>",
                       .address = "/file/1?a=b"},
        NavigationCase{"FormWithPost", "document.forms[0].submit()",
                       "<form action=/file/1 method=post></form>"},
        NavigationCase{"FormWithTwoRedirects", "document.forms[0].submit()",
                       "<form action=/redirect/307/redirect/307/file/1 method=post></form>"},
        NavigationCase{
            "PageWithBeforeUnload", "location = '/file/1'",
            "<script>onbeforeunload = event => { event.returnValue = 'stay'; }</script>"},
        NavigationCase{.name = "LongQuery",
                       .script = "location = '/file/1?' + 'q'.repeat(100000)",
                       .address = "/file/1?" + std::string(100'000, 'q')},
        NavigationCase{.name = "LongPath",
                       .script = "location = '/file/' + 'p'.repeat(10000)",
                       .address = "/file/" + std::string(10'000, 'p')},
        // The view blocks the address by a content filter, whose pattern is a regular expression.
        // WebKit changes the backslash to a slash. The delegate gets a percent-encoded URL.
        NavigationCase{.name = "CharactersWithMeaningInFilterPattern",
                       .script = R"(location = '/file/a.*+(b)$[c]|{d}^\\"%zz~!@&=,;:_-')",
                       .address = "/file/a.*+(b)$%5Bc%5D%7C%7Bd%7D%5E/%22%25zz~!@&=,;:_-"}),
    caseName);

TEST_F(MainFrame, NavigationWithoutUserGestureIsCancelled) {
  for (const std::string html : {"<script>setTimeout(() => location = '/file/1')</script>",
                                 "<meta http-equiv=refresh content='0;url=/file/1'>"}) {
    setPage("/start", html);
    load("/start");
    expectCancelledWithoutRequest("/file/1");
  }
}

TEST_F(MainFrame, RedirectTargetIsDecidedSeparatelyAndCancelled) {
  for (const std::string status : {"301", "302", "303", "307", "308"}) {
    showPage(pageWithFrame);
    delegate.decidedNavigations.clear();
    const std::string redirect = "/redirect/" + status + "/file/1";
    evaluate("location = '" + redirect + "'");
    expectCancelledWithoutRequest("/file/1");
    EXPECT_EQ(delegate.decidedNavigations, (Strings{"mainFrame " + redirect, "mainFrame /file/1"}));
  }
}

TEST_F(MainFrame, HistoryNavigationAndLoadByApplicationAreCancelled) {
  showPage("first");
  evaluate("history.pushState(0, '', '/file/1')");
  showPage("later");
  evaluate("history.back()");
  expectCancelledWithoutRequest("/file/1");
  load("/file/2");
  expectCancelledWithoutRequest("/file/2");
}

TEST_F(MainFrame, CancelledNavigationFiresNoUnloadEvents) {
  showPage(
      "<script>onbeforeunload = onpagehide = event => {"
      " navigator.sendBeacon('/fired/' + event.type); }</script>");
  evaluate("location = '/file/1'");
  expectCancelledWithoutRequest("/file/1");
  EXPECT_EQ(requestsTo("/fired/"), Strings());
  // As a control, an allowed navigation fires both.
  showPage("later");
  EXPECT_TRUE(runUntil([&] { return requestsTo("/fired/").size() == 2; }));
}

TEST_F(MainFrame, SeveralLinksClickedAtOnceAreAllCancelled) {
  showPage("<a href=/file/1>1</a><a href=/file/2>2</a><a href=/file/3?query>3</a>" + pageWithFrame);
  evaluate("document.querySelectorAll('a').forEach(link => link.click())");
  expectCancelled({"mainFrame /file/1", "mainFrame /file/2", "mainFrame /file/3?query"});
  EXPECT_EQ(requestsTo("/file/"), Strings());
}

TEST_F(MainFrame, SuccessiveNavigationsOfOnePageAreAllCancelled) {
  showPage(pageWithFrame);
  for (const std::string address : {"/file/1", "/file/2", "/file/1"}) {
    evaluate("location = '" + address + "'");
    expectCancelledWithoutRequest(address);
  }
}

TEST_F(MainFrame, PendingFetchSurvivesCancelledNavigation) {
  showPage(
      "<script>fetch('/held/a').then(() => document.title += 'a', () => document.title += 'x');"
      "</script>");
  ASSERT_TRUE(runUntil([&] { return !requestsTo("/held/a").empty(); }));
  evaluate("location = '/file/1'");
  expectCancelledWithoutRequest("/file/1");
  releaseHeldResponses();
  EXPECT_TRUE(waitForResult("document.title", "a"));
}

TEST_F(MainFrame, UrlThatPolicyAllowsInNoFrameIsDecidedOnce) {
  showPage("page");
  delegate.decidedNavigations.clear();
  evaluate("location = '/export?a=b'");
  expectCancelledWithoutRequest("/export?a=b");
  EXPECT_EQ(delegate.decidedNavigations.size(), 1U);
}

TEST_F(MainFrame, FileInSubFrameIsCancelledWhenContentFilterCannotBeStored) {
  // A file in place of the data and cache folder. Without a stored content filter the view cannot
  // determine the frame of a navigation, and reports the main frame.
  makeView(folder.file("file", "no folder"));
  showPage(pageWithFrame);
  evaluate("location = '/file/1'");
  expectCancelledWithoutRequest("/file/1");
  evaluate("frames[0].location = '/file/2'");
  expectCancelledWithoutRequest("/file/2");
}

}  // namespace
}  // namespace orvel
