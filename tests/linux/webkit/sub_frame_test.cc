// What sub-frames alone may show is shown there, whatever way it is reached,
// and is told from what the main frame does at the same time.

#include "tests/linux/webkit/page.h"

namespace orvel {
namespace {

class LinuxSubFrame : public LinuxPage {
 protected:
  static constexpr const char *frameText =
      "frames[0] && frames[0].document.body ? frames[0].document.body.innerText.trim() : ''";

  /// Waits until the first frame shows a file, and looks at what came of it.
  void expectShown(const std::string &path) {
    EXPECT_TRUE(untilPage(frameText, "inhoud van " + path));
    EXPECT_TRUE(settle());
    EXPECT_EQ(requests("GET " + path), Strings{"GET " + path});
    EXPECT_EQ(delegate.decisions.back(), "subFrame " + path);
    EXPECT_EQ(delegate.cancelled, Strings());
    EXPECT_EQ(delegate.windows, Strings());
  }
};

TEST_P(LinuxSubFrame, AnAddressOfItsOwn) {
  show("<iframe src=/file/1></iframe>");
  expectShown("/file/1");
}

TEST_P(LinuxSubFrame, AScript) {
  show("<iframe src=/frame></iframe>");
  evaluate("frames[0].location = '/file/1'");
  expectShown("/file/1");
}

TEST_P(LinuxSubFrame, ALinkInsideAndALinkWithItsName) {
  setPage("/frame", "<a id=link href=/file/1>x</a>");
  show("<iframe name=doel src=/frame></iframe><a id=link target=doel href=/file/2>x</a>");
  evaluate("frames[0].document.getElementById('link').click()");
  expectShown("/file/1");
  evaluate("link.click()");
  expectShown("/file/2");
}

TEST_P(LinuxSubFrame, AFormWithItsName) {
  show(
      "<iframe name=doel src=/frame></iframe><form method=post target=doel action=/file/1></form>");
  evaluate("document.forms[0].submit()");
  EXPECT_TRUE(untilPage(frameText, "inhoud van /file/1"));
  EXPECT_EQ(requests("POST /file/"), Strings{"POST /file/1"});
  EXPECT_EQ(delegate.cancelled, Strings());
}

TEST_P(LinuxSubFrame, APlaceWithinTheFile) {
  setPage("/file/1", "<a id=link href=#deel>x</a><p id=deel>inhoud van /file/1");
  show("<iframe src=/file/1></iframe>");
  evaluate("frames[0].document.getElementById('link').click()");
  EXPECT_TRUE(untilPage("frames[0].location.hash", "#deel"));
  EXPECT_TRUE(settle());
  EXPECT_EQ(requests("GET /file/1").size(), 1U);
  EXPECT_EQ(delegate.cancelled, Strings());
}

TEST_P(LinuxSubFrame, AFragmentOfAnotherFile) {
  show("<iframe src=/frame></iframe>");
  evaluate("frames[0].location = '/file/1#deel'");
  EXPECT_TRUE(untilPage(frameText, "inhoud van /file/1"));
  EXPECT_EQ(delegate.decisions.back(), "subFrame /file/1#deel");
  EXPECT_EQ(delegate.cancelled, Strings());
}

TEST_P(LinuxSubFrame, OneAddressAfterTheOther) {
  show("<iframe src=/frame></iframe>");
  evaluate(
      "for (let file = 1; file < 6; ++file) document.querySelector('iframe').src ="
      " '/file/' + file");
  EXPECT_TRUE(untilPage(frameText, "inhoud van /file/5"));
  EXPECT_TRUE(settle());
  EXPECT_EQ(delegate.cancelled, Strings());
}

TEST_P(LinuxSubFrame, AFrameThatGoesAgain) {
  show("<iframe src=/frame></iframe>");
  evaluate(
      "document.querySelector('iframe').src = '/file/1'; setTimeout(() =>"
      " document.querySelector('iframe').remove())");
  EXPECT_TRUE(until([&] { return delegate.decisions.back() == "subFrame /file/1"; }));
  EXPECT_TRUE(settle());
  EXPECT_EQ(delegate.cancelled, Strings());
}

TEST_P(LinuxSubFrame, AReload) {
  show("<iframe src=/file/1></iframe>");
  expectShown("/file/1");
  evaluate("frames[0].location.reload()");
  EXPECT_TRUE(until([&] { return requests("GET /file/1").size() == 2; }));
  EXPECT_EQ(delegate.cancelled, Strings());
}

TEST_P(LinuxSubFrame, ARedirect) {
  show("<iframe src=/frame></iframe>");
  evaluate("frames[0].location = '/redirect/302/file/1'");
  expectShown("/file/1");
}

TEST_P(LinuxSubFrame, AFrameInAFrame) {
  setPage("/frame", "<iframe src=/file/1></iframe>");
  show("<iframe src=/frame></iframe>");
  EXPECT_TRUE(untilPage("frames[0].frames[0].document.body.innerText", "inhoud van /file/1"));
  EXPECT_EQ(delegate.cancelled, Strings());
}

TEST_P(LinuxSubFrame, AFrameThatNoScriptCanSee) {
  show(
      "<div id=host></div><script>host.attachShadow({mode: 'closed'}).innerHTML ="
      " '<iframe src=/file/1></iframe>'</script>");
  EXPECT_TRUE(until([&] { return delegate.decisions.back() == "subFrame /file/1"; }));
  EXPECT_TRUE(until([&] { return requests("GET /file/1").size() == 1; }));
  EXPECT_EQ(delegate.cancelled, Strings());
}

TEST_P(LinuxSubFrame, AFrameThatAsksBeforeItIsLeft) {
  setPage("/frame", "<script>onbeforeunload = event => { event.returnValue = 'blijf'; }</script>");
  show("<iframe src=/frame></iframe>");
  evaluate("frames[0].location = '/file/1'");
  expectShown("/file/1");
}

TEST_P(LinuxSubFrame, TheSameFileInBothFramesAtOnce) {
  show("<iframe src=/frame></iframe>");
  evaluate("location = '/file/1'; frames[0].location = '/file/1'");
  EXPECT_TRUE(untilPage(frameText, "inhoud van /file/1"));
  EXPECT_EQ(delegate.cancelled, Strings{"mainFrame /file/1"});
  EXPECT_EQ(requests("GET /file/1").size(), 1U);
}

TEST_P(LinuxSubFrame, ManyFramesAndTheMainOneAtOnce) {
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
      untilPage("Array.from(frames).every(one => one.document.body &&"
                " one.document.body.innerText.startsWith('inhoud van /file/g'))",
                "true"));
  EXPECT_EQ(delegate.cancelled, Strings{"mainFrame /file/main"});
  EXPECT_EQ(requests("GET /file/f").size(), 10U);
  EXPECT_EQ(requests("GET /file/g").size(), 10U);
  EXPECT_EQ(requests("GET /file/main"), Strings());
}

TEST_P(LinuxSubFrame, RedirectsInBothFramesAtOnce) {
  for (const bool sameFile : {false, true}) {
    delegate.cancelled.clear();
    show("<iframe src=/frame></iframe>");
    const std::string inMain = sameFile ? "/file/b1" : "/file/a";
    const std::string inFrame = sameFile ? "/file/b1" : "/file/b0";
    evaluate("location = '/gate/redirect/302" + inMain + "'");
    ASSERT_TRUE(until([&] { return !requests("GET /gate/redirect/302" + inMain).empty(); }));
    evaluate("frames[0].location = '/gate/redirect/302" + inFrame + "'");
    ASSERT_TRUE(until([&] { return requests("GET /gate/").size() == (sameFile ? 4U : 2U); }));
    openGate();
    EXPECT_TRUE(untilPage(frameText, "inhoud van " + inFrame));
    EXPECT_TRUE(until([&] { return !delegate.cancelled.empty(); }));
    EXPECT_EQ(delegate.cancelled, Strings{"mainFrame " + inMain});
    EXPECT_EQ(requests("GET /file/b").size(), sameFile ? 2U : 1U);
    EXPECT_EQ(requests("GET /file/a"), Strings());
  }
}

TEST_P(LinuxSubFrame, TheMainFrameGoesItsWayMeanwhile) {
  show("<iframe src=/frame></iframe>");
  setPage("/next", "verder");
  evaluate("frames[0].location = '/file/1'; location = '/next'");
  EXPECT_TRUE(untilPage("document.body ? document.body.innerText : ''", "verder"));
  EXPECT_EQ(delegate.cancelled, Strings());
}

TEST_P(LinuxSubFrame, AnotherServersFrameStaysEmpty) {
  show("<iframe src=http://example.test/x></iframe>");
  EXPECT_TRUE(until([&] { return delegate.cancelled.size() == 1; }));
  EXPECT_TRUE(settle());
  EXPECT_EQ(delegate.cancelled.size(), 1U);
}

TEST_P(LinuxSubFrame, TheProcessOfThePageEndsMeanwhile) {
  setPage("/start", "<iframe src=/file/1></iframe><iframe src=/file/3></iframe>");
  load("/start");
  ASSERT_TRUE(until([&] { return delegate.lastAsked.starts_with("subFrame /file/"); }));
  webkit_web_view_terminate_web_process(webKit());
  show("<iframe src=/file/2></iframe>");
  expectShown("/file/2");
}

TEST_P(LinuxSubFrame, TheViewGoesMeanwhile) {
  setPage("/start", "<iframe src=/file/1></iframe><iframe src=/file/3></iframe>");
  load("/start");
  ASSERT_TRUE(until([&] { return delegate.lastAsked.starts_with("subFrame /file/"); }));
  makeView(folder);
  show("<iframe src=/file/2></iframe>");
  expectShown("/file/2");
}

TEST_P(LinuxSubFrame, OneFilterIsKeptAtMost) {
  show("<iframe src=/frame></iframe>");
  for (int number = 1; number < 5; ++number) {
    const std::string path = "/file/" + std::to_string(number);
    evaluate("frames[0].location = '" + path + "'");
    expectShown(path);
  }
  const std::filesystem::directory_iterator files(folder / "content-filters");
  EXPECT_EQ(std::distance(begin(files), end(files)), 1);
}

INSTANTIATE_TEST_SUITE_P(WebKitGtk, LinuxSubFrame, testing::Values("Linux"),
                         [](const auto &platform) { return platform.param; });

}  // namespace
}  // namespace orvel
