#include <csignal>

#include "tests/unit/core_test.h"

namespace orvel {
namespace {

class MainWindow : public CoreTest {};

const std::string blankPageLoad = "load html <body style='background:#07090c;margin:0'></body>";

TEST_F(MainWindow, LaunchStepsRunInOrder) {
  storeOnlineAddress();
  launchApplication();
  // The two timers at the end, of 4 seconds and 6 hours, are those of the update checks.
  EXPECT_THAT(fake.record.take(),
              ElementsAre("menu bar", "web view ORVELOS/app-key", "window Orvel OS", "window shown",
                          "application activate", blankPageLoad,
                          "GET https://os.test/api/wie timeout 3000 ms [X-ORVEL-App: app-key]",
                          "after 4000 ms", "every 21600000 ms"));
}

TEST_F(MainWindow, WebViewConfigurationIsComplete) {
  launchApplication();
  const WebViewConfiguration &configuration = web().configuration;
  EXPECT_TRUE(configuration.persistentDataStore);
  EXPECT_EQ(configuration.applicationNameForUserAgent, "ORVELOS/app-key");
  EXPECT_TRUE(configuration.developerExtrasEnabled);
  EXPECT_FALSE(configuration.drawsBackground);
  EXPECT_TRUE(configuration.inspectable);
  EXPECT_EQ(&web().delegate, &delegate());
  // Without a key.
  releaseDelegate();
  fake.bundle.texts.erase("ORVELOSKey");
  launchApplication();
  EXPECT_EQ(web().configuration.applicationNameForUserAgent, "ORVELOS/");
}

TEST_F(MainWindow, WindowFillsVisibleFrameOfMainScreen) {
  fake.windows.visibleFrame = Rect{10, 20, 1500, 900};
  launchApplication();
  EXPECT_EQ(fake.windows.configuration.contentRect, (Rect{10, 20, 1500, 900}));
  // Without a screen.
  fake.windows.visibleFrame.reset();
  launchApplication();
  EXPECT_EQ(fake.windows.configuration.contentRect, (Rect{0, 0, 1440, 900}));
}

TEST_F(MainWindow, WindowConfigurationIsComplete) {
  launchApplication();
  const WindowConfiguration &configuration = fake.windows.configuration;
  EXPECT_TRUE(configuration.fullSizeContentView);
  EXPECT_EQ(configuration.title, "Orvel OS");
  EXPECT_FALSE(configuration.titleVisible);
  EXPECT_TRUE(configuration.titlebarTransparent);
  // #07090c, the colour of the blank page.
  EXPECT_EQ(configuration.backgroundColor, (Color{0.027, 0.035, 0.047, 1.0}));
  EXPECT_EQ(configuration.minimumWidth, 1000);
  EXPECT_EQ(configuration.minimumHeight, 660);
  EXPECT_EQ(configuration.frameAutosaveName, "ORVELOSMain");
}

TEST_F(MainWindow, ErrorPageContainsUnescapedMessage) {
  createWebView();
  delegate().showError("See <b>~/x</b> & press ⌘R.");
  EXPECT_EQ(web().shownHtml,
            "<body style='background:#07090c;color:#c3ccd5;font:15px -apple-system,Helvetica;"
            "padding:48px;line-height:1.5'><div style='max-width:560px'><b style='color:#eef2f5;"
            "font-size:17px'>Orvel OS</b><p>See <b>~/x</b> & press ⌘R.</p></div></body>");
}

TEST_F(MainWindow, ReloadOfOnlineAddressOrRunningServerLoadsAddressWithoutKeyHeader) {
  createWebView();
  delegate().startServer();
  fake.record.take();
  delegate().reloadPage();
  storeAddress("https://os.test/app");
  delegate().reloadPage();
  EXPECT_THAT(fake.record.take(), ElementsAre("load http://127.0.0.1:4767/ timeout 60000 ms",
                                              "load https://os.test/app/ timeout 60000 ms"));
}

TEST_F(MainWindow, ReloadStartsMissingOrExitedLocalServer) {
  createWebView();
  for (const std::string address : {"http://127.0.0.1:4767/", "http://localhost:3000/"}) {
    storeAddress(address);
    for (const std::string server : {"missing", "exited"}) {
      SCOPED_TRACE(address + " with " + server + " server");
      if (server == "missing") delegate().server = nullptr;
      fake.record.take();
      delegate().reloadPage();
      EXPECT_EQ(fake.record.count("launch /usr/local/bin/node"), 1U);
      EXPECT_EQ(fake.record.count("GET " + address + "api/wie"), 1U);
      EXPECT_EQ(fake.record.count("load http"), 0U);
      // Leaves an exited server for the round "exited".
      exitServer(1);
    }
  }
}

TEST_F(MainWindow, MissingWebViewOrInvalidAddressAborts) {
  EXPECT_EXIT(delegate().showError("x"), testing::KilledBySignal(SIGABRT),
              "^Orvel OS: an error page before the web view exists\n$");
  storeOnlineAddress();
  EXPECT_DEATH(delegate().reloadPage(), "OS: a reload before the web view exists\n");
  storeAddress("https://os test");
  createWebView();
  EXPECT_DEATH(delegate().reloadPage(), "OS: invalid server URL: https://os test/\n");
}

TEST_F(MainWindow, TerminatedWebProcessReloadsPage) {
  launchApplication();
  fake.record.take();
  web().delegate.webViewWebContentProcessDidTerminate();
  EXPECT_THAT(fake.record.take(), ElementsAre("reload"));
}

/// The window shows the page of the local server. The server still runs, but now another user's
/// program listens on its port.
class MainWindowOnOccupiedPort : public CoreTest {
 protected:
  MainWindowOnOccupiedPort() {
    createWebView();
    fake.http.setResponses(localProbeUrl, {{.statusCode = 200}});
    delegate().openOS();
    fake.scheduler.runUntilIdle();
    EXPECT_EQ(web().shownUrl, "http://127.0.0.1:4767/");
    fake.record.take();
    occupyLocalPort();
  }
  /// Waits 15 s (60 intervals of 250 ms), until the last probe. Expects that the error page is
  /// shown only then and that no request was sent.
  void waitAndExpectOnlyErrorPage() {
    fake.scheduler.advance(15s - 1ms);
    EXPECT_EQ(shownError(), "");
    fake.scheduler.advance(1ms);
    EXPECT_EQ(shownError(), "De OS-server reageert niet. Zie ~/orvel-os/v3/.local/server.log.");
    for (const char *request : {"load http", "reload", "GET"}) {
      EXPECT_EQ(fake.record.count(request), 0U) << request;
    }
  }
};

TEST_F(MainWindowOnOccupiedPort, RepeatedReloadLoadsPageOnceWhenPortIsFree) {
  for (int press = 0; press < 10; ++press) {
    delegate().reloadPage();
    fake.scheduler.advance(20ms);
  }
  restoreLocalPort();
  fake.scheduler.advance(1s);
  EXPECT_EQ(fake.record.count("load http://127.0.0.1:4767/"), 1U);
}

TEST_F(MainWindowOnOccupiedPort, ReloadShowsErrorPageAndLaterReloadProbesAgain) {
  delegate().reloadPage();
  waitAndExpectOnlyErrorPage();
  restoreLocalPort();
  fake.scheduler.advance(1s);
  EXPECT_EQ(fake.record.count("load http"), 0U) << "without another reload";
  occupyLocalPort();
  delegate().reloadPage();
  restoreLocalPort();
  fake.scheduler.advance(1s);
  EXPECT_EQ(fake.record.count("load http://127.0.0.1:4767/"), 1U);
}

TEST_F(MainWindowOnOccupiedPort, TerminatedWebProcessDoesNotReloadPageOfEarlierLocalAddress) {
  storeOnlineAddress();
  web().delegate.webViewWebContentProcessDidTerminate();
  EXPECT_EQ(fake.record.count("reload"), 0U);
  EXPECT_EQ(fake.record.count("GET https://os.test/api/wie"), 1U);
}

TEST_F(MainWindowOnOccupiedPort, TerminatedWebProcessShowsErrorPage) {
  web().delegate.webViewWebContentProcessDidTerminate();
  waitAndExpectOnlyErrorPage();
}

TEST_F(MainWindowOnOccupiedPort,
       TerminatedWebProcessReloadsErrorPageWhenAnotherUserTakesPortAfterProbe) {
  delegate().showError("message");
  restoreLocalPort();
  delegate().openOS();
  occupyLocalPort();
  fake.scheduler.runUntilIdle();
  // The probe has succeeded, but the error page stays, because the port is occupied.
  EXPECT_EQ(fake.record.count("load http"), 0U);
  web().delegate.webViewWebContentProcessDidTerminate();
  EXPECT_EQ(fake.record.take().back(), "reload");
}

TEST_F(MainWindowOnOccupiedPort, TerminatedWebProcessDoesNotReloadPageOfExitedServer) {
  restoreLocalPort();
  lastServer().exit(1);
  // The exit of the server has not been reported yet.
  web().delegate.webViewWebContentProcessDidTerminate();
  EXPECT_THAT(fake.record.take(), IsEmpty());
  fake.scheduler.runUntilIdle();
  EXPECT_THAT(shownError(), StartsWith("De OS-server is gestopt (code 1)."));
}

TEST_F(MainWindow, FailedServerLaunchKeepsUpdateChecks) {
  setNodeScript({.launchError = "broken"});
  launchApplication();
  EXPECT_EQ(fake.record.count("after 4000 ms"), 1U);
  EXPECT_EQ(fake.record.count("every 21600000 ms"), 1U);
  EXPECT_EQ(fake.scheduler.nextDue(), 4000ms);
}

TEST_F(MainWindow, UpdateTimerRetainsDelegate) {
  launchApplication();
  const auto weakDelegate = releaseDelegate();
  fake.scheduler.advance(24h);
  EXPECT_FALSE(weakDelegate.expired());
}

}  // namespace
}  // namespace orvel
