#include "update/update_check.h"

#include "tests/unit/core_test.h"

namespace orvel {
namespace {

constexpr bool silent = true;
constexpr bool manual = false;

const std::string manifestAddress = "https://os.test/download/mac.json";

class UpdateCheck : public CoreTest {
 protected:
  UpdateCheck() {
    goOnline();
    createWebView();
  }

  void check(bool stil) {
    delegate().zoekUpdate(stil);
    fake.scheduler.runUntilIdle();
  }
  void respond(const std::string &body, int status = 200) {
    fake.http.respond(manifestAddress, {{.statusCode = status, .body = body}});
  }
  std::vector<std::string> notices() const {
    std::vector<std::string> texts;
    for (const Alert &alert : fake.panels.shown) {
      Alert notice;
      notice.messageText = alert.messageText;
      EXPECT_EQ(alert, notice) << "a notice has only a message";
      texts.push_back(alert.messageText);
    }
    return texts;
  }
};

TEST_F(UpdateCheck, ManifestHasVersionAndArchive) {
  const std::vector<std::tuple<std::string, std::string, std::string>> rows{
      {R"({"versie":"1.3","zip":"a.zip"})", "1.3", "a.zip"},
      {R"( { "zip" : "a.zip" , "versie" : "1.3", "extra": [1, {"versie": 2}] } )", "1.3", "a.zip"},
      {R"({"versie":"\u0031.3","zip":"a\/b.zip"})", "1.3", "a/b.zip"},
      {R"({"versie":"","zip":""})", "", ""},
      {R"({"versie":"1","versie":"2","zip":"a"})", "2", "a"},
      {"\xef\xbb\xbf{\"versie\":\"1.3\",\"zip\":\"a.zip\"}", "1.3", "a.zip"},
      {R"({"versie":"1.3 é €","zip":"a"})", "1.3 é €", "a"},
      {std::string(R"({"versie":"1\u00002","zip":"a"})"),
       std::string("1\0"
                   "2",
                   3),
       "a"},
  };
  for (const auto &[json, versie, zip] : rows) {
    const auto manifest = readManifest(json);
    ASSERT_TRUE(manifest) << json;
    EXPECT_EQ(manifest->versie, versie) << json;
    EXPECT_EQ(manifest->zip, zip) << json;
  }
}

TEST_F(UpdateCheck, MalformedManifestIsRejected) {
  const std::string deep = std::string(100'000, '[') + std::string(100'000, ']');
  const std::vector<std::string> rows{
      "",
      " ",
      "null",
      "true",
      "1.3",
      R"("1.3")",
      "[]",
      R"([{"versie":"1.3","zip":"a.zip"}])",
      "{}",
      R"({"versie":"1.3"})",
      R"({"zip":"a.zip"})",
      R"({"versie":1.3,"zip":"a.zip"})",
      R"({"versie":"1.3","zip":null})",
      R"({"versie":["1.3"],"zip":"a.zip"})",
      R"({"versie":"1.3","zip":{"zip":"a"}})",
      R"({"versie":"1.3","versie":2,"zip":"a"})",
      R"({"Versie":"1.3","zip":"a.zip"})",
      R"({"versie":"1.3","zip":"a.zip")",
      R"({"versie":"1.3","zip":"a.zip"}})",
      R"({"versie":"1.3","zip":"a.zip",})",
      R"({'versie':'1.3','zip':'a.zip'})",
      R"({versie:"1.3",zip:"a.zip"})",
      R"(var m = {"versie":"1.3","zip":"a.zip"};)",
      R"(/* */{"versie":"1.3","zip":"a.zip"})",
      "{\"versie\":\"1.3\",\"zip\":\"a\nb\"}",
      "{\"versie\":\"1.3\",\"zip\":\"\xff\"}",
      std::string("{\"versie\":\"1.3\",\"zip\":\"a\0\"}", 27),
      R"(<!doctype html><p>Not found</p>)",
      R"({"versie":"1.3","zip":"a","deep":)" + deep,
  };
  for (const std::string &json : rows) EXPECT_FALSE(readManifest(json)) << json.substr(0, 80);
}

TEST_F(UpdateCheck, DeepAndLongManifestsAreHandled) {
  const std::string deep = std::string(100'000, '[') + std::string(100'000, ']');
  // The parser may reject this depth but must not overflow the stack.
  const auto manifest = readManifest(R"({"versie":"1.3","zip":"a","deep":)" + deep + "}");
  EXPECT_EQ(manifest.value_or(UpdateManifest{"1.3", ""}).versie, "1.3");
  const std::string longText(8'000'000, 'x');
  ASSERT_TRUE(readManifest(R"({"versie":"1.3","zip":")" + longText + "\"}"));
}

TEST_F(UpdateCheck, RequestHasKeyAndBypassesCache) {
  check(silent);
  EXPECT_THAT(fake.record.take(), ElementsAre("GET " + manifestAddress +
                                              " timeout 10000 ms no cache [X-ORVEL-App: app-key]"));
}

TEST_F(UpdateCheck, ManifestPathIsThatOfPlatform) {
  fake.names = linuxNames;
  check(silent);
  EXPECT_EQ(fake.http.sent[0].request.url.absoluteString, "https://os.test/download/linux.json");
}

TEST_F(UpdateCheck, LocalAddressShowsBuildInstructions) {
  for (const std::string address : {"http://127.0.0.1:4767/", "http://localhost:3000"}) {
    goOnline(address);
    fake.panels.shown.clear();
    delegate().zoekUpdate(silent);
    EXPECT_THAT(notices(), IsEmpty());
    delegate().zoekUpdate(manual);
    EXPECT_THAT(notices(),
                ElementsAre("Op deze Mac werk je de app bij met: ./scripts/build-app.sh"));
  }
  EXPECT_THAT(fake.http.sent, IsEmpty());
}

TEST_F(UpdateCheck, InvalidAddressEndsWithoutNotice) {
  goOnline("https://os test");
  check(manual);
  EXPECT_THAT(notices(), IsEmpty());
  EXPECT_THAT(fake.http.sent, IsEmpty());
}

TEST_F(UpdateCheck, NoNewerVersionReportsCurrentVersion) {
  for (const std::string versie : {"1.0", "0.9", "1", "nonsense"}) {
    fake.panels.shown.clear();
    respond(R"({"versie":")" + versie + R"(","zip":"a.zip"})");
    check(silent);
    EXPECT_THAT(notices(), IsEmpty());
    check(manual);
    EXPECT_THAT(notices(), ElementsAre("Orvel OS 1.0 is de nieuwste versie."));
  }
}

TEST_F(UpdateCheck, OnlyManualCheckReportsFailure) {
  const std::string valid = R"({"versie":"1.0","zip":"a.zip"})";
  const std::vector<std::pair<int, std::string>> responses{
      {204, valid},
      {304, valid},
      {404, valid},
      {500, valid},
      {201, valid},
      {200, ""},
      {200, "[]"},
      {200, R"({"versie":"1.0"})"},
      {200, R"({"versie":1.3,"zip":"a"})"},
  };
  for (const auto &[status, body] : responses) {
    fake.panels.shown.clear();
    respond(body, status);
    check(silent);
    EXPECT_THAT(notices(), IsEmpty());
    check(manual);
    EXPECT_THAT(notices(), ElementsAre("Kon niet controleren op updates.")) << status << body;
  }
}

TEST_F(UpdateCheck, MissingResponseOrBodyIsFailure) {
  const std::vector<FakeResponse> failures{
      {.statusCode = 200}, {.body = R"({"versie":"1.3","zip":"a.zip"})"}, {}};
  for (const FakeResponse &failure : failures) {
    fake.panels.shown.clear();
    fake.http.respond(manifestAddress, {failure});
    check(silent);
    EXPECT_THAT(notices(), IsEmpty());
    check(manual);
    EXPECT_THAT(notices(), ElementsAre("Kon niet controleren op updates."));
  }
  EXPECT_EQ(fake.record.count("download"), 0U);
}

TEST_F(UpdateCheck, NoticeAppearsOnMainThread) {
  respond(R"({"versie":"1.0","zip":"a.zip"})");
  delegate().zoekUpdate(manual);
  EXPECT_THAT(notices(), IsEmpty());
  // The fake throws when an alert is shown on another thread.
  fake.scheduler.runUntilIdle();
  EXPECT_EQ(notices().size(), 1U);
}

TEST_F(UpdateCheck, NewerVersionDownloadsWithoutQuestion) {
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
      respond(R"({"versie":"1.3","zip":")" + zip + "\"}");
      fake.record.take();
      check(stil);
      EXPECT_THAT(fake.record.entriesStartingWith({"download"}),
                  ElementsAre("download " + address + " timeout 60000 ms [X-ORVEL-App: app-key]"));
      EXPECT_THAT(notices(), IsEmpty());
    }
  }
}

TEST_F(UpdateCheck, AnyVersionIsNewerThanMissingVersion) {
  fake.bundle.texts.erase("CFBundleShortVersionString");
  releaseDelegate();
  createWebView();
  respond(R"({"versie":"0.0.1","zip":"a.zip"})");
  check(silent);
  EXPECT_EQ(fake.record.count("download https://os.test/download/a.zip"), 1U);
}

TEST_F(UpdateCheck, InvalidArchiveUrlAborts) {
  for (const std::string zip : {"", "http://[x/a b.zip"}) {
    respond(R"({"versie":"1.3","zip":")" + zip + "\"}");
    EXPECT_DEATH(check(silent), "invalid archive URL: ");
  }
}

TEST_F(UpdateCheck, MenuCommandReportsFailure) {
  delegate().zoekUpdateMenu();
  fake.scheduler.runUntilIdle();
  EXPECT_THAT(notices(), ElementsAre("Kon niet controleren op updates."));
}

TEST_F(UpdateCheck, SilentChecksRunFourSecondsAfterLaunchAndEverySixHours) {
  launch();
  fake.scheduler.advance(3999ms);
  EXPECT_EQ(fake.record.count("GET " + manifestAddress), 0U);
  fake.scheduler.advance(1ms);
  EXPECT_EQ(fake.record.count("GET " + manifestAddress), 1U);
  fake.scheduler.advance(6h - 4001ms);
  EXPECT_EQ(fake.record.count("GET " + manifestAddress), 1U);
  fake.scheduler.advance(1ms);
  EXPECT_EQ(fake.record.count("GET " + manifestAddress), 2U);
  fake.scheduler.advance(12h);
  EXPECT_EQ(fake.record.count("GET " + manifestAddress), 4U);
  EXPECT_THAT(notices(), IsEmpty());
}

TEST_F(UpdateCheck, ConcurrentChecksAreIndependent) {
  fake.http.respond(
      manifestAddress,
      {{.statusCode = 200, .body = R"({"versie":"1.0","zip":"a"})", .delay = 2000ms}});
  delegate().zoekUpdate(silent);
  delegate().zoekUpdate(manual);
  fake.scheduler.advance(2s);
  EXPECT_EQ(fake.http.sent.size(), 2U);
  EXPECT_THAT(notices(), ElementsAre("Orvel OS 1.0 is de nieuwste versie."));
}

}  // namespace
}  // namespace orvel
