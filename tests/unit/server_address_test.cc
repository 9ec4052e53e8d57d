#include "web/server_address.h"

#include <set>

#include "tests/unit/core_test.h"
#include "web/same_origin.h"

namespace orvel {
namespace {

class ServerAddress : public CoreTest {};

TEST_F(ServerAddress, MissingTrailingSlashIsAppended) {
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
    storeAddress(stored);
    EXPECT_EQ(delegate().baseURL(), address);
  }
}

TEST_F(ServerAddress, StoredAddressOverridesPresetWhichOverridesLocalDefault) {
  EXPECT_EQ(delegate().baseURL(), "http://127.0.0.1:4767/");
  EXPECT_TRUE(delegate().lokaal());
  fake.bundle.texts["ORVELOSURL"] = "https://preset.test";
  EXPECT_EQ(delegate().baseURL(), "https://preset.test/");
  fake.bundle.texts["ORVELOSURL"] = "";
  EXPECT_EQ(delegate().baseURL(), "/");
  storeAddress("https://choice.test");
  EXPECT_EQ(delegate().baseURL(), "https://choice.test/");
  EXPECT_FALSE(delegate().lokaal());
}

TEST_F(ServerAddress, OnlySpacesAndTabsAreTrimmed) {
  const std::vector<std::pair<std::string, std::string>> rows{
      {"a", "a"}, {" \ta b\t ", "a b"}, {"a ", "a"}, {"\ta", "a"},   {"\n a \n", "\n a \n"},
      {" ", ""},  {"\t \t", ""},        {"", ""},    {"~a~", "~a~"},
  };
  for (const auto &[text, trimmed] : rows) EXPECT_EQ(trimSpacesAndTabs(text), trimmed);
}

TEST_F(ServerAddress, UrlWithLowerCaseHttpOrHttpsSchemeIsValid) {
  for (const std::string text : {"http:", "https:", "http://", "http:os", "https://example.test:99",
                                 "http://127.0.0.1:4767/", "https://example.test/?a#b"}) {
    EXPECT_TRUE(isServerAddress(text)) << text;
  }
}

TEST_F(ServerAddress, LocalAddressHasExactPrefix) {
  // The prefix is "http://127.0.0.1:" or "http://localhost:".
  for (const char *address :
       {"http://127.0.0.1:4767/", "http://127.0.0.1:3000/", "http://127.0.0.1:80/",
        "http://127.0.0.1:", "http://localhost:3000/", "http://localhost:/"}) {
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

TEST_F(ServerAddress, LocalUrlMayReceiveKeyWhenItHasOnlyOwnListeners) {
  const std::set<std::string> allHosts{"127.0.0.1", "localhost"};
  // The address of a listener and the hosts whose connections may reach it.
  const std::vector<std::pair<std::string, std::set<std::string>>> rows{
      {"127.0.0.1", allHosts},
      {"0.0.0.0", allHosts},
      {"::", allHosts},
      {"::ffff:127.0.0.1", allHosts},
      {"::ffff:0.0.0.0", allHosts},
      {"::1", {"localhost"}},
      {"127.0.0.2", {}},
      {"192.0.2.1", {}},
      {"2001:db8::1", {}},
  };
  // The local server, which both hosts reach.
  const TcpListener ownServer{.address = "127.0.0.1", .isOwn = true};
  for (const auto &[address, hosts] : rows) {
    const TcpListener own{.address = address, .isOwn = true};
    const TcpListener foreign{.address = address, .isOwn = false};
    for (const std::string &host : allHosts) {
      const Url url = *Url::parse("http://" + host + ":3000/api/wie");
      const bool isReached = hosts.contains(host);
      const auto mayReceive = [&](const std::vector<TcpListener> &listeners) {
        fake.listeners.byPort[3000] = listeners;
        return mayReceiveKey(url, fake.listeners);
      };
      EXPECT_EQ(mayReceive({own}), isReached) << host << " and own " << address;
      EXPECT_TRUE(mayReceive({own, ownServer})) << host << " and own " << address;
      EXPECT_FALSE(mayReceive({foreign})) << host << " and foreign " << address;
      EXPECT_EQ(mayReceive({foreign, ownServer}), !isReached) << host << " and foreign " << address;
      EXPECT_EQ(mayReceive({ownServer, foreign}), !isReached) << host << " and foreign " << address;
      EXPECT_FALSE(mayReceive({})) << host;
    }
  }
}

TEST_F(ServerAddress, LocalUrlWithoutPortNumberIsCheckedOnPort80) {
  const Url url = *Url::parse("http://127.0.0.1:/");
  // By default a program of the user listens on each port of the fake.
  EXPECT_TRUE(mayReceiveKey(url, fake.listeners));
  fake.listeners.byPort[80] = std::vector<TcpListener>();
  EXPECT_FALSE(mayReceiveKey(url, fake.listeners));
}

TEST_F(ServerAddress, LocalUrlMayReceiveKeyWhereSystemDoesNotReportListeners) {
  fake.listeners.byPort[4767] = std::nullopt;
  EXPECT_TRUE(mayReceiveKey(*Url::parse("http://127.0.0.1:4767/"), fake.listeners));
}

TEST_F(ServerAddress, OnlineUrlMayReceiveKeyWhenAnotherUserListensOnSamePort) {
  occupyLocalPort();
  for (const char *url : {"https://os.test:4767/", "https://127.0.0.1:4767/"}) {
    EXPECT_TRUE(mayReceiveKey(*Url::parse(url), fake.listeners)) << url;
  }
}

TEST_F(ServerAddress, KeyedRequestHasKeyHeaderOnly) {
  // metSleutel means "with key". forwardsHeaders decides whether a redirect gets the key.
  const UrlRequest request = delegate().metSleutel(*Url::parse("https://os.test/x?y=z"));
  EXPECT_EQ(request.url.absoluteString, "https://os.test/x?y=z");
  EXPECT_EQ(request.timeout, 60s);
  EXPECT_EQ(request.cachePolicy, CachePolicy::useProtocol);
  EXPECT_THAT(request.headers, ElementsAre(std::pair{"X-ORVEL-App", "app-key"}));
  EXPECT_EQ(request.forwardsHeaders, isSameOriginOrUpgrade);
}

TEST_F(ServerAddress, KeyIsReadOnceWhenDelegateIsCreated) {
  delegate();
  fake.bundle.texts["ORVELOSKey"] = "other key";
  const UrlRequest request = delegate().metSleutel(*Url::parse("https://os.test/"));
  EXPECT_EQ(request.headers.at("X-ORVEL-App"), "app-key");
  launchApplication();
  EXPECT_EQ(web().configuration.applicationNameForUserAgent, "ORVELOS/app-key");
}

}  // namespace
}  // namespace orvel
