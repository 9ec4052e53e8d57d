// Navigations that the policy allows only in sub-frames, also while the main frame navigates to the
// same address. WebKit does not report the frame of a navigation, so the view determines the frame
// by a probe (WebKitFrameProbe): the view allows the navigation, and a beforeunload handler or a
// content filter stops the navigation if its target is the main frame.

#include "tests/linux/webkit/page.h"

namespace orvel {
namespace {

class SubFrame : public PageTest {
 protected:
  bool waitForFrameText(const std::string &text) {
    return waitForResult(
        "frames[0] && frames[0].document.body ? frames[0].document.body.innerText.trim() : ''",
        text);
  }
  /// Waits until the first frame shows the file at an address. Expects one request for it and no
  /// other effect.
  void expectShown(const std::string &address, const std::string &method = "GET") {
    const std::string path = address.substr(0, address.find('#'));
    EXPECT_TRUE(waitForFrameText("content of " + path));
    EXPECT_TRUE(waitUntilRequestsArrived());
    EXPECT_EQ(requestsTo(path), Strings{method + " " + path});
    EXPECT_EQ(delegate.decidedNavigations.back(), "subFrame " + address);
    EXPECT_EQ(delegate.cancelled, Strings());
    EXPECT_EQ(delegate.newWindows, Strings());
  }
  /// Loads a page with files in two frames, so that one navigation may wait for the probe of the
  /// other. Waits until the view asks for the policy of one file, which is when a probe starts.
  void startProbe() {
    setPage("/start", "<iframe src=/file/1></iframe><iframe src=/file/3></iframe>");
    load("/start");
    ASSERT_TRUE(runUntil([&] { return delegate.lastPolicyQuery.starts_with("subFrame /file/"); }));
  }
  /// Redirects the main frame and the first frame to one file each at the same time. Expects that
  /// the first frame shows its file and that the main frame is cancelled before it requests one.
  void expectOnlyFrameFollowsRedirect(const std::string &mainFile, const std::string &frameFile) {
    // The server responds to both requests only after `releaseHeldResponses`.
    const std::string redirect = "/held/redirect/302";
    showPage(pageWithFrame);
    evaluate("location = '" + redirect + mainFile + "'");
    ASSERT_TRUE(runUntil([&] { return requestsTo(redirect).size() == 1; }));
    evaluate("frames[0].location = '" + redirect + frameFile + "'");
    ASSERT_TRUE(runUntil([&] { return requestsTo(redirect).size() == 2; }));
    releaseHeldResponses();
    EXPECT_TRUE(waitForFrameText("content of " + frameFile));
    expectCancelled({"mainFrame " + mainFile});
    EXPECT_EQ(requestsTo("/file/"), Strings{"GET " + frameFile});
  }
};

class SubFrameNavigation : public SubFrame, public testing::WithParamInterface<NavigationCase> {};

TEST_P(SubFrameNavigation, IsShownWithOneRequest) {
  setPage("/frame", GetParam().framePage);
  showPage(GetParam().html);
  evaluate(GetParam().script);
  expectShown(GetParam().address);
}

INSTANTIATE_TEST_SUITE_P(
    EveryCause, SubFrameNavigation,
    // The fields are the name, script, page, page of the sub-frame and address.
    testing::Values(
        // The page starts this navigation without a script.
        NavigationCase{"FrameAttribute", "0", "<iframe src=/file/1></iframe>"},
        NavigationCase{"Script", "frames[0].location = '/file/1'", pageWithFrame},
        NavigationCase{.name = "ScriptWithFragment",
                       .script = "frames[0].location = '/file/1#part'",
                       .html = pageWithFrame,
                       .address = "/file/1#part"},
        NavigationCase{"LastOfSeveralFrameAttributes",
                       "for (let file = 5; file > 0; --file)"
                       " document.querySelector('iframe').src = '/file/' + file",
                       pageWithFrame},
        NavigationCase{"Redirect", "frames[0].location = '/redirect/302/file/1'", pageWithFrame},
        NavigationCase{"LinkInFrame", clickLinkInFrame, pageWithFrame,
                       "<a id=link href=/file/1>x</a>"},
        NavigationCase{"LinkWithNameOfFrame", "link.click()",
                       "<iframe name=target src=/frame></iframe>"
                       "<a id=link target=target href=/file/1>x</a>"},
        NavigationCase{
            "FrameWithBeforeUnload", "frames[0].location = '/file/1'", pageWithFrame,
            "<script>onbeforeunload = event => { event.returnValue = 'stay'; }</script>"}),
    caseName);

TEST_F(SubFrame, FormWithNameOfFrameIsShown) {
  showPage(
      "<iframe name=target src=/frame></iframe>"
      "<form method=post target=target action=/file/1></form>");
  evaluate("document.forms[0].submit()");
  expectShown("/file/1", "POST");
}

TEST_F(SubFrame, NavigationToFragmentOfShownFileSendsNoRequest) {
  setPage("/file/1", "<a id=link href=#part>x</a><p id=part>content of /file/1");
  showPage("<iframe src=/file/1></iframe>");
  evaluate(clickLinkInFrame);
  EXPECT_TRUE(waitForResult("frames[0].location.hash", "#part"));
  EXPECT_TRUE(waitUntilRequestsArrived());
  EXPECT_EQ(requestsTo("/file/1").size(), 1U);
  EXPECT_EQ(delegate.cancelled, Strings());
}

TEST_F(SubFrame, RemovalOfFrameDuringItsNavigationCancelsNothing) {
  showPage(pageWithFrame);
  evaluate(
      "document.querySelector('iframe').src = '/file/1'; setTimeout(() =>"
      " document.querySelector('iframe').remove())");
  EXPECT_TRUE(runUntil([&] { return delegate.decidedNavigations.back() == "subFrame /file/1"; }));
  EXPECT_TRUE(waitUntilRequestsArrived());
  EXPECT_EQ(delegate.cancelled, Strings());
}

TEST_F(SubFrame, ReloadOfFrameIsAllowed) {
  showPage("<iframe src=/file/1></iframe>");
  expectShown("/file/1");
  evaluate("frames[0].location.reload()");
  EXPECT_TRUE(runUntil([&] { return requestsTo("/file/1").size() == 2; }));
  EXPECT_EQ(delegate.cancelled, Strings());
}

TEST_F(SubFrame, NestedFrameIsShown) {
  setPage("/frame", "<iframe src=/file/1></iframe>");
  showPage(pageWithFrame);
  EXPECT_TRUE(waitForResult("frames[0].frames[0].document.body.innerText", "content of /file/1"));
  EXPECT_EQ(delegate.cancelled, Strings());
}

// No script can reach this frame, so the test checks its request instead of its text.
TEST_F(SubFrame, FrameInClosedShadowRootIsLoaded) {
  showPage(
      "<div id=host></div><script>host.attachShadow({mode: 'closed'}).innerHTML ="
      " '<iframe src=/file/1></iframe>'</script>");
  EXPECT_TRUE(runUntil([&] { return delegate.decidedNavigations.back() == "subFrame /file/1"; }));
  EXPECT_TRUE(runUntil([&] { return requestsTo("/file/1").size() == 1; }));
  EXPECT_EQ(delegate.cancelled, Strings());
}

TEST_F(SubFrame, FileLoadedInBothFramesAtOnceIsCancelledInMainFrameOnly) {
  showPage(pageWithFrame);
  evaluate("location = '/file/1'; frames[0].location = '/file/1'");
  EXPECT_TRUE(waitForFrameText("content of /file/1"));
  expectCancelled({"mainFrame /file/1"});
  EXPECT_EQ(requestsTo("/file/1").size(), 1U);
}

TEST_F(SubFrame, ManyFramesAreShownWhileMainFrameIsCancelled) {
  std::string html;
  std::string script = "location = '/file/main';";
  for (int number = 0; number < 10; ++number) {
    html += "<iframe src=/file/f" + std::to_string(number) + "></iframe>";
    script += "frames[" + std::to_string(number) + "].location = '/file/g" +
              std::to_string(number) + "';";
  }
  showPage(html);
  evaluate(script);
  EXPECT_TRUE(
      waitForResult("Array.from(frames).every(frame => frame.document.body &&"
                    " frame.document.body.innerText.startsWith('content of /file/g'))",
                    "true"));
  EXPECT_EQ(delegate.cancelled, Strings{"mainFrame /file/main"});
  EXPECT_EQ(requestsTo("/file/f").size(), 10U);
  EXPECT_EQ(requestsTo("/file/g").size(), 10U);
  EXPECT_EQ(requestsTo("/file/main"), Strings());
}

TEST_F(SubFrame, ConcurrentRedirectsToDifferentFilesAreDecidedForEachFrame) {
  expectOnlyFrameFollowsRedirect("/file/main", "/file/frame");
}

TEST_F(SubFrame, ConcurrentRedirectsToSameFileAreDecidedForEachFrame) {
  expectOnlyFrameFollowsRedirect("/file/1", "/file/1");
}

TEST_F(SubFrame, AllowedMainFrameNavigationDuringProbeIsShown) {
  showPage(pageWithFrame);
  setPage("/next", "next");
  evaluate("frames[0].location = '/file/1'; location = '/next'");
  EXPECT_TRUE(waitForText("next"));
  EXPECT_EQ(delegate.cancelled, Strings());
}

TEST_F(SubFrame, FrameOfAnotherServerIsCancelled) {
  showPage("<iframe src=http://example.test/x></iframe>");
  // The policy is the same for every frame, so the view does not determine the target and
  // reports the main frame.
  expectCancelled({"mainFrame http://example.test/x"});
}

TEST_F(SubFrame, PageLoadedAfterWebProcessTerminatedDuringProbeIsShown) {
  startProbe();
  webkit_web_view_terminate_web_process(webKitView());
  showPage("<iframe src=/file/2></iframe>");
  expectShown("/file/2");
}

TEST_F(SubFrame, PageOfNewViewAfterViewDestroyedDuringProbeIsShown) {
  startProbe();
  makeView(folder.path());
  showPage("<iframe src=/file/2></iframe>");
  expectShown("/file/2");
}

TEST_F(SubFrame, OneContentFilterIsStoredForSeveralFiles) {
  showPage(pageWithFrame);
  for (int number = 1; number < 5; ++number) {
    const std::string path = "/file/" + std::to_string(number);
    evaluate("frames[0].location = '" + path + "'");
    expectShown(path);
  }
  // `folder` is the cache folder of the view.
  const std::filesystem::directory_iterator files(folder.path() / "content-filters");
  EXPECT_EQ(std::distance(begin(files), end(files)), 1);
}

}  // namespace
}  // namespace orvel
