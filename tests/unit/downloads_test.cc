#include "web/downloads.h"

#include "tests/unit/core_test.h"

namespace orvel {
namespace {

using testing::UnorderedElementsAre;

Cookie cookie(const std::string &name, const std::string &domain) {
  Cookie made;
  made.name = name;
  made.value = "1";
  made.domain = domain;
  made.path = "/";
  return made;
}

TEST(CookieHeader, takesCookiesWhoseDomainEndsTheHost) {
  const std::vector<std::tuple<std::string, std::string, bool>> rows{
      {"example.test", "example.test", true},
      {".example.test", "example.test", true},
      {".example.test", "files.example.test", true},
      {"example.test", "files.example.test", true},
      {"..example.test..", "example.test", true},
      // Whole labels do not count.
      {"ample.test", "example.test", true},
      {"other.test", "example.test", false},
      {"files.example.test", "example.test", false},
      {"Example.test", "example.test", false},
      {"127.0.0.1", "127.0.0.1", true},
      {"0.0.1", "127.0.0.1", true},
      // Nothing but full stops, or nothing at all, ends every host.
      {"...", "example.test", true},
      {"", "example.test", true},
      {"", "", false},
      {".", "", false},
  };
  for (const auto &[domain, host, sent] : rows) {
    EXPECT_EQ(cookieHeader({cookie("a", domain)}, host), sent ? "a=1" : "")
        << domain << " for " << host;
  }
}

TEST(CookieHeader, keepsTheOrderOfTheStore) {
  EXPECT_EQ(cookieHeader({cookie("z", "a.test"), cookie("b", "x.test"), cookie("a", ".test"),
                          cookie("z", "test")},
                         "a.test"),
            "z=1; a=1; z=1");
}

TEST(CookieHeader, looksAtNothingButTheDomain) {
  Cookie odd = cookie("a", "a.test");
  odd.path = "/elders";
  odd.secure = true;
  odd.expires = std::chrono::system_clock::time_point{};
  odd.value = "x y;\"z";
  EXPECT_EQ(cookieHeader({odd}, "a.test"), "a=x y;\"z");
}

TEST(CookieHeader, LeavesOutCookiesWithControlCharacters) {
  const Cookie first = cookie("z", "a.test");
  const Cookie last = cookie("a", "a.test");
  for (int code = 0; code <= 0xff; ++code) {
    const std::string odd(1, static_cast<char>(code));
    const bool isLeftOut = (code < 0x20 && odd != "\t") || code == 0x7f;
    Cookie value = cookie("m", "a.test");
    value.value = "x" + odd + "y";
    EXPECT_EQ(cookieHeader({first, value, last}, "a.test"),
              isLeftOut ? "z=1; a=1" : "z=1; m=x" + odd + "y; a=1")
        << code;
    const Cookie name = cookie(odd + "m", "a.test");
    EXPECT_EQ(cookieHeader({name, first, last}, "a.test"),
              isLeftOut ? "z=1; a=1" : odd + "m=1; z=1; a=1")
        << code;
  }
}

class Downloads : public CoreTest {
 protected:
  Downloads() {
    fake.locations.downloadsFolder = folder();
    std::filesystem::create_directories(folder());
    makeWebView();
  }

  std::string folder() const { return root() + "/Downloads"; }
  std::vector<std::string> saved() const {
    std::vector<std::string> names;
    for (const auto &entry : std::filesystem::directory_iterator(folder())) {
      names.push_back(entry.path().filename());
    }
    return names;
  }
  std::string text(const std::string &name) const { return readFile(folder() + "/" + name); }

  void download(const std::string &url = address) { delegate().bewaarEnOpen(*Url::parse(url)); }
  /// Downloads what the server answers, to the end.
  void download(const FakeResponse &answer) {
    fake.http.respond(address, {answer});
    download();
    fake.scheduler.runUntilIdle();
  }
  static FakeResponse file(const std::string &name, const std::string &body = "inhoud") {
    return {.statusCode = 200, .body = body, .suggestedFilename = name};
  }

  inline static const std::string address = "http://127.0.0.1:4767/api/bestand/12";
};

TEST_F(Downloads, takeTheirStepsInOrder) {
  fake.windows.cookies.cookies = {cookie("orvelapp", "127.0.0.1"), cookie("a", "elders.test"),
                                  cookie("sessie", "127.0.0.1")};
  fake.http.respond(address, {file("rapport.pdf")});
  download();
  EXPECT_THAT(fake.record.take(), ElementsAre("all cookies"));
  fake.scheduler.runUntilIdle();
  EXPECT_THAT(fake.record.take(), ElementsAre("download " + address +
                                                  " timeout 60000 ms [X-ORVEL-App: app-key] "
                                                  "[Cookie: orvelapp=1; sessie=1]",
                                              "open file " + folder() + "/rapport.pdf"));
  EXPECT_EQ(text("rapport.pdf"), "inhoud");
  EXPECT_THAT(saved(), ElementsAre("rapport.pdf"));
}

TEST_F(Downloads, sendTheCookieFieldWithoutAnyCookie) {
  download();
  fake.scheduler.runUntilIdle();
  ASSERT_EQ(fake.http.sent.size(), 1U);
  EXPECT_EQ(fake.http.sent[0].request.header("Cookie"), "");
  EXPECT_EQ(fake.http.sent[0].request.header("X-ORVEL-App"), "app-key");
  EXPECT_EQ(fake.http.sent[0].request.cachePolicy, CachePolicy::useProtocol);
}

TEST_F(Downloads, ofAUrlWithoutAHostSendNoCookie) {
  fake.windows.cookies.cookies = {cookie("a", ".")};
  download("about:/api/export");
  fake.scheduler.runUntilIdle();
  EXPECT_EQ(fake.http.sent[0].request.header("Cookie"), "");
}

TEST_F(Downloads, keepNothingAndSayNothingUnlessTheStatusIs200) {
  for (const int status : {0, 199, 201, 204, 206, 301, 304, 401, 404, 500}) {
    download({.statusCode = status, .body = "fout", .suggestedFilename = "a.csv"});
  }
  download(FakeResponse{});
  EXPECT_THAT(saved(), IsEmpty());
  EXPECT_EQ(fake.record.count("open"), 0U);
  EXPECT_EQ(fake.record.count("alert"), 0U);
  EXPECT_EQ(fake.record.count("load"), 0U);
}

TEST_F(Downloads, needBothAResponseAndAFile) {
  download(FakeResponse{.statusCode = 200, .suggestedFilename = "a.csv"});
  download(FakeResponse{.body = "inhoud", .suggestedFilename = "a.csv"});
  EXPECT_THAT(saved(), IsEmpty());
  EXPECT_EQ(fake.record.count("open"), 0U);
}

TEST_F(Downloads, neverReplaceAFile) {
  writeFile(folder() + "/data.csv", "eerste");
  writeFile(folder() + "/data 2.csv", "tweede");
  download(file("data.csv"));
  EXPECT_EQ(text("data.csv"), "eerste");
  EXPECT_EQ(text("data 2.csv"), "tweede");
  EXPECT_EQ(text("data 3.csv"), "inhoud");
  EXPECT_EQ(fake.record.count("open file " + folder() + "/data 3.csv"), 1U);
}

TEST_F(Downloads, takeTheFirstNameThatIsFree) {
  writeFile(folder() + "/data.csv", "");
  writeFile(folder() + "/data 3.csv", "");
  download(file("data.csv"));
  EXPECT_EQ(text("data 2.csv"), "inhoud");
}

TEST_F(Downloads, countAsFarAsItTakes) {
  writeFile(folder() + "/data.csv", "");
  for (int number = 2; number <= 110; ++number) {
    writeFile(folder() + "/data " + std::to_string(number) + ".csv", "");
  }
  download(file("data.csv"));
  EXPECT_EQ(text("data 111.csv"), "inhoud");
}

TEST_F(Downloads, countFoldersAndDanglingLinksAsTaken) {
  std::filesystem::create_directory(folder() + "/rapport");
  std::filesystem::create_symlink("/nergens", folder() + "/rapport 2");
  download(file("rapport"));
  EXPECT_EQ(text("rapport 3"), "inhoud");
  EXPECT_THAT(saved(), UnorderedElementsAre("rapport", "rapport 2", "rapport 3"));
}

TEST_F(Downloads, ofOneNameKeepEveryFile) {
  fake.http.respond(address,
                    {file("data.csv", "een"), file("data.csv", "twee"), file("data.csv", "drie")});
  for (int time = 0; time < 3; ++time) download();
  fake.scheduler.runUntilIdle();
  EXPECT_EQ(text("data.csv"), "een");
  EXPECT_EQ(text("data 2.csv"), "twee");
  EXPECT_EQ(text("data 3.csv"), "drie");
}

TEST_F(Downloads, eachPickTheirNameWhenTheyEnd) {
  fake.http.respond(
      address,
      {{.statusCode = 200, .body = "traag", .delay = 5000ms, .suggestedFilename = "data.csv"},
       file("data.csv", "snel")});
  download();
  download();
  fake.scheduler.advance(6s);
  EXPECT_EQ(text("data.csv"), "snel");
  EXPECT_EQ(text("data 2.csv"), "traag");
}

TEST_F(Downloads, withALongNameKeepEveryFile) {
  const std::string longest = std::string(251, 'x') + ".csv";
  download(file(longest, "een"));
  download(file(longest, "twee"));
  EXPECT_EQ(text(longest), "een");
  EXPECT_EQ(text(std::string(249, 'x') + " 2.csv"), "twee");
}

TEST_F(Downloads, stayInTheirFolder) {
  download(file("../../buiten.csv"));
  download(file(".."));
  EXPECT_THAT(saved(), UnorderedElementsAre("..-..-buiten.csv", "12"));
}

TEST_F(Downloads, intoAFolderThatIsMissingFailInSilence) {
  std::filesystem::remove(folder());
  download(file("data.csv"));
  EXPECT_FALSE(std::filesystem::exists(folder()));
  // There is nothing at that path, so nothing opens.
  EXPECT_EQ(fake.record.count("open file " + folder() + "/data.csv"), 1U);
  EXPECT_EQ(fake.record.count("alert"), 0U);
}

TEST_F(Downloads, keepTheDelegateUntilTheFileOpens) {
  fake.windows.cookies.delay = 1s;
  FakeResponse answer = file("data.csv");
  answer.delay = 1s;
  fake.http.respond(address, {answer});
  download();
  const auto kept = delegate().weak_from_this();
  forgetDelegate();
  EXPECT_FALSE(kept.expired()) << "while the cookies are read";
  fake.scheduler.advance(1500ms);
  EXPECT_FALSE(kept.expired()) << "during the download";
  ASSERT_TRUE(fake.scheduler.runUntil([&] { return !saved().empty(); }, 1min));
  EXPECT_FALSE(kept.expired()) << "before the file opens";
  fake.scheduler.runUntilIdle();
  EXPECT_EQ(fake.record.count("open file " + folder() + "/data.csv"), 1U);
  EXPECT_TRUE(kept.expired());
}

TEST_F(Downloads, useTheCookiesOfTheMomentTheyAreAsked) {
  fake.windows.cookies.delay = 100ms;
  download();
  fake.windows.cookies.cookies = {cookie("laat", "127.0.0.1")};
  fake.scheduler.advance(100ms);
  EXPECT_EQ(fake.http.sent[0].request.header("Cookie"), "laat=1");
}

TEST_F(Downloads, beforeTheWebViewExistsStopTheProcess) {
  delegate().web.reset();
  EXPECT_DEATH(download(), "OS: a download before the web view exists");
}

}  // namespace
}  // namespace orvel
