// Navigations that would open a window or start a WebKit download. WebKit does neither: the
// delegate gets each URL once.

#include <algorithm>
#include <utility>

#include "tests/linux/webkit/page.h"

namespace orvel {
namespace {

class NewWindow : public PageTest {
 protected:
  /// Shows a page and runs a script on it. The recorded decisions are only those of the script.
  void showAndRun(const std::string &html, const std::string &script) {
    showPage(html);
    delegate.decidedNavigations.clear();
    evaluate(script);
  }
};

class NewWindowNavigation : public NewWindow, public testing::WithParamInterface<NavigationCase> {};

TEST_P(NewWindowNavigation, ReachesDelegateAndSendsNoRequest) {
  setPage("/frame", GetParam().framePage);
  showAndRun(GetParam().html, GetParam().script);
  expectNewWindow("/next?a=b#c");
  EXPECT_EQ(delegate.decidedNavigations, Strings{"newWindow /next?a=b#c"});
  EXPECT_EQ(requestsTo("/next"), Strings());
}

INSTANTIATE_TEST_SUITE_P(
    EveryCause, NewWindowNavigation,
    // The fields are the name, script, page and page of the sub-frame.
    testing::Values(NavigationCase{"LinkWithTargetBlank", "link.click()",
                                   "<a id=link target=_blank href=/next?a=b#c>x</a>"},
                    NavigationCase{"LinkWithUnknownTarget", "link.click()",
                                   "<a id=link target=missing href=/next?a=b#c>x</a>"},
                    NavigationCase{"LinkInFrame", clickLinkInFrame, pageWithFrame,
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

// WebKit asks for no policy decision on window.open(), so the delegate also gets URLs that it would
// cancel as the target of a link.
TEST_F(NewWindow, WindowOpenReturnsNullAndSendsNoRequest) {
  showPage("page");
  const std::vector<std::pair<std::string, std::string>> rows{
      {"'/next'", "/next"},
      {"'/file/1'", "/file/1"},
      {"'/export'", "/export"},
      {"'http://example.test/'", "http://example.test/"},
      {"'/next', 'name', 'width=200'", "/next"},
      {"", "(none)"},
      {"'about:blank'", "about:blank"},
  };
  for (const auto &[arguments, address] : rows) {
    EXPECT_EQ(evaluate("'' + window.open(" + arguments + ")"), "null") << arguments;
    expectNewWindow(address);
    EXPECT_EQ(requestsTo(address), Strings());
  }
}

TEST_F(NewWindow, EachMainLoopIterationHandlesAtMostOneWindowOpenedWithoutUserGesture) {
  // Each open() waits for the reply of this process, so one iteration cannot handle two of them.
  constexpr std::size_t count = 500;
  setPage("/start", "<script>for (let number = 0; number < " + std::to_string(count) +
                        "; ++number) open('/window' + number);</script>");
  load("/start");
  std::size_t windows = 0;
  std::size_t maxPerIteration = 0;
  // The condition is evaluated once in each iteration of the main loop.
  EXPECT_TRUE(runUntil([&] {
    maxPerIteration = std::max(maxPerIteration, delegate.newWindows.size() - windows);
    windows = delegate.newWindows.size();
    return windows >= count;
  }));
  EXPECT_EQ(maxPerIteration, 1U);
  EXPECT_TRUE(waitUntilRequestsArrived());
  ASSERT_EQ(delegate.newWindows.size(), count);
  EXPECT_EQ(delegate.newWindows.back(), "/window" + std::to_string(count - 1));
  EXPECT_EQ(requestsTo("/window"), Strings());
}

TEST_F(NewWindow, WindowOpenWithNameOfFrameNavigatesThatFrame) {
  showAndRun("<iframe name=target src=/frame></iframe>", "window.open('/file/1', 'target')");
  EXPECT_TRUE(waitForResult("frames[0].document.body.innerText", "content of /file/1"));
  evaluate("window.open('/file/2', '_self')");
  expectCancelled({"mainFrame /file/2"});
}

TEST_F(NewWindow, DownloadOfUserOrScriptReachesDelegateWithCauseAndFragment) {
  // A timer that starts when the page is loaded has no user gesture. A script of evaluate() has
  // one.
  showPage(
      "<a id=link download href=/next#part>x</a><script>var clicks = 1;"
      "onload = () => setInterval(() => { if (clicks-- > 0) link.click(); }, 10)</script>");
  expectDownload("script /next#part");
  delegate.decidedNavigations.clear();
  for (int round = 0; round < 2; ++round) {
    evaluate("link.click()");
    expectDownload("user /next#part");
    evaluate("clicks = 1");
    expectDownload("script /next#part");
  }
  // Two clicks in each of two rounds.
  EXPECT_EQ(delegate.decidedNavigations, Strings(4, "mainFrame /next#part"));
}

TEST_F(NewWindow, CancelledLinkWithDownloadAttributeStartsNoDownload) {
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
  expectDownload("user /next");
  EXPECT_EQ(delegate.cancelled, (Strings{"mainFrame /file/1", "mainFrame /file/2"}));
}

TEST_F(NewWindow, ResponseOfBinaryDataOpensNoWindowAndStartsNoDownload) {
  setPage("/binary", std::string(2048, '\1'), "application/octet-stream");
  showPage("<a id=link download href=/next>x</a>");
  runUntilLoadEnds([&] { evaluate("location = '/binary'"); });
  EXPECT_EQ(requestsTo("/binary").size(), 1U);
  // A later download as a barrier: WebKit would report one of the binary data before it.
  evaluate("link.click()");
  expectDownload("user /next");
}

}  // namespace
}  // namespace orvel
