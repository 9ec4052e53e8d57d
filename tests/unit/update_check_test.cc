#include "update/update_check.h"

#include "tests/unit/core_test.h"

namespace orvel {
namespace {

constexpr bool silent = true;
constexpr bool spoken = false;

const std::string manifestAddress = "https://os.test/download/mac.json";

TEST(ReadManifest, takesTheTwoTexts) {
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

TEST(ReadManifest, refusesAllElse) {
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
      R"(<!doctype html><p>Niet gevonden</p>)",
      R"({"versie":"1.3","zip":"a","diep":)" + deep,
  };
  for (const std::string &json : rows) EXPECT_FALSE(readManifest(json)) << json.substr(0, 80);
}

TEST(ReadManifest, survivesDeepAndLongOnes) {
  const std::string deep = std::string(100'000, '[') + std::string(100'000, ']');
  // Whether that deep a text is read is the parser's choice; it must answer.
  const auto manifest = readManifest(R"({"versie":"1.3","zip":"a","diep":)" + deep + "}");
  EXPECT_EQ(manifest.value_or(UpdateManifest{"1.3", ""}).versie, "1.3");
  const std::string longest(8'000'000, 'x');
  ASSERT_TRUE(readManifest(R"({"versie":"1.3","zip":")" + longest + "\"}"));
}

class UpdateCheck : public CoreTest {
 protected:
  UpdateCheck() {
    goOnline();
    makeWebView();
  }

  void check(bool stil) {
    delegate().zoekUpdate(stil);
    fake.scheduler.runUntilIdle();
  }
  void answer(const std::string &body, int status = 200) {
    fake.http.respond(manifestAddress, {{.statusCode = status, .body = body}});
  }
  std::vector<std::string> notices() const {
    std::vector<std::string> texts;
    for (const Alert &alert : fake.panels.shown) {
      Alert notice;
      notice.messageText = alert.messageText;
      EXPECT_EQ(alert, notice) << "a notice has a message and nothing else";
      texts.push_back(alert.messageText);
    }
    return texts;
  }
};

TEST_F(UpdateCheck, asksTheServerWithTheKeyAndWithoutACache) {
  check(silent);
  EXPECT_THAT(fake.record.take(), ElementsAre("GET " + manifestAddress +
                                              " timeout 10000 ms no cache [X-ORVEL-App: app-key]"));
}

TEST_F(UpdateCheck, asksForTheManifestOfItsOwnSystem) {
  fake.names = linuxNames;
  check(silent);
  EXPECT_EQ(fake.http.sent[0].request.url.absoluteString, "https://os.test/download/linux.json");
}

TEST_F(UpdateCheck, onThisMachineOnlyTellsHowItIsDone) {
  for (const std::string address : {"http://127.0.0.1:4767/", "http://localhost:3000"}) {
    goOnline(address);
    fake.panels.shown.clear();
    delegate().zoekUpdate(silent);
    EXPECT_THAT(notices(), IsEmpty());
    delegate().zoekUpdate(spoken);
    EXPECT_THAT(notices(),
                ElementsAre("Op deze Mac werk je de app bij met: ./scripts/build-app.sh"));
  }
  EXPECT_THAT(fake.http.sent, IsEmpty());
}

TEST_F(UpdateCheck, ofAnAddressThatIsNoUrlEndsInSilence) {
  goOnline("https://os test");
  check(spoken);
  EXPECT_THAT(notices(), IsEmpty());
  EXPECT_THAT(fake.http.sent, IsEmpty());
}

TEST_F(UpdateCheck, namesTheRunningVersionWhenThereIsNoLaterOne) {
  for (const std::string versie : {"1.0", "0.9", "1", "onzin"}) {
    fake.panels.shown.clear();
    answer(R"({"versie":")" + versie + R"(","zip":"a.zip"})");
    check(silent);
    EXPECT_THAT(notices(), IsEmpty());
    check(spoken);
    EXPECT_THAT(notices(), ElementsAre("Orvel OS 1.0 is de nieuwste versie."));
  }
}

TEST_F(UpdateCheck, tellsOfAFailureOnlyTheUserWhoAsked) {
  const std::string valid = R"({"versie":"1.0","zip":"a.zip"})";
  const std::vector<std::pair<int, std::string>> answers{
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
  for (const auto &[status, body] : answers) {
    fake.panels.shown.clear();
    answer(body, status);
    check(silent);
    EXPECT_THAT(notices(), IsEmpty());
    check(spoken);
    EXPECT_THAT(notices(), ElementsAre("Kon niet controleren op updates.")) << status << body;
  }
}

TEST_F(UpdateCheck, needsTheWholeBodyOfAManifest) {
  fake.http.respond(manifestAddress, {{.statusCode = 200}});
  check(spoken);
  EXPECT_THAT(notices(), ElementsAre("Kon niet controleren op updates."));
  EXPECT_EQ(fake.record.count("download"), 0U);
}

TEST_F(UpdateCheck, needsTheResponseOfAManifest) {
  fake.http.respond(manifestAddress, {{.body = R"({"versie":"1.3","zip":"a.zip"})"}});
  check(spoken);
  EXPECT_THAT(notices(), ElementsAre("Kon niet controleren op updates."));
  EXPECT_EQ(fake.record.count("download"), 0U);
}

TEST_F(UpdateCheck, tellsOfAFailedConnection) {
  check(silent);
  EXPECT_THAT(notices(), IsEmpty());
  check(spoken);
  EXPECT_THAT(notices(), ElementsAre("Kon niet controleren op updates."));
}

TEST_F(UpdateCheck, noticesAppearOnTheMainThreadAfterTheAnswer) {
  answer(R"({"versie":"1.0","zip":"a.zip"})");
  delegate().zoekUpdate(spoken);
  EXPECT_THAT(notices(), IsEmpty());
  // The fake refuses an alert on any other thread.
  fake.scheduler.runUntilIdle();
  EXPECT_EQ(notices().size(), 1U);
}

TEST_F(UpdateCheck, startsTheInstallationWithoutAQuestion) {
  const std::vector<std::pair<std::string, std::string>> rows{
      {"orvel-os-1.3.zip", "https://os.test/download/orvel-os-1.3.zip"},
      {"/files/x.zip", "https://os.test/files/x.zip"},
      {"../x.zip", "https://os.test/x.zip"},
      {"https://elders.test/x.zip?y", "https://elders.test/x.zip?y"},
      {"//elders.test/x.zip", "https://elders.test/x.zip"},
      {"?x", "https://os.test/download/mac.json?x"},
      {"release é|1.zip", "https://os.test/download/release%20%C3%A9%7C1.zip"},
  };
  for (const bool stil : {silent, spoken}) {
    for (const auto &[zip, address] : rows) {
      answer(R"({"versie":"1.3","zip":")" + zip + "\"}");
      fake.record.take();
      check(stil);
      EXPECT_THAT(fake.record.entriesStartingWith({"download"}),
                  ElementsAre("download " + address + " timeout 60000 ms [X-ORVEL-App: app-key]"));
      EXPECT_THAT(notices(), IsEmpty());
    }
  }
}

TEST_F(UpdateCheck, takesAnyVersionForLaterThanNone) {
  fake.bundle.texts.erase("CFBundleShortVersionString");
  forgetDelegate();
  makeWebView();
  answer(R"({"versie":"0.0.1","zip":"a.zip"})");
  check(silent);
  EXPECT_EQ(fake.record.count("download https://os.test/download/a.zip"), 1U);
}

TEST_F(UpdateCheck, stopsTheProcessOverAnAddressThatIsNoUrl) {
  for (const std::string zip : {"", "http://[x/a b.zip"}) {
    answer(R"({"versie":"1.3","zip":")" + zip + "\"}");
    EXPECT_DEATH(check(silent), "the address of the release is no URL: ");
  }
}

TEST_F(UpdateCheck, ofTheMenuSpeaks) {
  delegate().zoekUpdateMenu();
  fake.scheduler.runUntilIdle();
  EXPECT_THAT(notices(), ElementsAre("Kon niet controleren op updates."));
}

TEST_F(UpdateCheck, runsSilentlyFourSecondsAfterLaunchAndEverySixHours) {
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

TEST_F(UpdateCheck, runsBesideAnother) {
  fake.http.respond(
      manifestAddress,
      {{.statusCode = 200, .body = R"({"versie":"1.0","zip":"a"})", .delay = 2000ms}});
  delegate().zoekUpdate(silent);
  delegate().zoekUpdate(spoken);
  fake.scheduler.advance(2s);
  EXPECT_EQ(fake.http.sent.size(), 2U);
  EXPECT_THAT(notices(), ElementsAre("Orvel OS 1.0 is de nieuwste versie."));
}

}  // namespace
}  // namespace orvel
