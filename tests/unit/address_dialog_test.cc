#include "tests/unit/core_test.h"

namespace orvel {
namespace {

class AddressDialog : public CoreTest {
 protected:
  AddressDialog() { createWebView(); }

  /// Opens the dialog, enters a text and presses a button: 0 saves, 1 cancels, and nullopt closes
  /// the dialog.
  void enterAddress(const std::string &text, std::optional<int> button = 0) {
    delegate().kiesAdres();
    answerAlert(button, text);
  }
  std::optional<std::string> storedAddress() const { return fake.defaults.text("osURL"); }
};

TEST_F(AddressDialog, ShowsCurrentAddressWithTrailingSlash) {
  storeAddress("https://example.test/os");
  delegate().kiesAdres();
  const Alert dialog{
      .messageText = "Adres van het OS",
      .informativeText =
          "Online: bijv. https://os.voorbeeld.nl\nOp deze Mac: http://127.0.0.1:4767/",
      .buttons = {"Bewaar", "Annuleren"},
      .textField = AlertTextField{.width = 340, .height = 24, .text = "https://example.test/os/"},
  };
  EXPECT_THAT(fake.panels.shown, ElementsAre(dialog));
}

TEST_F(AddressDialog, CancelOrCloseStoresNothing) {
  enterAddress("https://example.test", 1);
  enterAddress("https://example.test", std::nullopt);
  EXPECT_EQ(storedAddress(), std::nullopt);
  EXPECT_THAT(fake.record.take(), ElementsAre("alert Adres van het OS", "alert Adres van het OS"));
}

TEST_F(AddressDialog, OpenDialogRetainsDelegate) {
  delegate().kiesAdres();
  const auto weakDelegate = releaseDelegate();
  EXPECT_FALSE(weakDelegate.expired());
  answerAlert(1);
  EXPECT_TRUE(weakDelegate.expired());
}

TEST_F(AddressDialog, SaveStoresTrimmedAddressAndProbesServer) {
  // No response arrives during the test.
  fake.http.setResponses("https://example.test/os/api/wie", {{.statusCode = 200, .delay = 1h}});
  enterAddress(" \t https://example.test/os\t ");
  EXPECT_EQ(delegate().baseURL(), "https://example.test/os/");
  EXPECT_THAT(
      fake.record.take(),
      ElementsAre("alert Adres van het OS", "default osURL = https://example.test/os",
                  "GET https://example.test/os/api/wie timeout 3000 ms [X-ORVEL-App: app-key]"));
}

TEST_F(AddressDialog, InvalidAddressShowsErrorAndKeepsStoredAddress) {
  storeAddress("https://example.test");
  // A valid scheme is in lower case. Of white space, only spaces and tabs are trimmed.
  for (const std::string text :
       {"", "   ", "\t", "example.test", "ftp://example.test", "HTTP://example.test",
        "Https://example.test", "mailto:someone@example.test", "file:///etc", "https",
        "https://exa mple.test", "https://example.test\n", "\nhttps://example.test",
        "//example.test", "http://[::1", "http://example.test/%zz"}) {
    fake.panels.shown.clear();
    enterAddress(text);
    ASSERT_EQ(fake.panels.shown.size(), 2U) << text;
    EXPECT_EQ(fake.panels.shown[1], Alert{.messageText = "Dat is geen geldig adres."}) << text;
    answerAlert(0);
    EXPECT_EQ(fake.panels.shown.size(), 2U) << "another alert after the error for " << text;
  }
  EXPECT_EQ(storedAddress(), "https://example.test");
  EXPECT_EQ(fake.record.count("GET"), 0U);
  EXPECT_THAT(fake.processes.launched, IsEmpty());
}

TEST_F(AddressDialog, OnlineAddressStopsLocalServerWithoutErrorPage) {
  setNodeScript({.exitsAfterSigterm = 2000ms});
  // No response arrives during the test.
  fake.http.setResponses("https://example.test/api/wie", {{.statusCode = 200, .delay = 1h}});
  delegate().startServer();
  const auto running = fake.processes.launched.back();
  bool wasQuitting = false;
  running->onTerminate = [&] { wasQuitting = delegate().quitting; };
  fake.record.take();
  enterAddress("https://example.test");

  EXPECT_EQ(delegate().server, nullptr);
  // `quitting` marks the stop as intended, but only during the call of terminate().
  EXPECT_TRUE(wasQuitting);
  EXPECT_FALSE(delegate().quitting);
  EXPECT_THAT(
      fake.record.take(),
      ElementsAre("alert Adres van het OS", "default osURL = https://example.test",
                  "terminate " + running->name,
                  "GET https://example.test/api/wie timeout 3000 ms [X-ORVEL-App: app-key]"));
  fake.scheduler.advance(2500ms);
  EXPECT_FALSE(running->isRunning());
  EXPECT_EQ(shownError(), "");
}

TEST_F(AddressDialog, OnlineAddressDoesNotSignalExitedServer) {
  delegate().startServer();
  exitServer(1);
  const auto exited = delegate().server;
  enterAddress("https://example.test");
  EXPECT_EQ(delegate().server, exited);
  EXPECT_EQ(fake.record.count("terminate"), 0U);
}

TEST_F(AddressDialog, LocalAddressKeepsRunningServerAndStartsStoppedOne) {
  delegate().startServer();
  enterAddress("http://localhost:4767");
  EXPECT_EQ(fake.processes.launched.size(), 1U);
  EXPECT_TRUE(delegate().server->isRunning());
  EXPECT_EQ(fake.record.count("GET http://localhost:4767/api/wie"), 1U);

  enterAddress("https://example.test");
  enterAddress("http://127.0.0.1:4767/");
  EXPECT_EQ(fake.processes.launched.size(), 2U);
  EXPECT_TRUE(delegate().server->isRunning());
}

TEST_F(AddressDialog, AddressChangesWhileQuittingStartNoServer) {
  setNodeScript({.exitsAfterSigterm = std::nullopt});
  delegate().startServer();
  fake.record.take();
  fake.application.requestTermination();
  fake.scheduler.schedule(FakeScheduler::Thread::main, 50ms, [this] {
    delegate().kiesAdres();
    fake.panels.answer({0, "https://example.test"});
  });
  fake.scheduler.schedule(FakeScheduler::Thread::main, 150ms, [this] {
    delegate().kiesAdres();
    fake.panels.answer({0, "http://127.0.0.1:4767/"});
  });
  fake.scheduler.advance(10s);

  std::vector<std::string> expected{
      "terminate process 1",    "sleep 100 ms",
      "alert Adres van het OS", "default osURL = https://example.test",
      "terminate process 1",    "sleep 100 ms",
      "alert Adres van het OS", "default osURL = http://127.0.0.1:4767/"};
  // A quit waits at most 30 times before it kills the server. Two of the waits are listed above.
  expected.insert(expected.end(), 28, "sleep 100 ms");
  expected.insert(expected.end(), {"kill process 1", "application terminated"});
  EXPECT_EQ(fake.record.take(), expected);
  EXPECT_TRUE(delegate().quitting);
  EXPECT_EQ(fake.processes.launched.size(), 1U);
}

}  // namespace
}  // namespace orvel
