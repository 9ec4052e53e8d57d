#include "web/server_address.h"

#include "tests/unit/core_test.h"
#include "web/same_origin.h"

namespace orvel {
namespace {

class ServerAddress : public CoreTest {};

TEST_F(ServerAddress, isTheLocalOneByDefault) {
  EXPECT_EQ(delegate().baseURL(), "http://127.0.0.1:4767/");
  EXPECT_TRUE(delegate().lokaal());
}

TEST_F(ServerAddress, endsInOneMoreSlashOnlyWhenItHasNone) {
  const std::vector<std::pair<std::string, std::string>> rows{
      {"https://example.test", "https://example.test/"},
      {"https://example.test/app/", "https://example.test/app/"},
      {"https://example.test/app", "https://example.test/app/"},
      {"https://example.test//", "https://example.test//"},
      {"http://localhost:3000", "http://localhost:3000/"},
      {" https://example.test ", " https://example.test /"},
      {"", "/"},
  };
  for (const auto &[stored, address] : rows) {
    goOnline(stored);
    EXPECT_EQ(delegate().baseURL(), address);
  }
}

TEST_F(ServerAddress, usersChoiceBeatsThePresetAndThePresetTheLocalOne) {
  fake.bundle.texts["ORVELOSURL"] = "https://preset.test";
  EXPECT_EQ(delegate().baseURL(), "https://preset.test/");
  goOnline("https://keuze.test");
  EXPECT_EQ(delegate().baseURL(), "https://keuze.test/");
}

TEST_F(ServerAddress, changeOfTheDefaultTakesEffectAtTheNextRead) {
  EXPECT_TRUE(delegate().lokaal());
  goOnline();
  EXPECT_EQ(delegate().baseURL(), "https://os.test/");
  EXPECT_FALSE(delegate().lokaal());
}

TEST(LocalAddress, isToldByItsExactBeginning) {
  for (const char *address : {"http://127.0.0.1:4767/", "http://127.0.0.1:80/", "http://127.0.0.1:",
                              "http://localhost:3000/", "http://localhost:/"}) {
    EXPECT_TRUE(isLocalAddress(address)) << address;
  }
  for (const char *address :
       {"http://localhost/", "http://127.0.0.1/", "https://127.0.0.1:4767/", "https://localhost:1/",
        "HTTP://127.0.0.1:4767/", "http://LOCALHOST:3000/", "http://127.0.0.2:4767/",
        "http://[::1]:4767/", " http://127.0.0.1:4767/", "http://127.0.0.10:4767/",
        "http://localhost.test:80/", ""}) {
    EXPECT_FALSE(isLocalAddress(address)) << address;
  }
}

TEST_F(ServerAddress, keyedRequestCarriesTheKeyAndNothingElse) {
  const UrlRequest request = delegate().metSleutel(*Url::parse("https://os.test/x?y=z"));
  EXPECT_EQ(request.url.absoluteString, "https://os.test/x?y=z");
  EXPECT_EQ(request.timeout, 60s);
  EXPECT_EQ(request.cachePolicy, CachePolicy::useProtocol);
  EXPECT_THAT(request.headers, ElementsAre(std::pair{"X-ORVEL-App", "app-key"}));
  EXPECT_EQ(request.forwardsHeaders, isSameOriginOrUpgrade);
}

TEST_F(ServerAddress, keyedRequestWithoutAKeyCarriesTheEmptyHeader) {
  fake.bundle.texts.erase("ORVELOSKey");
  const UrlRequest request = delegate().metSleutel(*Url::parse("https://os.test/"));
  EXPECT_THAT(request.headers, ElementsAre(std::pair{"X-ORVEL-App", ""}));
}

TEST(UrlRequestHeader, isReplacedWhateverItsCase) {
  UrlRequest request;
  request.setHeader("X-Een", "1");
  request.setHeader("X-Twee", "2");
  request.setHeader("x-een", "3");
  EXPECT_EQ(request.headers.size(), 2U);
  EXPECT_EQ(request.header("X-EEN"), "3");
  EXPECT_EQ(request.header("X-Drie"), std::nullopt);
}

}  // namespace
}  // namespace orvel
