// Navigations that would open a window or start a WebKit download. Neither happens: the
// delegate gets each request once.

#include <algorithm>

#include "tests/linux/webkit/page.h"

namespace orvel {
namespace {

class NewWindow : public PageTest {
 protected:
  void showAndRun(const std::string &html, const std::string &script) {
    showPage(html);
    delegate.decisions.clear();
    evaluate(script);
  }
  void expectReportedWithoutRequest(const std::string &address) {
    expectWindowRequest(address);
    EXPECT_EQ(requestsTo(address), Strings());
  }
};

class NewWindowNavigation : public NewWindow, public testing::WithParamInterface<NavigationCase> {};

TEST_P(NewWindowNavigation, IsReportedWithoutRequest) {
  setPage("/frame", GetParam().framePage);
  showAndRun(GetParam().html, GetParam().script);
  expectWindowRequest("/next?a=b#c");
  EXPECT_EQ(delegate.decisions, Strings{"newWindow /next?a=b#c"});
  EXPECT_EQ(requestsTo("/next"), Strings());
}

INSTANTIATE_TEST_SUITE_P(
    EveryCause, NewWindowNavigation,
    testing::Values(NavigationCase{"LinkWithTargetBlank", "link.click()",
                                   "<a id=link target=_blank href=/next?a=b#c>x</a>"},
                    NavigationCase{"LinkWithUnknownTarget", "link.click()",
                                   "<a id=link target=missing href=/next?a=b#c>x</a>"},
                    NavigationCase{"LinkInFrame",
                                   "frames[0].document.getElementById('link').click()",
                                   "<iframe src=/frame></iframe>",
                                   "<a id=link target=_blank href=/next?a=b#c>x</a>"},
                    NavigationCase{"FormWithTargetBlank", "document.forms[0].submit()",
                                   "<form target=_blank method=post action=/next?a=b#c></form>"}),
    caseName);

TEST_F(NewWindow, CancelledLinkOpensNoWindow) {
  for (const std::string address : {"/file/1", "/export", "http://example.test/"}) {
    showAndRun("<a id=link target=_blank href=" + address + ">x</a>", "link.click()");
    expectCancelled({"newWindow " + address});
    EXPECT_EQ(requestsTo(address), Strings());
  }
}

TEST_F(NewWindow, ScriptOpenedWindowIsReported) {
  showPage("<iframe src=/frame></iframe>");
  for (const std::string address : {"/next", "/file/1", "/export", "http://example.test/"}) {
    EXPECT_EQ(evaluate("'' + window.open('" + address + "')"), "null");
    expectReportedWithoutRequest(address);
  }
  evaluate("window.open('/next', 'name', 'width=200')");
  expectWindowRequest("/next");
  evaluate("window.open()");
  expectWindowRequest("(none)");
  evaluate("window.open('about:blank')");
  expectWindowRequest("about:blank");
}

TEST_F(NewWindow, ThousandsOfWindowsWithoutUserGestureAreReportedOnePerIteration) {
  constexpr std::size_t count = 2000;
  setPage("/start", "<script>for (let number = 0; number < " + std::to_string(count) +
                        "; ++number) open('/window' + number);</script>");
  load("/start");
  std::size_t reported = 0;
  std::size_t maxPerIteration = 0;
  // The condition is evaluated once in each iteration of the main loop.
  EXPECT_TRUE(runUntil([&] {
    maxPerIteration = std::max(maxPerIteration, delegate.requestedWindows.size() - reported);
    reported = delegate.requestedWindows.size();
    return reported >= count;
  }));
  EXPECT_EQ(maxPerIteration, 1U);
  EXPECT_TRUE(waitForSentRequests());
  ASSERT_EQ(delegate.requestedWindows.size(), count);
  EXPECT_EQ(delegate.requestedWindows.back(), "/window" + std::to_string(count - 1));
  EXPECT_EQ(requestsTo("/window"), Strings());
}

TEST_F(NewWindow, ScriptWithNameOfFrameNavigatesThatFrame) {
  showAndRun("<iframe name=target src=/frame></iframe>", "window.open('/file/1', 'target')");
  EXPECT_TRUE(waitForResult("frames[0].document.body.innerText", "content of /file/1"));
  evaluate("window.open('/file/2', '_self')");
  expectCancelled({"mainFrame /file/2"});
}

TEST_F(NewWindow, AllowedDownloadLinkIsReportedAsWindow) {
  showAndRun("<a id=link download href=/next>x</a>", "link.click()");
  expectWindowRequest("/next");
  EXPECT_EQ(delegate.decisions, Strings{"mainFrame /next"});
}

TEST_F(NewWindow, CancelledDownloadLinkIsNotReportedAsWindow) {
  for (const std::string address : {"/export", "/file/1"}) {
    showPage("<a id=link download href=" + address + ">x</a>");
    for (std::size_t clicks = 1; clicks < 4; ++clicks) {
      evaluate("link.click()");
      expectCancelled({"mainFrame " + address});
      // WebKit starts the request before the download can be cancelled, so it may be sent.
      EXPECT_LE(requestsTo(address).size(), clicks);
    }
  }
}

TEST_F(NewWindow, SeveralDownloadLinksClickedAtOnceAreAllDecided) {
  showAndRun(
      "<a download href=/file/1>1</a><a download href=/file/2>2</a><a download href=/next>3</a>",
      "document.querySelectorAll('a').forEach(link => link.click())");
  EXPECT_TRUE(runUntil([&] { return delegate.cancelled.size() == 2; }));
  expectWindowRequest("/next");
  EXPECT_EQ(delegate.cancelled, (Strings{"mainFrame /file/1", "mainFrame /file/2"}));
}

TEST_F(NewWindow, ResponseThatCannotBeShownIsNotReported) {
  showPage("page");
  setPage("/odd.bin", std::string(2048, '\1'));
  evaluate("location = '/odd.bin'");
  EXPECT_TRUE(runUntil([&] { return !requestsTo("/odd.bin").empty(); }));
  EXPECT_EQ(delegate.requestedWindows, Strings());
}

}  // namespace
}  // namespace orvel
