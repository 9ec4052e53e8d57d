// Navigations that would open a window or start a WebKit download. The page gets neither;
// the delegate is asked once.

#include <algorithm>
#include <functional>
#include <utility>

#include "tests/linux/webkit/page.h"

namespace orvel {
namespace {

class NewWindow : public PageTest {
 protected:
  void showAndRun(const std::string &html, const std::string &script) {
    show(html);
    delegate.decisions.clear();
    evaluate(script);
  }
  /// Waits for a cancelled decision and expects no window.
  void expectCancelled(const std::string &decision) {
    EXPECT_TRUE(untilCancelled());
    EXPECT_TRUE(settle());
    EXPECT_EQ(delegate.cancelled, Strings{decision});
    EXPECT_EQ(delegate.windows, Strings());
    delegate.cancelled.clear();
  }
};

struct NewWindowSource {
  std::string name;
  std::string html;
  std::string script;
};

class NewWindowNavigation : public NewWindow,
                            public testing::WithParamInterface<NewWindowSource> {};

TEST_P(NewWindowNavigation, IsReportedWithoutRequest) {
  setPage("/frame", "<a id=link target=_blank href=/next?a=b#c>x</a>");
  showAndRun(GetParam().html, GetParam().script);
  expectWindow("/next?a=b#c");
  EXPECT_EQ(delegate.decisions, Strings{"newWindow /next?a=b#c"});
  EXPECT_EQ(requests("GET /next"), Strings());
  EXPECT_EQ(requests("POST /next"), Strings());
}

INSTANTIATE_TEST_SUITE_P(
    EverySource, NewWindowNavigation,
    testing::Values(NewWindowSource{"LinkWithTargetBlank",
                                    "<a id=link target=_blank href=/next?a=b#c>x</a>",
                                    "link.click()"},
                    NewWindowSource{"LinkWithUnknownTarget",
                                    "<a id=link target=missing href=/next?a=b#c>x</a>",
                                    "link.click()"},
                    NewWindowSource{"LinkInFrame", "<iframe src=/frame></iframe>",
                                    "frames[0].document.getElementById('link').click()"},
                    NewWindowSource{"FormWithTargetBlank",
                                    "<form target=_blank method=post action=/next?a=b#c></form>",
                                    "document.forms[0].submit()"}),
    [](const auto &source) { return source.param.name; });

TEST_F(NewWindow, CancelledLinkOpensNoWindow) {
  for (const std::string address : {"/file/1", "/export", "http://example.test/"}) {
    showAndRun("<a id=link target=_blank href=" + address + ">x</a>", "link.click()");
    expectCancelled("newWindow " + address);
    EXPECT_EQ(requests("GET " + address), Strings());
  }
}

TEST_F(NewWindow, ScriptOpenedWindowIsReported) {
  show("<iframe src=/frame></iframe>");
  for (const std::string address : {"/next", "/file/1", "/export", "http://example.test/"}) {
    EXPECT_EQ(evaluate("'' + window.open('" + address + "')"), "null");
    expectWindow(address);
    EXPECT_EQ(requests("GET " + address), Strings());
  }
  evaluate("window.open('/next', 'name', 'width=200')");
  expectWindow("/next");
}

TEST_F(NewWindow, ScriptOpenedWindowWithoutUserGestureIsReported) {
  show("<script>setTimeout(() => open('/next'), 0)</script>");
  expectWindow("/next");
  EXPECT_EQ(requests("GET /next"), Strings());
}

TEST_F(NewWindow, ScriptOpenedWindowWithoutAddressIsReported) {
  show("page");
  evaluate("window.open()");
  expectWindow("(none)");
  evaluate("window.open('about:blank')");
  expectWindow("about:blank");
}

/// A GSource that calls back once in each main loop iteration.
class IterationWatch {
 public:
  explicit IterationWatch(std::function<void()> callback)
      : callback_(std::move(callback)),
        source_(reinterpret_cast<Source *>(g_source_new(&functions, sizeof(Source)))) {
    source_->watch = this;
    g_source_attach(&source_->base, nullptr);
  }
  ~IterationWatch() {
    g_source_destroy(&source_->base);
    g_source_unref(&source_->base);
  }
  IterationWatch(const IterationWatch &) = delete;
  IterationWatch &operator=(const IterationWatch &) = delete;

 private:
  struct Source {
    GSource base;
    IterationWatch *watch;
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

TEST_F(NewWindow, ThousandsOfWindowsAreReportedOnePerIteration) {
  constexpr std::size_t count = 2000;
  std::size_t before = 0;
  std::size_t maxPerIteration = 0;
  const IterationWatch watch([&] {
    maxPerIteration = std::max(maxPerIteration, delegate.windows.size() - before);
    before = delegate.windows.size();
  });
  show(
      "<script>onload = () => setTimeout(() => {"
      "for (let number = 0; number < " +
      std::to_string(count) + "; ++number) open('/' + number); }, 0)</script>");
  EXPECT_TRUE(until([&] { return delegate.windows.size() >= count; }));
  EXPECT_TRUE(settle());
  ASSERT_EQ(delegate.windows.size(), count);
  EXPECT_EQ(delegate.windows.back(), "/" + std::to_string(count - 1));
  EXPECT_EQ(maxPerIteration, 1U);
}

TEST_F(NewWindow, ScriptWithNameOfFrameNavigatesThatFrame) {
  showAndRun("<iframe name=target src=/frame></iframe>", "window.open('/file/1', 'target')");
  EXPECT_TRUE(untilScript("frames[0].document.body.innerText", "content of /file/1"));
  evaluate("window.open('/file/2', '_self')");
  expectCancelled("mainFrame /file/2");
}

TEST_F(NewWindow, DownloadLinkIsReportedAsWindow) {
  showAndRun("<a id=link download href=/next>x</a>", "link.click()");
  expectWindow("/next");
  EXPECT_EQ(delegate.decisions, Strings{"mainFrame /next"});
}

TEST_F(NewWindow, CancelledDownloadLinkIsNotReported) {
  showAndRun("<a id=link download href=/export>x</a>", "link.click()");
  expectCancelled("mainFrame /export");
}

TEST_F(NewWindow, DownloadLinkOfFileIsCancelledEachTime) {
  show("<a id=link download href=/file/1>x</a>");
  for (std::size_t clicks = 1; clicks < 4; ++clicks) {
    evaluate("link.click()");
    expectCancelled("mainFrame /file/1");
    // WebKit starts the request before the download can be cancelled, so it may be sent.
    EXPECT_LE(requests("GET /file/1").size(), clicks);
  }
}

TEST_F(NewWindow, SeveralDownloadLinksClickedAtOnceAreAllDecided) {
  showAndRun(
      "<a download href=/file/1>1</a><a download href=/file/2>2</a><a download href=/next>3</a>",
      "document.querySelectorAll('a').forEach(link => link.click())");
  EXPECT_TRUE(
      until([&] { return delegate.cancelled.size() == 2 && delegate.windows.size() == 1; }));
  EXPECT_TRUE(settle());
  EXPECT_EQ(delegate.cancelled, (Strings{"mainFrame /file/1", "mainFrame /file/2"}));
  EXPECT_EQ(delegate.windows, Strings{"/next"});
}

TEST_F(NewWindow, ResponseThatCannotBeShownIsNotReported) {
  show("page");
  setPage("/odd.bin", std::string(2048, '\1'));
  evaluate("location = '/odd.bin'");
  EXPECT_TRUE(until([&] { return !requests("GET /odd.bin").empty(); }));
  EXPECT_EQ(delegate.windows, Strings());
}

}  // namespace
}  // namespace orvel
