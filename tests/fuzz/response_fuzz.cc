// Property: the app key (field X-ORVEL-App) and the cookies are sent only to the requested host.

#include <glib.h>

#include <future>
#include <mutex>
#include <string>

#include "base/ascii.h"
#include "platform/linux/http/soup_http_session.h"
#include "tests/fuzz/fuzz_target.h"
#include "tests/fuzz/redirected_network.h"
#include "tests/support/loopback_server.h"
#include "web/same_origin.h"

// LeakSanitizer stops all threads, which fails while one is ending, as those of LoopbackServer do.
// NOLINTNEXTLINE(bugprone-reserved-identifier,readability-identifier-naming)
extern "C" __attribute__((visibility("default"))) const char *__asan_default_options() {
  return "detect_leaks=0";
}

namespace orvel::fuzz {

namespace {

constexpr const char *requested = "http://os.test/api/bestand/1";
constexpr char responseSeparator = '\x1e';

SoupHttpSession &session() {
  // Never destroyed, because libFuzzer ends the process with exit().
  static auto *const session = [] {
    g_setenv("GIO_USE_PROXY_RESOLVER", "dummy", TRUE);
    // Without TLS a redirect to https fails at once. With TLS, the server would wait for the rest
    // of the handshake.
    g_setenv("GIO_USE_TLS", "dummy", TRUE);
    return new SoupHttpSession({g_get_tmp_dir()});
  }();
  return *session;
}

/// Sends a request, as a download or for data, and waits for its completion.
DataReply replyTo(const std::string &cookie, bool isDownload) {
  UrlRequest request;
  request.url = *Url::parse(requested);
  request.forwardsHeaders = isSameOriginOrUpgrade;
  request.headers["X-ORVEL-App"] = "key";
  request.headers["Cookie"] = cookie;
  // Shared, because a faulty second call of the completion could come after this function returns.
  const auto promise = std::make_shared<std::promise<DataReply>>();
  auto ended = promise->get_future();
  if (isDownload) {
    session().downloadTask(request, [promise](const Download &download) {
      DataReply reply{.response = download.response};
      // Only the presence of the body matters.
      if (download.file) reply.body = "";
      promise->set_value(std::move(reply));
    });
  } else {
    session().dataTask(request, [promise](const DataReply &reply) { promise->set_value(reply); });
  }
  // Less than the -timeout of the fuzzer, 10 seconds, so that this property is reported first.
  require(ended.wait_for(std::chrono::seconds(8)) == std::future_status::ready,
          "a request ends when the connection is closed");
  DataReply reply = ended.get();
  require(reply.response || !reply.body, "a reply with a body has a response");
  return reply;
}

/// Returns the values of all fields with this name in the head of a request.
std::vector<std::string_view> valuesOf(std::string_view head, std::string_view name) {
  std::vector<std::string_view> values;
  for (std::string_view line : piecesOf(head)) {
    if (line.ends_with('\r')) line.remove_suffix(1);
    if (line.size() <= name.size() || line[name.size()] != ':' ||
        !equalIgnoringAsciiCase(line.substr(0, name.size()), name)) {
      continue;
    }
    line.remove_prefix(name.size() + 1);
    values.push_back(line.substr(line.starts_with(' ') ? 1 : 0));
  }
  return values;
}

/// Requires that the requests have the key and the cookies until a redirect leads to another host,
/// and neither from then on. `heads` holds the heads of the requests, in order.
void requireSecretsStayOnHost(const std::vector<std::string> &heads, const std::string &cookie) {
  const bool isOneLine = cookie.find_first_of(std::string_view("\r\n\0", 3)) == std::string::npos;
  require(isOneLine || heads.empty(), "a cookie with a line break or NUL is not sent");
  bool leftHost = false;
  for (const std::string &head : heads) {
    const auto hosts = valuesOf(head, "Host");
    require(hosts.size() == 1, "a request has one Host field");
    const auto keys = valuesOf(head, "X-ORVEL-App");
    const auto cookies = valuesOf(head, "Cookie");
    leftHost = leftHost || g_ascii_strcasecmp(std::string(hosts[0]).c_str(), "os.test") != 0;
    if (!leftHost) {
      require(keys.size() == 1 && keys[0] == "key", "the requested host receives the key");
      require(cookies.size() == 1 && cookies[0] == cookie,
              "the requested host receives the cookies");
    } else {
      require(keys.empty() && cookies.empty(),
              "no request has key or cookies after a redirect to another host");
    }
  }
}

}  // namespace

/// The first line of the input holds the cookies, and the rest the responses of the server: one
/// for each connection, which is then closed. When none is left, connections are closed without a
/// response.
void testInput(std::string_view input) {
  const auto [first, rest] = linesOf<2>(input);
  const std::string cookie(first);
  const auto responses = piecesOf(rest, responseSeparator);
  std::size_t next = 0;
  std::mutex mutex;
  const LoopbackServer server([&](LoopbackConnection &client, const std::string & /*head*/) {
    const std::lock_guard lock(mutex);
    if (next < responses.size()) client.send(responses[next++]);
  });
  redirectConnectionsTo(server.port());
  // The size of the input decides, so that about half of the inputs are downloads.
  const DataReply reply = replyTo(cookie, /*isDownload=*/input.size() % 2 == 0);
  require(!reply.response || reply.response->statusCode >= 100, "a response has a status");
  requireSecretsStayOnHost(server.heads(), cookie);
}

}  // namespace orvel::fuzz
