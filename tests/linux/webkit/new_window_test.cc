// A page gets no window of its own and no download of WebKit's: what it wants
// one for is told to the delegate, once.

#include <algorithm>
#include <functional>
#include <utility>

#include "tests/linux/webkit/page.h"

namespace orvel {
namespace {

class LinuxNewWindow : public LinuxPage {
 protected:
  void showAndRun(const std::string &html, const std::string &script) {
    show(html);
    delegate.decisions.clear();
    evaluate(script);
  }
  void expectWindow(const std::string &address) {
    EXPECT_TRUE(until([&] { return !delegate.windows.empty(); }));
    EXPECT_TRUE(settle());
    EXPECT_EQ(delegate.windows, Strings{address});
    delegate.windows.clear();
  }
};

TEST_P(LinuxNewWindow, ALinkWithABlankTarget) {
  showAndRun("<a id=link target=_blank href=/page?a=b#c>x</a>", "link.click()");
  expectWindow("/page?a=b#c");
  EXPECT_EQ(delegate.decisions, Strings{"newWindow /page?a=b#c"});
  EXPECT_EQ(requests("GET /page?"), Strings());
}

TEST_P(LinuxNewWindow, ALinkWithAnUnknownTarget) {
  showAndRun("<a id=link target=nergens href=/next>x</a>", "link.click()");
  expectWindow("/next");
  EXPECT_EQ(delegate.decisions, Strings{"newWindow /next"});
}

TEST_P(LinuxNewWindow, ALinkInAFrame) {
  setPage("/frame", "<a id=link target=_blank href=/next>x</a>");
  showAndRun("<iframe src=/frame></iframe>", "frames[0].document.getElementById('link').click()");
  expectWindow("/next");
  EXPECT_EQ(delegate.decisions, Strings{"newWindow /next"});
}

TEST_P(LinuxNewWindow, AFormWithABlankTarget) {
  showAndRun("<form target=_blank method=post action=/next></form>", "document.forms[0].submit()");
  expectWindow("/next");
  EXPECT_EQ(requests("POST /next"), Strings());
}

TEST_P(LinuxNewWindow, WhatIsCancelledGetsNone) {
  for (const std::string address : {"/file/1", "/export", "http://example.test/"}) {
    showAndRun("<a id=link target=_blank href=" + address + ">x</a>", "link.click()");
    EXPECT_TRUE(until([&] { return !delegate.cancelled.empty(); }));
    EXPECT_TRUE(settle());
    EXPECT_EQ(delegate.cancelled, Strings{"newWindow " + address});
    EXPECT_EQ(delegate.windows, Strings());
    EXPECT_EQ(requests("GET " + address), Strings());
    delegate.cancelled.clear();
  }
}

TEST_P(LinuxNewWindow, AScriptThatOpensOne) {
  show("<iframe src=/frame></iframe>");
  for (const std::string address : {"/next", "/file/1", "/export", "http://example.test/"}) {
    EXPECT_EQ(evaluate("'' + window.open('" + address + "')"), "null");
    expectWindow(address);
    EXPECT_EQ(requests("GET " + address), Strings());
  }
  evaluate("window.open('/next', 'naam', 'width=200')");
  expectWindow("/next");
}

TEST_P(LinuxNewWindow, ScriptWithoutAClickIsAskedAboutToo) {
  show("<script>setTimeout(() => open('/next'), 0)</script>");
  expectWindow("/next");
  EXPECT_EQ(requests("GET /next"), Strings());
}

/// A GSource that calls back once in each main loop iteration.
class TurnWatch {
 public:
  explicit TurnWatch(std::function<void()> callback)
      : callback_(std::move(callback)),
        source_(reinterpret_cast<Source *>(g_source_new(&functions, sizeof(Source)))) {
    source_->watch = this;
    g_source_attach(&source_->base, nullptr);
  }
  ~TurnWatch() {
    g_source_destroy(&source_->base);
    g_source_unref(&source_->base);
  }
  TurnWatch(const TurnWatch &) = delete;
  TurnWatch &operator=(const TurnWatch &) = delete;

 private:
  struct Source {
    GSource base;
    TurnWatch *watch;
  };

  /// GLib calls the prepare function of every source in each iteration.
  static gboolean prepare(GSource *source, int * /*timeout*/) {
    reinterpret_cast<Source *>(source)->watch->callback_();
    return FALSE;
  }
  static inline GSourceFuncs functions{prepare, nullptr, nullptr, nullptr, nullptr, nullptr};

  const std::function<void()> callback_;
  Source *const source_;
};

TEST_P(LinuxNewWindow, ThousandsAreAskedAboutOneInEachTurnOfTheMainLoop) {
  constexpr std::size_t many = 2000;
  std::size_t before = 0;
  std::size_t most = 0;
  const TurnWatch watch([&] {
    most = std::max(most, delegate.windows.size() - before);
    before = delegate.windows.size();
  });
  show(
      "<script>onload = () => setTimeout(() => {"
      "for (let number = 0; number < " +
      std::to_string(many) + "; ++number) open('/' + number); }, 0)</script>");
  EXPECT_TRUE(until([&] { return delegate.windows.size() >= many; }));
  EXPECT_TRUE(settle());
  ASSERT_EQ(delegate.windows.size(), many);
  EXPECT_EQ(delegate.windows.back(), "/" + std::to_string(many - 1));
  EXPECT_EQ(most, 1U);
}

TEST_P(LinuxNewWindow, AScriptThatNamesNoAddress) {
  show("pagina");
  evaluate("window.open()");
  expectWindow("(none)");
  evaluate("window.open('about:blank')");
  expectWindow("about:blank");
}

TEST_P(LinuxNewWindow, AScriptThatOpensAFrame) {
  showAndRun("<iframe name=doel src=/frame></iframe>", "window.open('/file/1', 'doel')");
  EXPECT_TRUE(untilPage("frames[0].document.body.innerText", "inhoud van /file/1"));
  evaluate("window.open('/file/2', '_self')");
  EXPECT_TRUE(until([&] { return !delegate.cancelled.empty(); }));
  EXPECT_EQ(delegate.cancelled, Strings{"mainFrame /file/2"});
  EXPECT_EQ(delegate.windows, Strings());
}

TEST_P(LinuxNewWindow, ALinkThatDownloads) {
  showAndRun("<a id=link download href=/next>x</a>", "link.click()");
  expectWindow("/next");
  EXPECT_EQ(delegate.decisions, Strings{"mainFrame /next"});
}

TEST_P(LinuxNewWindow, ALinkThatDownloadsWhatIsCancelled) {
  showAndRun("<a id=link download href=/export>x</a>", "link.click()");
  EXPECT_TRUE(until([&] { return !delegate.cancelled.empty(); }));
  EXPECT_TRUE(settle());
  EXPECT_EQ(delegate.cancelled, Strings{"mainFrame /export"});
  EXPECT_EQ(delegate.windows, Strings());
}

TEST_P(LinuxNewWindow, ALinkThatDownloadsAFile) {
  showAndRun("<a id=link download href=/file/1>x</a>", "link.click()");
  for (int time = 1; time < 4; ++time) {
    const auto count = static_cast<std::size_t>(time);
    EXPECT_TRUE(until([&] { return delegate.cancelled.size() == count; }));
    EXPECT_TRUE(settle());
    EXPECT_EQ(delegate.cancelled, Strings(count, "mainFrame /file/1"));
    // WebKit starts asking the server before it can be kept from it. It is cut
    // off, before or after its question has left.
    EXPECT_LE(requests("GET /file/1").size(), count);
    EXPECT_EQ(delegate.windows, Strings());
    evaluate("link.click()");
  }
}

TEST_P(LinuxNewWindow, SeveralLinksThatDownloadFilesAtOnce) {
  showAndRun(
      "<a download href=/file/1>1</a><a download href=/file/2>2</a><a download href=/next>3</a>",
      "document.querySelectorAll('a').forEach(link => link.click())");
  EXPECT_TRUE(
      until([&] { return delegate.cancelled.size() == 2 && delegate.windows.size() == 1; }));
  EXPECT_TRUE(settle());
  EXPECT_EQ(delegate.cancelled, (Strings{"mainFrame /file/1", "mainFrame /file/2"}));
  EXPECT_EQ(delegate.windows, Strings{"/next"});
}

TEST_P(LinuxNewWindow, AnAnswerThatCannotBeShownIsLeftAlone) {
  show("pagina");
  setPage("/odd.bin", std::string(2048, '\1'));
  evaluate("location = '/odd.bin'");
  EXPECT_TRUE(until([&] { return !requests("GET /odd.bin").empty(); }));
  EXPECT_EQ(delegate.windows, Strings());
}

INSTANTIATE_TEST_SUITE_P(WebKitGtk, LinuxNewWindow, testing::Values("Linux"),
                         [](const auto &platform) { return platform.param; });

}  // namespace
}  // namespace orvel
