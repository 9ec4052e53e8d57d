#include "update/update_check.h"

#include "tests/unit/core_test.h"

namespace orvel {
namespace {

constexpr bool silent = true;
constexpr bool manual = false;

const std::string manifestUrl = "https://os.test/download/mac.json";

class UpdateCheck : public CoreTest {
 protected:
  UpdateCheck() {
    storeOnlineAddress();
    createWebView();
  }

  void check(bool stil) {
    delegate().zoekUpdate(stil);
    fake.scheduler.runUntilIdle();
  }
  void publishRelease(const std::string &versie, const std::string &zip = "a.zip") {
    fake.http.setResponses(
        manifestUrl,
        {{.statusCode = 200, .body = R"({"versie":")" + versie + R"(","zip":")" + zip + "\"}"}});
  }
  /// Returns the messages of all alerts. Expects that no alert has more than a message.
  std::vector<std::string> alertMessages() const {
    std::vector<std::string> texts;
    for (const Alert &alert : fake.panels.shown) {
      EXPECT_EQ(alert, Alert{.messageText = alert.messageText}) << "notice has more than a message";
      texts.push_back(alert.messageText);
    }
    return texts;
  }
};

TEST_F(UpdateCheck, ManifestHasVersionAndArchive) {
  const std::vector<std::tuple<std::string, std::string, std::string>> rows{
      {R"({"versie":"1.3","zip":"a.zip"})", "1.3", "a.zip"},
      {R"({"zip":"a.zip","versie":"1.3","extra":[1,{"versie":2}]})", "1.3", "a.zip"},
      {R"({"versie":"","zip":""})", "", ""},
  };
  for (const auto &[json, versie, zip] : rows) {
    const auto manifest = readManifest(json);
    ASSERT_TRUE(manifest) << json;
    EXPECT_EQ(manifest->versie, versie) << json;
    EXPECT_EQ(manifest->zip, zip) << json;
  }
}

TEST_F(UpdateCheck, MalformedManifestIsRejected) {
  for (const std::string json :
       {"", "null", "[]", R"([{"versie":"1.3","zip":"a.zip"}])", "{}", R"({"versie":"1.3"})",
        R"({"zip":"a.zip"})", R"({"versie":1.3,"zip":"a.zip"})", R"({"versie":"1.3","zip":null})",
        R"({"versie":["1.3"],"zip":"a.zip"})", R"({"versie":"1.3","zip":{"zip":"a"}})",
        R"({"Versie":"1.3","zip":"a.zip"})", R"({"versie":"1.3","zip":"a.zip")",
        R"(<!doctype html><p>Not found</p>)"}) {
    EXPECT_FALSE(readManifest(json)) << json;
  }
}

TEST_F(UpdateCheck, RequestHasKeyAndManifestPathOfEditionAndBypassesCache) {
  const std::string base = "GET https://os.test/download/";
  const std::string rest = " timeout 10000 ms no cache [X-ORVEL-App: app-key]";
  check(silent);
  EXPECT_THAT(fake.record.take(), ElementsAre(base + "mac.json" + rest));
  fake.edition = linuxEdition;
  check(silent);
  EXPECT_THAT(fake.record.take(), ElementsAre(base + "linux.json" + rest));
}

TEST_F(UpdateCheck, ManualCheckOfLocalAddressShowsBuildInstructions) {
  for (const std::string address : {"http://127.0.0.1:4767/", "http://localhost:3000"}) {
    storeAddress(address);
    fake.panels.shown.clear();
    delegate().zoekUpdate(silent);
    EXPECT_THAT(alertMessages(), IsEmpty());
    delegate().zoekUpdate(manual);
    EXPECT_THAT(alertMessages(),
                ElementsAre("Op deze Mac werk je de app bij met: ./scripts/build-app.sh"));
  }
  EXPECT_THAT(fake.http.sent, IsEmpty());
}

TEST_F(UpdateCheck, InvalidAddressEndsCheckWithoutNotice) {
  storeAddress("https://os test");
  check(manual);
  EXPECT_THAT(alertMessages(), IsEmpty());
  EXPECT_THAT(fake.http.sent, IsEmpty());
}

TEST_F(UpdateCheck, ManualCheckWithoutNewerVersionReportsCurrentVersion) {
  // The running application has version 1.0.
  for (const std::string versie : {"1.0", "0.9", "1", "nonsense"}) {
    fake.panels.shown.clear();
    SCOPED_TRACE(versie);
    publishRelease(versie);
    check(silent);
    EXPECT_THAT(alertMessages(), IsEmpty());
    check(manual);
    EXPECT_THAT(alertMessages(), ElementsAre("Orvel OS 1.0 is de nieuwste versie."));
  }
}

TEST_F(UpdateCheck, OnlyManualCheckReportsFailure) {
  const std::string newer = R"({"versie":"1.3","zip":"a.zip"})";
  // No response, a response without a body, a body without an HTTP response, and a malformed
  // manifest.
  std::vector<FakeResponse> failures{
      {}, {.statusCode = 200}, {.body = newer}, {.statusCode = 200, .body = "[]"}};
  for (const int status : {201, 204, 304, 404, 500}) {
    failures.push_back({.statusCode = status, .body = newer});
  }
  for (const FakeResponse &failure : failures) {
    fake.panels.shown.clear();
    fake.http.setResponses(manifestUrl, {failure});
    check(silent);
    EXPECT_THAT(alertMessages(), IsEmpty());
    delegate().zoekUpdateMenu();
    fake.scheduler.runUntilIdle();
    EXPECT_THAT(alertMessages(), ElementsAre("Kon niet controleren op updates."))
        << "status " << failure.statusCode.value_or(0) << ", body "
        << failure.body.value_or("absent");
  }
  EXPECT_EQ(fake.record.count("download"), 0U);
}

TEST_F(UpdateCheck, NewerVersionIsDownloadedWithoutQuestion) {
  const std::vector<std::pair<std::string, std::string>> rows{
      {"orvel-os-1.3.zip", "https://os.test/download/orvel-os-1.3.zip"},
      {"/files/x.zip", "https://os.test/files/x.zip"},
      {"../x.zip", "https://os.test/x.zip"},
      {"https://other.test/x.zip?y", "https://other.test/x.zip?y"},
      {"//other.test/x.zip", "https://other.test/x.zip"},
      {"?x", "https://os.test/download/mac.json?x"},
      {"release é|1.zip", "https://os.test/download/release%20%C3%A9%7C1.zip"},
  };
  for (const bool stil : {silent, manual}) {
    for (const auto &[zip, address] : rows) {
      publishRelease("1.3", zip);
      fake.record.take();
      check(stil);
      EXPECT_THAT(fake.record.callsStartingWith("download"),
                  ElementsAre("download " + address + " timeout 60000 ms [X-ORVEL-App: app-key]"));
      EXPECT_THAT(alertMessages(), IsEmpty());
    }
  }
}

TEST_F(UpdateCheck, InvalidArchiveUrlAborts) {
  publishRelease("1.3", "");
  EXPECT_DEATH(check(silent), "invalid archive URL: \n");
  publishRelease("1.3", "http://[x/a b.zip");
  EXPECT_DEATH(check(silent), "invalid archive URL: http://\\[x/a b.zip\n");
}

TEST_F(UpdateCheck, SilentChecksRunFourSecondsAfterLaunchAndEverySixHours) {
  launchApplication();
  fake.scheduler.advance(3999ms);
  EXPECT_EQ(fake.record.count("GET " + manifestUrl), 0U);
  fake.scheduler.advance(1ms);
  EXPECT_EQ(fake.record.count("GET " + manifestUrl), 1U);
  // The interval begins at the launch and not at the first check.
  fake.scheduler.advance(6h - 4s - 1ms);
  EXPECT_EQ(fake.record.count("GET " + manifestUrl), 1U);
  fake.scheduler.advance(1ms);
  EXPECT_EQ(fake.record.count("GET " + manifestUrl), 2U);
  fake.scheduler.advance(12h);
  EXPECT_EQ(fake.record.count("GET " + manifestUrl), 4U);
  EXPECT_THAT(alertMessages(), IsEmpty());
}

TEST_F(UpdateCheck, ConcurrentChecksAreIndependent) {
  publishRelease("1.0");
  delegate().zoekUpdate(silent);
  delegate().zoekUpdate(manual);
  fake.scheduler.runUntilIdle();
  EXPECT_EQ(fake.http.sent.size(), 2U);
  EXPECT_THAT(alertMessages(), ElementsAre("Orvel OS 1.0 is de nieuwste versie."));
}

TEST_F(UpdateCheck, InstallationStartsWhileMainThreadIsBlocked) {
  publishRelease("1.3");
  delegate().zoekUpdate(silent);
  // Blocks the main thread, so that only background tasks run.
  fake.clock.sleep(1s);
  EXPECT_EQ(fake.record.count("download https://os.test/download/a.zip"), 1U);
}

TEST_F(UpdateCheck, CheckRetainsDelegateUntilNotice) {
  fake.http.setResponses(manifestUrl, {{.delay = 1s}});
  delegate().zoekUpdate(manual);
  const auto weakDelegate = releaseDelegate();
  EXPECT_FALSE(weakDelegate.expired()) << "during the request";
  // The notice is posted while the main thread is blocked.
  fake.clock.sleep(1s);
  EXPECT_FALSE(weakDelegate.expired()) << "before the notice";
  fake.scheduler.runUntilIdle();
  EXPECT_THAT(alertMessages(), ElementsAre("Kon niet controleren op updates."));
  EXPECT_TRUE(weakDelegate.expired());
}

}  // namespace
}  // namespace orvel
