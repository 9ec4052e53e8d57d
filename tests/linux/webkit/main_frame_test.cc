// What is not for the main frame never gets there, and its server never hears
// of it from the page, whatever way the page takes.

#include <fstream>

#include "tests/linux/webkit/page.h"

namespace orvel {
namespace {

class LinuxMainFrame : public LinuxPage {
 protected:
  /// Waits for the decision, then looks at what has come of it.
  void expectOnly(const std::string &address) {
    EXPECT_TRUE(until([&] { return !delegate.cancelled.empty(); }));
    EXPECT_TRUE(settle());
    EXPECT_EQ(delegate.cancelled, Strings{"mainFrame " + address});
    EXPECT_EQ(requests("GET /file/"), Strings());
    EXPECT_EQ(requests("POST /file/"), Strings());
    EXPECT_EQ(delegate.windows, Strings());
    delegate.cancelled.clear();
  }
};

TEST_P(LinuxMainFrame, ALink) {
  show("<a id=link href=/file/1>x</a><iframe src=/frame></iframe>");
  evaluate("link.click()");
  expectOnly("/file/1");
}

TEST_P(LinuxMainFrame, AScript) {
  show("<iframe src=/frame></iframe>");
  evaluate("location = '/file/1?vraag#deel'");
  expectOnly("/file/1?vraag#deel");
}

TEST_P(LinuxMainFrame, APageThatNobodyHasTouched) {
  setPage("/start", "<script>setTimeout(() => location = '/file/1')</script>");
  load("/start");
  expectOnly("/file/1");
}

TEST_P(LinuxMainFrame, AMetaRefresh) {
  setPage("/start", "<meta http-equiv=refresh content='0;url=/file/1'>");
  load("/start");
  expectOnly("/file/1");
}

TEST_P(LinuxMainFrame, Forms) {
  for (const std::string method : {"get", "post"}) {
    show("<form action=/file/1 method=" + method + "><input name=a value=b></form>");
    evaluate("document.forms[0].submit()");
    expectOnly(method == "get" ? "/file/1?a=b" : "/file/1");
  }
}

TEST_P(LinuxMainFrame, Redirects) {
  for (const std::string status : {"301", "302", "303", "307", "308"}) {
    show("<iframe src=/frame></iframe>");
    delegate.decisions.clear();
    evaluate("location = '/redirect/" + status + "/file/1'");
    expectOnly("/file/1");
    EXPECT_EQ(delegate.decisions.front(), "mainFrame /redirect/" + status + "/file/1");
    EXPECT_EQ(delegate.decisions.size(), 2U);
  }
}

TEST_P(LinuxMainFrame, ARedirectOfARedirectOfAForm) {
  show("<form action=/redirect/307/redirect/307/file/1 method=post></form>");
  evaluate("document.forms[0].submit()");
  expectOnly("/file/1");
}

TEST_P(LinuxMainFrame, ALinkInAFrameThatNamesTheTop) {
  setPage("/frame", "<a id=link target=_top href=/file/1>x</a>");
  show("<iframe src=/frame></iframe>");
  evaluate("frames[0].document.getElementById('link').click()");
  expectOnly("/file/1");
}

TEST_P(LinuxMainFrame, AReloadOfAnAddressThatThePageGaveItself) {
  show("pagina");
  evaluate("history.pushState(0, '', '/file/1')");
  evaluate("location.reload()");
  expectOnly("/file/1");
}

TEST_P(LinuxMainFrame, TheHistory) {
  show("eerst");
  evaluate("history.pushState(0, '', '/file/1')");
  show("later");
  evaluate("history.back()");
  expectOnly("/file/1");
}

TEST_P(LinuxMainFrame, TheApplicationItself) {
  show("pagina");
  load("/file/1");
  expectOnly("/file/1");
}

TEST_P(LinuxMainFrame, LongAddresses) {
  show("<iframe src=/frame></iframe>");
  const std::string query = "/file/1?" + std::string(100'000, 'q');
  evaluate("location = '" + query + "'");
  expectOnly(query);
  const std::string path = "/file/" + std::string(10'000, 'p');
  evaluate("location = '" + path + "'");
  expectOnly(path);
}

TEST_P(LinuxMainFrame, CharactersThatMeanSomethingInAPattern) {
  show("<iframe src=/frame></iframe>");
  evaluate(R"(location = '/file/a.*+(b)$[c]|{d}^\\"%zz~!@&=,;:_-')");
  expectOnly("/file/a.*+(b)$%5Bc%5D%7C%7Bd%7D%5E/%22%25zz~!@&=,;:_-");
}

TEST_P(LinuxMainFrame, APageThatAsksBeforeItIsLeft) {
  show("<script>onbeforeunload = event => { event.returnValue = 'blijf'; }</script>");
  evaluate("location = '/file/1'");
  expectOnly("/file/1");
}

TEST_P(LinuxMainFrame, APageDoesNotHearThatAFileIsFetched) {
  show("<script>onbeforeunload = onpagehide = () => { document.title += 'weg'; }</script>");
  evaluate("location = '/file/1'");
  expectOnly("/file/1");
  EXPECT_EQ(evaluate("document.title"), "");
  // It hears when it is left indeed.
  evaluate("onbeforeunload = () => { navigator.sendBeacon('/weg'); }");
  show("later");
  EXPECT_EQ(requests("POST /weg").size(), 1U);
}

TEST_P(LinuxMainFrame, SeveralLinksThatAScriptClicksAtOnce) {
  show(
      "<a href=/file/1>1</a><a href=/file/2>2</a><a href=/file/3?vraag>3</a>"
      "<iframe src=/frame></iframe>");
  evaluate("document.querySelectorAll('a').forEach(link => link.click())");
  EXPECT_TRUE(until([&] { return delegate.cancelled.size() == 3; }));
  EXPECT_TRUE(settle());
  EXPECT_EQ(delegate.cancelled,
            (Strings{"mainFrame /file/1", "mainFrame /file/2", "mainFrame /file/3?vraag"}));
  EXPECT_EQ(requests("GET /file/"), Strings());
}

TEST_P(LinuxMainFrame, OneFileAfterTheOther) {
  show("<iframe src=/frame></iframe>");
  for (const std::string address : {"/file/1", "/file/2", "/file/1"}) {
    evaluate("location = '" + address + "'");
    expectOnly(address);
  }
}

TEST_P(LinuxMainFrame, ThePageGoesOnWithWhatItDoes) {
  show(
      "<script>fetch('/gate/a').then(() => document.title += 'a', () => document.title += 'x');"
      "</script>");
  ASSERT_TRUE(until([&] { return !requests("GET /gate/a").empty(); }));
  evaluate("location = '/file/1'");
  expectOnly("/file/1");
  openGate();
  EXPECT_TRUE(untilPage("document.title", "a"));
}

TEST_P(LinuxMainFrame, WhatIsCancelledEverywhereIsAskedOnce) {
  show("pagina");
  delegate.decisions.clear();
  evaluate("location = '/export?a=b'");
  expectOnly("/export?a=b");
  EXPECT_EQ(requests("GET /export"), Strings());
  EXPECT_EQ(delegate.decisions.size(), 1U);
}

TEST_P(LinuxMainFrame, WithoutAFilterEveryFrameCountsAsTheMainOne) {
  std::ofstream(folder / "file") << "no folder";
  makeView(folder / "file");
  show("<iframe src=/frame></iframe>");
  evaluate("location = '/file/1'");
  expectOnly("/file/1");
  evaluate("frames[0].location = '/file/2'");
  expectOnly("/file/2");
}

INSTANTIATE_TEST_SUITE_P(WebKitGtk, LinuxMainFrame, testing::Values("Linux"),
                         [](const auto &platform) { return platform.param; });

}  // namespace
}  // namespace orvel
