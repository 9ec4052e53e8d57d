#include "web/downloads.h"

#include "tests/unit/core_test.h"

namespace orvel {
namespace {

using testing::UnorderedElementsAre;

Cookie cookie(const std::string &name, const std::string &domain) {
  return {.name = name, .value = "1", .domain = domain, .path = "/", .expires = {}};
}

class Downloads : public CoreTest {
 protected:
  Downloads() {
    fake.locations.downloadsFolder = folder();
    std::filesystem::create_directories(folder());
    createWebView();
  }

  std::string folder() const { return root() + "/Downloads"; }
  std::vector<std::string> savedNames() const {
    std::vector<std::string> names;
    for (const auto &entry : std::filesystem::directory_iterator(folder())) {
      names.push_back(entry.path().filename());
    }
    return names;
  }
  std::string savedText(const std::string &name) const { return contentsOf(folder() + "/" + name); }

  void download(const std::string &url = address) { delegate().bewaarEnOpen(*Url::parse(url)); }
  /// Starts a download to which the server sends this response, and runs all due tasks.
  void download(const FakeResponse &response) {
    fake.http.setResponses(address, {response});
    download();
    fake.scheduler.runUntilIdle();
  }
  static FakeResponse fileResponse(const std::string &name, const std::string &body = "contents") {
    return {.statusCode = 200, .body = body, .suggestedFilename = name};
  }

  inline static const std::string lastUrlComponent = "12";
  inline static const std::string address = "http://127.0.0.1:4767/api/bestand/" + lastUrlComponent;
};

TEST_F(Downloads, CookieMatchesHostWithDomainSuffix) {
  const std::vector<std::tuple<std::string, std::string, bool>> rows{
      {"example.test", "example.test", true},
      {".example.test", "example.test", true},
      {".example.test", "files.example.test", true},
      {"example.test", "files.example.test", true},
      {"..example.test..", "example.test", true},
      // Label boundaries are ignored.
      {"ample.test", "example.test", true},
      {"other.test", "example.test", false},
      {"files.example.test", "example.test", false},
      {"Example.test", "example.test", false},
      {"127.0.0.1", "127.0.0.1", true},
      {"0.0.1", "127.0.0.1", true},
      // Without its full stops, "..." is empty, and an empty domain is a suffix of every host.
      {"...", "example.test", true},
      {"", "example.test", true},
      // A URL without a host gets no cookies.
      {"", "", false},
      {".", "", false},
  };
  for (const auto &[domain, host, sent] : rows) {
    EXPECT_EQ(cookieHeader({cookie("a", domain)}, host), sent ? "a=1" : "")
        << domain << " for " << host;
  }
}

TEST_F(Downloads, CookieHeaderKeepsStoreOrder) {
  EXPECT_EQ(cookieHeader({cookie("z", "a.test"), cookie("b", "x.test"), cookie("a", ".test"),
                          cookie("z", "test")},
                         "a.test"),
            "z=1; a=1; z=1");
}

TEST_F(Downloads, CookieHeaderIgnoresPathSecureAndExpiry) {
  Cookie odd = cookie("a", "a.test");
  odd.path = "/other";
  odd.secure = true;
  odd.expires = std::chrono::system_clock::time_point{};
  odd.value = "x y;\"z";
  EXPECT_EQ(cookieHeader({odd}, "a.test"), "a=x y;\"z");
}

TEST_F(Downloads, CookieHeaderOmitsCookiesWithControlCharacters) {
  const Cookie first = cookie("z", "a.test");
  const Cookie last = cookie("a", "a.test");
  for (int code = 0; code <= 0xff; ++code) {
    const std::string odd(1, static_cast<char>(code));
    const bool isOmitted = (code < 0x20 && odd != "\t") || code == 0x7f;
    Cookie oddValue = cookie("m", "a.test");
    oddValue.value = "x" + odd + "y";
    EXPECT_EQ(cookieHeader({first, oddValue, last}, "a.test"),
              isOmitted ? "z=1; a=1" : "z=1; m=x" + odd + "y; a=1")
        << code;
    const Cookie oddName = cookie(odd + "m", "a.test");
    EXPECT_EQ(cookieHeader({oddName, first, last}, "a.test"),
              isOmitted ? "z=1; a=1" : odd + "m=1; z=1; a=1")
        << code;
  }
}

TEST_F(Downloads, DownloadSendsCookiesThenQuarantinesThenSavesThenOpens) {
  fake.windows.cookies.cookies = {cookie("orvelapp", "127.0.0.1"), cookie("a", "other.test"),
                                  cookie("session", "127.0.0.1")};
  fake.http.setResponses(address, {fileResponse("report.pdf")});
  download();
  EXPECT_THAT(fake.record.take(), ElementsAre("all cookies"));
  fake.scheduler.runUntilIdle();
  EXPECT_THAT(
      fake.record.take(),
      ElementsAre("download " + address +
                      " timeout 60000 ms [Cookie: orvelapp=1; session=1] "
                      "[X-ORVEL-App: app-key]",
                  // The fake records "missing file" for a file that does not exist.
                  "quarantine file from " + address, "open file " + folder() + "/report.pdf"));
  EXPECT_EQ(savedText("report.pdf"), "contents");
  EXPECT_THAT(savedNames(), ElementsAre("report.pdf"));
}

TEST_F(Downloads, EmptyStoreOrUrlWithoutHostSendsEmptyCookieHeader) {
  download();
  fake.scheduler.runUntilIdle();
  // A cookie that matches every host. The URL has no host.
  fake.windows.cookies.cookies = {cookie("a", ".")};
  download("about:/api/export");
  fake.scheduler.runUntilIdle();
  ASSERT_EQ(fake.http.sent.size(), 2U);
  for (const auto &sent : fake.http.sent) {
    EXPECT_EQ(sent.request.headers.at("Cookie"), "");
    EXPECT_EQ(sent.request.headers.at("X-ORVEL-App"), "app-key");
    EXPECT_EQ(sent.request.cachePolicy, CachePolicy::useProtocol);
  }
}

TEST_F(Downloads, FailedDownloadSavesAndReportsNothing) {
  // No response, a response without a body, and a body without an HTTP response.
  download(FakeResponse{});
  download(FakeResponse{.statusCode = 200, .suggestedFilename = "a.csv"});
  download(FakeResponse{.body = "contents", .suggestedFilename = "a.csv"});
  for (const int status : {0, 199, 201, 204, 206, 301, 304, 401, 404, 500}) {
    download({.statusCode = status, .body = "error", .suggestedFilename = "a.csv"});
  }
  EXPECT_THAT(savedNames(), IsEmpty());
  for (const std::string call : {"open", "alert", "load"}) {
    EXPECT_EQ(fake.record.count(call), 0U) << call;
  }
}

TEST_F(Downloads, TakenNameGetsFirstFreeNumber) {
  writeFile(folder() + "/data.csv", "kept");
  for (int number = 2; number <= 112; ++number) {
    if (number != 3 && number != 111) {
      writeFile(folder() + "/data " + std::to_string(number) + ".csv", "kept");
    }
  }
  for (const std::string name : {"data 3.csv", "data 111.csv"}) {
    download(fileResponse("data.csv"));
    EXPECT_EQ(savedText(name), "contents");
    EXPECT_EQ(fake.record.count("open file " + folder() + "/" + name), 1U);
  }
  for (const std::string name : {"data.csv", "data 2.csv", "data 4.csv", "data 112.csv"}) {
    EXPECT_EQ(savedText(name), "kept");
  }
}

TEST_F(Downloads, NamesOfFoldersAndDanglingSymlinksAreTaken) {
  std::filesystem::create_directory(folder() + "/report");
  std::filesystem::create_symlink("/nowhere", folder() + "/report 2");
  download(fileResponse("report"));
  EXPECT_EQ(savedText("report 3"), "contents");
  EXPECT_THAT(savedNames(), UnorderedElementsAre("report", "report 2", "report 3"));
}

TEST_F(Downloads, ConcurrentDownloadsGetNamesInOrderOfCompletion) {
  fake.http.setResponses(
      address,
      {{.statusCode = 200, .body = "slow", .delay = 5000ms, .suggestedFilename = "data.csv"},
       fileResponse("data.csv", "fast")});
  download();
  download();
  fake.scheduler.advance(6s);
  EXPECT_EQ(savedText("data.csv"), "fast");
  EXPECT_EQ(savedText("data 2.csv"), "slow");
}

TEST_F(Downloads, TraversalInNameStaysInDownloadsFolder) {
  download(fileResponse("../../outside.csv"));
  download(fileResponse(".."));
  EXPECT_THAT(savedNames(), UnorderedElementsAre("..-..-outside.csv", lastUrlComponent));
}

TEST_F(Downloads, MissingDownloadsFolderShowsNoAlert) {
  std::filesystem::remove(folder());
  download(fileResponse("data.csv"));
  EXPECT_FALSE(std::filesystem::exists(folder()));
  // The core requests to open the file although it was not saved: a desktop ignores that.
  EXPECT_EQ(fake.record.count("open file " + folder() + "/data.csv"), 1U);
  EXPECT_EQ(fake.record.count("alert"), 0U);
}

TEST_F(Downloads, DownloadRetainsDelegateUntilFileIsSaved) {
  fake.windows.cookies.delay = 1s;
  FakeResponse response = fileResponse("data.csv");
  response.delay = 1s;
  fake.http.setResponses(address, {response});
  download();
  const auto weakDelegate = releaseDelegate();
  EXPECT_FALSE(weakDelegate.expired()) << "while the cookies are read";
  fake.scheduler.advance(1500ms);
  EXPECT_FALSE(weakDelegate.expired()) << "during the download";
  ASSERT_TRUE(fake.scheduler.runUntil([&] { return !savedNames().empty(); }, 1min));
  EXPECT_TRUE(weakDelegate.expired()) << "after the download";
  fake.scheduler.runUntilIdle();
  EXPECT_EQ(fake.record.count("open file " + folder() + "/data.csv"), 1U);
}

TEST_F(Downloads, ProgramOfAnotherUserOnLocalPortGetsNoRequest) {
  // The core checks the owner of the port after it has read the cookies.
  fake.windows.cookies.delay = 1s;
  download();
  fake.scheduler.advance(500ms);
  occupyLocalPort();
  fake.scheduler.advance(1s);
  EXPECT_THAT(fake.http.sent, IsEmpty());
  EXPECT_THAT(savedNames(), IsEmpty());
}

TEST_F(Downloads, DownloadBeforeWebViewAborts) {
  delegate().web.reset();
  EXPECT_DEATH(download(), "OS: a download before the web view exists\n");
}

TEST_F(Downloads, NameTakenBetweenCheckAndMoveIsNotReplaced) {
  writeFile(root() + "/temporary file", "contents");
  const auto moveAfterOtherProgram = [](const std::string &from, const std::string &to) {
    if (to.ends_with("/data.csv")) writeFile(to, "of another program");
    return moveFile(from, to);
  };
  EXPECT_EQ(moveToFreeName(root() + "/temporary file", folder(), "data.csv", moveAfterOtherProgram),
            folder() + "/data 2.csv");
  EXPECT_EQ(savedText("data.csv"), "of another program");
  EXPECT_EQ(savedText("data 2.csv"), "contents");
}

}  // namespace
}  // namespace orvel
