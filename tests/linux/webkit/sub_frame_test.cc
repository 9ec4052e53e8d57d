// Navigations that the policy allows only in sub-frames, also while the main frame
// navigates to the same address.

#include "tests/linux/webkit/page.h"

namespace orvel {
namespace {

class SubFrame : public PageTest {
 protected:
  void showPageWithFrame() { show("<iframe src=/frame></iframe>"); }
  bool untilFrameText(const std::string &text) {
    return untilScript(
        "frames[0] && frames[0].document.body ? frames[0].document.body.innerText.trim() : ''",
        text);
  }
  /// Waits until the first frame shows a file, and expects one request and no other effect.
  void expectShown(const std::string &path) {
    EXPECT_TRUE(untilFrameText("content of " + path));
    EXPECT_TRUE(settle());
    EXPECT_EQ(requests("GET " + path), Strings{"GET " + path});
    EXPECT_EQ(delegate.decisions.back(), "subFrame " + path);
    EXPECT_EQ(delegate.cancelled, Strings());
    EXPECT_EQ(delegate.windows, Strings());
  }
  /// Waits until a frame is about to load a file, whose filter is being prepared.
  void startLoadingFiles() {
    setPage("/start", "<iframe src=/file/1></iframe><iframe src=/file/3></iframe>");
    load("/start");
    ASSERT_TRUE(until([&] { return delegate.lastQuestion.starts_with("subFrame /file/"); }));
  }
};

struct SubFrameSource {
  std::string name;
  std::string html;
  std::string framePage;
  std::string script;
};

class SubFrameNavigation : public SubFrame, public testing::WithParamInterface<SubFrameSource> {};

TEST_P(SubFrameNavigation, IsShownWithOneRequest) {
  setPage("/frame", GetParam().framePage);
  show(GetParam().html);
  evaluate(GetParam().script);
  expectShown("/file/1");
}

INSTANTIATE_TEST_SUITE_P(
    EverySource, SubFrameNavigation,
    testing::Values(
        SubFrameSource{"FrameAttribute", "<iframe src=/file/1></iframe>", "", "0"},
        SubFrameSource{"Script", "<iframe src=/frame></iframe>", "",
                       "frames[0].location = '/file/1'"},
        SubFrameSource{"Redirect", "<iframe src=/frame></iframe>", "",
                       "frames[0].location = '/redirect/302/file/1'"},
        SubFrameSource{"LinkInFrame", "<iframe src=/frame></iframe>",
                       "<a id=link href=/file/1>x</a>",
                       "frames[0].document.getElementById('link').click()"},
        SubFrameSource{"LinkWithNameOfFrame",
                       "<iframe name=target src=/frame></iframe>"
                       "<a id=link target=target href=/file/1>x</a>",
                       "", "link.click()"},
        SubFrameSource{"FrameWithBeforeUnload", "<iframe src=/frame></iframe>",
                       "<script>onbeforeunload = event => { event.returnValue = 'stay'; }</script>",
                       "frames[0].location = '/file/1'"}),
    [](const auto &source) { return source.param.name; });

TEST_F(SubFrame, FormWithNameOfFrameIsShown) {
  show(
      "<iframe name=target src=/frame></iframe>"
      "<form method=post target=target action=/file/1></form>");
  evaluate("document.forms[0].submit()");
  EXPECT_TRUE(untilFrameText("content of /file/1"));
  EXPECT_EQ(requests("POST /file/"), Strings{"POST /file/1"});
  EXPECT_EQ(delegate.cancelled, Strings());
}

TEST_F(SubFrame, FragmentWithinFileSendsNoRequest) {
  setPage("/file/1", "<a id=link href=#part>x</a><p id=part>content of /file/1");
  show("<iframe src=/file/1></iframe>");
  evaluate("frames[0].document.getElementById('link').click()");
  EXPECT_TRUE(untilScript("frames[0].location.hash", "#part"));
  EXPECT_TRUE(settle());
  EXPECT_EQ(requests("GET /file/1").size(), 1U);
  EXPECT_EQ(delegate.cancelled, Strings());
}

TEST_F(SubFrame, FragmentOfAnotherFileIsShown) {
  showPageWithFrame();
  evaluate("frames[0].location = '/file/1#part'");
  EXPECT_TRUE(untilFrameText("content of /file/1"));
  EXPECT_EQ(delegate.decisions.back(), "subFrame /file/1#part");
  EXPECT_EQ(delegate.cancelled, Strings());
}

TEST_F(SubFrame, LastOfSeveralAddressesIsShown) {
  showPageWithFrame();
  evaluate(
      "for (let file = 1; file < 6; ++file) document.querySelector('iframe').src ="
      " '/file/' + file");
  EXPECT_TRUE(untilFrameText("content of /file/5"));
  EXPECT_TRUE(settle());
  EXPECT_EQ(delegate.cancelled, Strings());
}

TEST_F(SubFrame, FrameRemovedDuringNavigationCancelsNothing) {
  showPageWithFrame();
  evaluate(
      "document.querySelector('iframe').src = '/file/1'; setTimeout(() =>"
      " document.querySelector('iframe').remove())");
  EXPECT_TRUE(until([&] { return delegate.decisions.back() == "subFrame /file/1"; }));
  EXPECT_TRUE(settle());
  EXPECT_EQ(delegate.cancelled, Strings());
}

TEST_F(SubFrame, ReloadIsAllowed) {
  show("<iframe src=/file/1></iframe>");
  expectShown("/file/1");
  evaluate("frames[0].location.reload()");
  EXPECT_TRUE(until([&] { return requests("GET /file/1").size() == 2; }));
  EXPECT_EQ(delegate.cancelled, Strings());
}

TEST_F(SubFrame, NestedFrameIsShown) {
  setPage("/frame", "<iframe src=/file/1></iframe>");
  showPageWithFrame();
  EXPECT_TRUE(untilScript("frames[0].frames[0].document.body.innerText", "content of /file/1"));
  EXPECT_EQ(delegate.cancelled, Strings());
}

TEST_F(SubFrame, FrameInClosedShadowRootIsShown) {
  show(
      "<div id=host></div><script>host.attachShadow({mode: 'closed'}).innerHTML ="
      " '<iframe src=/file/1></iframe>'</script>");
  EXPECT_TRUE(until([&] { return delegate.decisions.back() == "subFrame /file/1"; }));
  EXPECT_TRUE(until([&] { return requests("GET /file/1").size() == 1; }));
  EXPECT_EQ(delegate.cancelled, Strings());
}

TEST_F(SubFrame, SameFileInMainFrameAtOnceIsCancelledThereOnly) {
  showPageWithFrame();
  evaluate("location = '/file/1'; frames[0].location = '/file/1'");
  EXPECT_TRUE(untilFrameText("content of /file/1"));
  EXPECT_EQ(delegate.cancelled, Strings{"mainFrame /file/1"});
  EXPECT_EQ(requests("GET /file/1").size(), 1U);
}

TEST_F(SubFrame, ManyFramesAreShownWhileMainFrameIsCancelled) {
  std::string html;
  std::string script = "location = '/file/main';";
  for (int number = 0; number < 10; ++number) {
    html += "<iframe src=/file/f" + std::to_string(number) + "></iframe>";
    script += "frames[" + std::to_string(number) + "].location = '/file/g" +
              std::to_string(number) + "';";
  }
  show(html);
  evaluate(script);
  EXPECT_TRUE(
      untilScript("Array.from(frames).every(frame => frame.document.body &&"
                  " frame.document.body.innerText.startsWith('content of /file/g'))",
                  "true"));
  EXPECT_EQ(delegate.cancelled, Strings{"mainFrame /file/main"});
  EXPECT_EQ(requests("GET /file/f").size(), 10U);
  EXPECT_EQ(requests("GET /file/g").size(), 10U);
  EXPECT_EQ(requests("GET /file/main"), Strings());
}

TEST_F(SubFrame, ConcurrentRedirectsAreDecidedForEachFrame) {
  for (const bool sameFile : {false, true}) {
    delegate.cancelled.clear();
    showPageWithFrame();
    const std::string inMain = sameFile ? "/file/b1" : "/file/a";
    const std::string inFrame = sameFile ? "/file/b1" : "/file/b0";
    evaluate("location = '/gate/redirect/302" + inMain + "'");
    ASSERT_TRUE(until([&] { return !requests("GET /gate/redirect/302" + inMain).empty(); }));
    evaluate("frames[0].location = '/gate/redirect/302" + inFrame + "'");
    ASSERT_TRUE(until([&] { return requests("GET /gate/").size() == (sameFile ? 4U : 2U); }));
    openGate();
    EXPECT_TRUE(untilFrameText("content of " + inFrame));
    EXPECT_TRUE(untilCancelled());
    EXPECT_EQ(delegate.cancelled, Strings{"mainFrame " + inMain});
    EXPECT_EQ(requests("GET /file/b").size(), sameFile ? 2U : 1U);
    EXPECT_EQ(requests("GET /file/a"), Strings());
  }
}

TEST_F(SubFrame, MainFrameNavigatesWhileFilterIsPrepared) {
  showPageWithFrame();
  setPage("/next", "next");
  evaluate("frames[0].location = '/file/1'; location = '/next'");
  EXPECT_TRUE(untilText("next"));
  EXPECT_EQ(delegate.cancelled, Strings());
}

TEST_F(SubFrame, FrameOfAnotherServerIsCancelled) {
  show("<iframe src=http://example.test/x></iframe>");
  EXPECT_TRUE(until([&] { return delegate.cancelled.size() == 1; }));
  EXPECT_TRUE(settle());
  EXPECT_EQ(delegate.cancelled.size(), 1U);
}

TEST_F(SubFrame, TerminatedWebProcessDuringNavigationIsSurvived) {
  startLoadingFiles();
  webkit_web_view_terminate_web_process(webKit());
  show("<iframe src=/file/2></iframe>");
  expectShown("/file/2");
}

TEST_F(SubFrame, DestroyedViewDuringNavigationIsSurvived) {
  startLoadingFiles();
  makeView(folder.path());
  show("<iframe src=/file/2></iframe>");
  expectShown("/file/2");
}

TEST_F(SubFrame, AtMostOneFilterIsStored) {
  showPageWithFrame();
  for (int number = 1; number < 5; ++number) {
    const std::string path = "/file/" + std::to_string(number);
    evaluate("frames[0].location = '" + path + "'");
    expectShown(path);
  }
  const std::filesystem::directory_iterator files(folder.path() / "content-filters");
  EXPECT_EQ(std::distance(begin(files), end(files)), 1);
}

}  // namespace
}  // namespace orvel
