#include "server/readiness.h"

#include <functional>
#include <tuple>

#include "tests/unit/core_test.h"

namespace orvel {
namespace {

const std::string localServerError =
    "De OS-server reageert niet. Zie ~/orvel-os/v3/.local/server.log.";

class Readiness : public CoreTest {
 protected:
  Readiness() { createWebView(); }

  void openOS() { delegate().openOS(); }
  std::vector<FakeScheduler::Duration> probeTimes() {
    std::vector<FakeScheduler::Duration> times;
    for (const auto &sent : fake.http.sent) times.push_back(sent.at);
    return times;
  }
};

TEST_F(Readiness, SuccessfulThirdProbeStoresCookieThenLoadsPage) {
  // An empty FakeResponse, here and below, is a refused connection. A response with status 200
  // counts even without a body, that is, when its body fails.
  fake.http.setResponses(localProbeUrl, {{}, {.statusCode = 401}, {.statusCode = 200}});
  fake.windows.cookies.delay = 70ms;
  openOS();
  // 1 ms before the cookie is stored: the page is not loaded yet.
  fake.scheduler.advance(569ms);
  EXPECT_THAT(probeTimes(), ElementsAre(0ms, 250ms, 500ms));
  const std::string probe =
      "GET http://127.0.0.1:4767/api/wie timeout 3000 ms [X-ORVEL-App: app-key]";
  EXPECT_THAT(
      fake.record.take(),
      ElementsAre("sh " + listenersCommand,
                  "launch /usr/local/bin/node " + root() + "/v3/server.mjs", probe, "after 250 ms",
                  probe, "after 250 ms", probe, "cookie orvelapp=app-key for 127.0.0.1/"));
  fake.scheduler.advance(1min);
  EXPECT_THAT(fake.record.take(),
              ElementsAre("cookie stored", "load http://127.0.0.1:4767/ timeout 60000 ms"));
  EXPECT_EQ(fake.scheduler.nextDue(), std::nullopt);
}

TEST_F(Readiness, LocalServerRefusingConnectionsShowsErrorAfterSixtyOneProbes) {
  for (const std::string address : {"http://127.0.0.1:4767/", "http://localhost:3000/"}) {
    SCOPED_TRACE(address);
    storeAddress(address);
    // Replaces the error page of the previous address.
    web().loadHtml("");
    fake.http.sent.clear();
    const auto start = fake.scheduler.now();
    openOS();
    fake.scheduler.advance(15s - 1ms);
    EXPECT_EQ(fake.http.sent.size(), 60U);
    EXPECT_EQ(shownError(), "");
    fake.scheduler.advance(1ms);
    EXPECT_EQ(fake.http.sent.size(), 61U);
    EXPECT_EQ(fake.http.sent.back().at - start, 15s);
    EXPECT_EQ(shownError(), localServerError);
    EXPECT_TRUE(lastServer().isRunning());
    EXPECT_EQ(fake.scheduler.nextDue(), std::nullopt);
  }
}

TEST_F(Readiness, SuccessOfLastProbeLoadsPage) {
  // Server addresses and the greatest number of probes for each.
  const std::vector<std::pair<std::string, std::size_t>> rows{
      {"http://127.0.0.1:4767/", 61}, {"http://localhost:3000/", 61}, {"https://os.test/", 9}};
  for (const auto &[address, probes] : rows) {
    storeAddress(address);
    std::vector<FakeResponse> responses(probes - 1);
    responses.push_back({.statusCode = 200, .body = "ignored"});
    fake.http.setResponses(address + "api/wie", responses);
    fake.http.sent.clear();
    openOS();
    fake.scheduler.advance(1min);
    EXPECT_EQ(fake.http.sent.size(), probes) << address;
    EXPECT_EQ(web().shownUrl, address);
  }
}

TEST_F(Readiness, UnresponsiveOnlineServerShowsErrorAfterNineProbes) {
  storeAddress("https://os.test");
  fake.http.setResponses("https://os.test/api/wie", {{.delay = 3s}});
  openOS();
  // Nine timeouts of 3 s and the eight intervals of 2 s between them take 43 s.
  fake.scheduler.advance(43s - 1ms);
  EXPECT_EQ(shownError(), "");
  fake.scheduler.advance(1ms);
  EXPECT_THAT(probeTimes(), ElementsAre(0s, 5s, 10s, 15s, 20s, 25s, 30s, 35s, 40s));
  EXPECT_EQ(shownError(),
            "Geen verbinding met https://os.test/. Check je internet en probeer opnieuw met ⌘R.");
  EXPECT_EQ(fake.processes.launched.size(), 0U);
  EXPECT_EQ(fake.scheduler.nextDue(), std::nullopt);
}

TEST_F(Readiness, OnlineResponseOtherThanStatus200IsRetried) {
  // A body without a status is not HTTP.
  std::vector<FakeResponse> responses{{.body = "body"}};
  for (const int status : {100, 199, 201, 204, 301, 304, 401, 404, 500}) {
    responses.push_back({.statusCode = status});
  }
  storeOnlineAddress();
  for (const FakeResponse &response : responses) {
    fake.http.sent.clear();
    fake.http.setResponses("https://os.test/api/wie", {response});
    openOS();
    fake.scheduler.advance(1min);
    const int status = response.statusCode.value_or(0);
    EXPECT_EQ(fake.http.sent.size(), 9U) << status;
    EXPECT_EQ(fake.record.count("load http"), 0U) << status;
    EXPECT_THAT(shownError(), StartsWith("Geen verbinding met")) << status;
  }
}

TEST_F(Readiness, ChangeToLocalAddressWithoutServerEndsProbes) {
  storeOnlineAddress();
  openOS();
  fake.scheduler.advance(1s);
  storeAddress("http://127.0.0.1:4767/");
  fake.scheduler.advance(1min);
  EXPECT_EQ(fake.http.sent.size(), 1U);
  EXPECT_EQ(shownError(), "");
}

TEST_F(Readiness, MissingKeyLoadsPageWithoutCookie) {
  fake.bundle.texts.erase("ORVELOSKey");
  recreateDelegate();
  fake.http.setResponses(localProbeUrl, {{.statusCode = 200}});
  openOS();
  fake.record.take();
  fake.scheduler.runUntilIdle();
  EXPECT_THAT(fake.record.take(), ElementsAre("load http://127.0.0.1:4767/ timeout 60000 ms"));
  EXPECT_EQ(fake.http.sent[0].request.headers.at("X-ORVEL-App"), "");
}

TEST_F(Readiness, CookieBelongsToHostAndIsSecureUnlessAddressIsLocal) {
  const std::vector<std::tuple<std::string, std::string, bool>> rows{
      {"https://os.test:8443/app/", "os.test", true},
      {"http://localhost:3000/", "localhost", false},
  };
  const auto fiveYears = 157'680'000s;
  for (const auto &[address, host, isOnline] : rows) {
    storeAddress(address);
    fake.windows.cookies.cookies.clear();
    fake.http.setResponses(address + "api/wie", {{.statusCode = 200}});
    openOS();
    fake.scheduler.runUntilIdle();
    EXPECT_THAT(fake.windows.cookies.cookies,
                ElementsAre(Cookie{.name = "orvelapp",
                                   .value = "app-key",
                                   .domain = host,
                                   .path = "/",
                                   .secure = isOnline,
                                   .expires = fake.clock.start + fiveYears}));
    EXPECT_EQ(web().shownUrl, address);
    EXPECT_EQ(fake.processes.launched.size(), isOnline ? 0U : 1U) << address;
  }
}

TEST_F(Readiness, MissingServerScriptShowsErrorWithoutProbe) {
  const std::string script = root() + "/v3/server.mjs";
  std::filesystem::remove(script);
  for (const bool isDangling : {false, true}) {
    SCOPED_TRACE(isDangling ? "dangling symbolic link" : "no file");
    if (isDangling) std::filesystem::create_symlink("/nonexistent", script);
    fake.record.take();
    openOS();
    EXPECT_EQ(
        shownError(),
        "Deze Mac heeft het OS niet. Kies Orvel OS → Serveradres… en vul het online adres in.");
    EXPECT_EQ(fake.record.calls().size(), 1U) << "more calls than the load of the error page";
    EXPECT_EQ(fake.scheduler.nextDue(), std::nullopt);
  }
}

TEST_F(Readiness, FolderInPlaceOfServerScriptLaunchesNode) {
  // Before a launch, only the existence of the script is checked.
  std::filesystem::remove(root() + "/v3/server.mjs");
  std::filesystem::create_directory(root() + "/v3/server.mjs");
  openOS();
  EXPECT_EQ(fake.processes.launched.size(), 1U);
}

TEST_F(Readiness, FailedLaunchOrRestartSendsNoProbe) {
  for (const std::string error : {"first launch", "restart"}) {
    setNodeScript({.launchError = error});
    openOS();
    fake.scheduler.advance(1min);
    EXPECT_EQ(shownError(), "Kon node niet starten: " + error);
    EXPECT_THAT(fake.http.sent, IsEmpty()) << error;
    // Leaves an exited server for the round "restart".
    setNodeScript({});
    delegate().startServer();
    exitServer(1);
  }
}

TEST_F(Readiness, ServerExitEndsProbesAndIsReported) {
  setNodeScript({.exitsAfter = 600ms, .status = 7});
  openOS();
  fake.scheduler.advance(1min);
  EXPECT_THAT(probeTimes(), ElementsAre(0ms, 250ms, 500ms));
  EXPECT_THAT(shownError(), StartsWith("De OS-server is gestopt (code 7)."));
}

TEST_F(Readiness, SecondOpenOsProbesRunningServerIndependently) {
  fake.http.setResponses(localProbeUrl, {{}, {}, {.statusCode = 200}});
  openOS();
  fake.scheduler.advance(100ms);
  openOS();
  fake.scheduler.advance(1s);
  EXPECT_EQ(fake.processes.launched.size(), 1U) << "the running server was replaced";
  EXPECT_THAT(probeTimes(), ElementsAre(0ms, 100ms, 250ms, 350ms));
  EXPECT_EQ(fake.record.count("load http://127.0.0.1:4767/"), 2U);
  EXPECT_EQ(fake.record.count("cookie orvelapp"), 2U);
  EXPECT_EQ(fake.windows.cookies.cookies.size(), 1U);
}

TEST_F(Readiness, AddressIsReadAgainForEachProbeAndForPage) {
  storeAddress("https://first.test/");
  openOS();
  fake.scheduler.runUntilIdle();
  storeAddress("https://second.test/");
  fake.http.setResponses("https://second.test/api/wie", {{.statusCode = 200}});
  fake.windows.cookies.delay = 1s;
  fake.scheduler.advance(2s);
  EXPECT_EQ(fake.record.count("cookie orvelapp=app-key for second.test/"), 1U);
  storeAddress("https://third.test/");
  fake.scheduler.advance(1s);
  EXPECT_EQ(web().shownUrl, "https://third.test/");
}

TEST_F(Readiness, InvalidAddressAborts) {
  storeAddress("https://os test/");
  EXPECT_DEATH(openOS(), "OS: invalid server URL: https://os test/\n");
}

TEST_F(Readiness, SuccessfulProbeBeforeWebViewAborts) {
  delegate().web.reset();
  storeOnlineAddress();
  fake.http.setResponses("https://os.test/api/wie", {{.statusCode = 200}});
  openOS();
  EXPECT_DEATH(fake.scheduler.runUntilIdle(), "OS: the OS is ready before the web view exists\n");
}

TEST_F(Readiness, ProbesRetainDelegateUntilPageLoads) {
  storeOnlineAddress();
  fake.http.setResponses("https://os.test/api/wie",
                         {{.delay = 1s}, {.statusCode = 200, .delay = 1s}});
  fake.windows.cookies.delay = 1s;
  openOS();
  const auto weakDelegate = releaseDelegate();
  EXPECT_FALSE(weakDelegate.expired()) << "during the probe";
  fake.scheduler.advance(2s);
  EXPECT_FALSE(weakDelegate.expired()) << "before the next probe";
  fake.scheduler.advance(2500ms);
  EXPECT_EQ(fake.record.count("cookie orvelapp"), 1U);
  EXPECT_FALSE(weakDelegate.expired()) << "while the cookie is stored";
  fake.scheduler.advance(1min);
  EXPECT_EQ(fake.record.count("load https://os.test/"), 1U);
  EXPECT_TRUE(weakDelegate.expired());
}

TEST_F(Readiness, KeyCookieNeedsHostAndKey) {
  EXPECT_EQ(keyCookie("no address", /*local=*/false, "k", /*now=*/{}), std::nullopt);
  EXPECT_EQ(keyCookie("mailto:someone", /*local=*/false, "k", /*now=*/{}), std::nullopt);
  EXPECT_EQ(keyCookie("https://os.test/", /*local=*/false, "", /*now=*/{}), std::nullopt);
  EXPECT_TRUE(keyCookie("https://os.test/", /*local=*/false, "k", /*now=*/{}).has_value());
}

TEST_F(Readiness, RetryUsesAddressAtTimeOfResponse) {
  // The argument of waitForServer is the number of failed probes: 8 before the last of nine.
  const int failedOnlineProbes = 8;
  delegate().startServer();
  fake.http.setResponses("https://os.test/api/wie", {{.delay = 1s}});
  storeOnlineAddress();
  delegate().waitForServer(failedOnlineProbes);
  storeAddress("http://127.0.0.1:4767/");
  fake.record.take();
  fake.scheduler.advance(1s);
  // The interval of local probes, which end only after 61 failures.
  EXPECT_THAT(fake.record.take(), ElementsAre("after 250 ms"));

  delegate().waitForServer(failedOnlineProbes);
  storeOnlineAddress();
  fake.scheduler.runUntilIdle();
  EXPECT_THAT(shownError(), StartsWith("Geen verbinding met https://os.test/."));
}

TEST_F(Readiness, ProgramOfAnotherUserOnLocalPortIsNotProbed) {
  fake.http.setResponses(localProbeUrl, {{.statusCode = 200}});
  occupyLocalPort();
  openOS();
  fake.scheduler.advance(15s - 1ms);
  EXPECT_EQ(shownError(), "");
  fake.scheduler.advance(1ms);
  EXPECT_EQ(shownError(), localServerError);
  EXPECT_THAT(fake.http.sent, IsEmpty());
  EXPECT_EQ(fake.record.count("load http"), 0U);
  EXPECT_EQ(fake.scheduler.nextDue(), std::nullopt);
}

TEST_F(Readiness, ProbesBeginWhenProgramOfAnotherUserHasLeftLocalPort) {
  fake.http.setResponses(localProbeUrl, {{.statusCode = 200}});
  occupyLocalPort();
  openOS();
  fake.scheduler.advance(499ms);
  restoreLocalPort();
  fake.scheduler.advance(1ms);
  EXPECT_THAT(probeTimes(), ElementsAre(500ms));
  EXPECT_EQ(web().shownUrl, "http://127.0.0.1:4767/");
}

TEST_F(Readiness, PageIsNotLoadedWhenPortIsTakenOrServerExitsAfterProbeIsSent) {
  struct Failure {
    std::string name;
    std::function<void()> occur;
    std::string error;
  };
  const std::vector<Failure> failures{
      {"another user's program listens", [&] { occupyLocalPort(); }, localServerError},
      {"the server exits", [&] { lastServer().exit(7); },
       "De OS-server is gestopt (code 7). Zie ~/orvel-os/v3/.local/server.log. Herstarten met ⌘R."},
  };
  struct Moment {
    std::string name;
    FakeScheduler::Duration probeDelay;
    FakeScheduler::Duration cookieDelay;
    bool hasKey = true;
  };
  // Each failure occurs after 500 ms.
  const std::vector<Moment> moments{
      {"before the response", 1s, 0s},
      {"before the response, without a key", 1s, 0s, false},
      {"while the cookie is stored", 0s, 1s},
  };
  for (const auto &[moment, probeDelay, cookieDelay, hasKey] : moments) {
    for (const auto &[failure, occur, error] : failures) {
      SCOPED_TRACE(failure + " " + moment);
      restoreLocalPort();
      fake.bundle.texts["ORVELOSKey"] = hasKey ? "app-key" : "";
      recreateDelegate();
      fake.http.sent.clear();
      fake.http.setResponses(localProbeUrl, {{.statusCode = 200, .delay = probeDelay}});
      fake.windows.cookies.delay = cookieDelay;
      openOS();
      fake.scheduler.advance(500ms);
      occur();
      fake.scheduler.advance(1min);
      EXPECT_EQ(fake.http.sent.size(), 1U);
      EXPECT_EQ(fake.record.count("load http"), 0U);
      EXPECT_EQ(shownError(), error);
      EXPECT_EQ(fake.scheduler.nextDue(), std::nullopt);
    }
  }
}

TEST_F(Readiness, ProbeDuringWhichAnotherUserTakesPortFails) {
  fake.http.setResponses(localProbeUrl, {{.statusCode = 200, .delay = 100ms}});
  openOS();
  for (int failedProbes = 0; failedProbes <= 60; ++failedProbes) {
    EXPECT_EQ(shownError(), "") << "after " << failedProbes << " failed probes";
    fake.scheduler.advance(50ms);
    occupyLocalPort();
    // The response arrives while another user's program listens.
    fake.scheduler.advance(50ms);
    restoreLocalPort();
    fake.scheduler.advance(250ms);
  }
  EXPECT_EQ(fake.http.sent.size(), 61U);
  EXPECT_EQ(shownError(), localServerError);
  EXPECT_EQ(fake.record.count("load http"), 0U);
}

}  // namespace
}  // namespace orvel
