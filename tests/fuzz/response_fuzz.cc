// Properties: a body is complete or absent, and the key and the cookies are sent only to
// the host of the request.

#include <gio/gio.h>

#include <algorithm>
#include <future>
#include <string>

#include "base/ascii.h"
#include "platform/linux/files/file_bytes.h"
#include "platform/linux/glib/gobject_pointer.h"
#include "platform/linux/http/soup_http_session.h"
#include "tests/fuzz/property.h"
#include "tests/fuzz/scripted_server.h"
#include "web/same_origin.h"

namespace {

using namespace orvel;

constexpr const char *requested = "http://os.test/api/bestand/1";
constexpr char responseSeparator = '\x1e';

SoupHttpSession &session() {
  // Never destroyed, because libFuzzer ends the process with exit().
  static auto *const session = [] {
    g_setenv("GIO_USE_PROXY_RESOLVER", "dummy", TRUE);
    return new SoupHttpSession({g_get_tmp_dir()});
  }();
  return *session;
}

DataReply outcomeOf(const std::string &cookie, bool asFile) {
  UrlRequest request;
  request.url = *Url::parse(requested);
  request.forwardsHeaders = isSameOriginOrUpgrade;
  request.setHeader("X-ORVEL-App", "key");
  request.setHeader("Cookie", cookie);
  // Shared: a second call of the completion, which would be an error, could come later.
  const auto promise = std::make_shared<std::promise<DataReply>>();
  auto ended = promise->get_future();
  if (asFile) {
    session().downloadTask(request, [promise](const Download &download) {
      DataReply reply{.response = download.response};
      if (download.file) reply.body = readFileBytes(*download.file, 1U << 26U).bytes;
      promise->set_value(std::move(reply));
    });
  } else {
    session().dataTask(request, [promise](const DataReply &reply) { promise->set_value(reply); });
  }
  fuzz::require(ended.wait_for(std::chrono::seconds(8)) == std::future_status::ready,
                "a request ends when the connection is closed");
  DataReply outcome = ended.get();
  fuzz::require(outcome.response || !outcome.body, "a body has a head");
  return outcome;
}

std::string compressed(const std::string &body) {
  const auto compressor = adopt(g_zlib_compressor_new(G_ZLIB_COMPRESSOR_FORMAT_GZIP, -1));
  const auto memory = adopt(
      g_memory_input_stream_new_from_data(body.data(), static_cast<gssize>(body.size()), nullptr));
  const auto stream =
      adopt(g_converter_input_stream_new(memory.get(), G_CONVERTER(compressor.get())));
  std::string result(body.size() + 1024, '\0');
  gsize size = 0;
  g_input_stream_read_all(stream.get(), result.data(), result.size(), &size, nullptr, nullptr);
  result.resize(size);
  return result;
}

std::string chunked(const std::string &body) {
  constexpr std::size_t chunkSize = 23;
  std::string result;
  for (std::size_t at = 0; at < body.size(); at += chunkSize) {
    const std::string chunk = body.substr(at, chunkSize);
    std::array<char, 16> length;
    g_snprintf(length.data(), length.size(), "%zx\r\n", chunk.size());
    result += length.data() + chunk + "\r\n";
  }
  return result + "0\r\n\r\n";
}

/// Sends a body in a valid response, and then once more truncated.
void requireCompleteBody(const std::string &coding, const std::string &body) {
  const bool isCompressed = coding.find('g') != std::string::npos;
  const bool isChunked = coding.find('c') != std::string::npos;
  const bool asFile = coding.find('f') != std::string::npos;
  std::string sent = isCompressed ? compressed(body) : body;
  const std::size_t length = sent.size();
  std::string head = "HTTP/1.1 200 OK\r\n";
  if (isCompressed) head += "Content-Encoding: gzip\r\n";
  head += isChunked ? "Transfer-Encoding: chunked\r\n"
                    : "Content-Length: " + std::to_string(length) + "\r\n";
  head += "\r\n";
  if (isChunked) sent = chunked(sent);

  auto &server = fuzz::ScriptedServer::instance();
  server.respondWith({head + sent});
  const DataReply outcome = outcomeOf("", asFile);
  fuzz::require(outcome.response && outcome.response->statusCode == 200,
                "a complete response is received");
  fuzz::require(outcome.body == body, "a body is received unchanged");

  const std::size_t end = isChunked ? std::string_view("\r\n0\r\n\r\n").size() : 0;
  if (sent.size() <= end) return;
  const std::size_t cut = end + 1 + coding.size() * 7 % (sent.size() - end);
  server.respondWith({head + sent.substr(0, sent.size() - cut)});
  fuzz::require(!outcomeOf("", asFile).body, "a truncated body is absent");
}

std::vector<std::string_view> valuesOf(std::string_view head, std::string_view name) {
  std::vector<std::string_view> values;
  for (std::string_view line : fuzz::piecesOf(head)) {
    if (line.ends_with('\r')) line.remove_suffix(1);
    if (line.size() <= name.size() || line[name.size()] != ':' ||
        !equalIgnoringAsciiCase(line.substr(0, name.size()), name)) {
      continue;
    }
    line.remove_prefix(name.size() + 1);
    values.push_back(
        line.substr(std::min<std::size_t>(line.starts_with(' ') ? 1 : 0, line.size())));
  }
  return values;
}

void requireSecrets(const std::string &cookie) {
  const auto heads = fuzz::ScriptedServer::instance().heads();
  const bool isOneLine = cookie.find_first_of(std::string_view("\r\n\0", 3)) == std::string::npos;
  fuzz::require(isOneLine || heads.empty(), "a cookie with a line break or NUL is not sent");
  bool hasLeft = false;
  for (const std::string &head : heads) {
    if (!head.starts_with("GET ")) continue;
    const auto hosts = valuesOf(head, "Host");
    fuzz::require(hosts.size() == 1, "a request has one Host field");
    const auto keys = valuesOf(head, "X-ORVEL-App");
    const auto cookies = valuesOf(head, "Cookie");
    hasLeft = hasLeft || g_ascii_strcasecmp(std::string(hosts[0]).c_str(), "os.test") != 0;
    if (!hasLeft) {
      fuzz::require(keys.size() == 1 && keys[0] == "key", "the requested host receives the key");
      fuzz::require(cookies.size() == 1 && cookies[0] == cookie,
                    "the requested host receives the cookies");
    } else {
      // Also when a redirect leads back to the requested host.
      fuzz::require(keys.empty() && cookies.empty(), "no other host receives key or cookies");
    }
  }
}

}  // namespace

/// The first line holds the cookies, and the rest the responses of the server; or the first
/// line holds "=" and the encoding of a valid response, and the rest its body.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
  const auto [first, rest] = fuzz::linesOf<2>(fuzz::bytesOf(data, size));
  if (first.starts_with('=')) {
    requireCompleteBody(std::string(first.substr(1)), std::string(rest));
    return 0;
  }
  std::vector<std::string> responses;
  for (const auto response : fuzz::piecesOf(rest, responseSeparator)) {
    responses.emplace_back(response);
  }
  fuzz::ScriptedServer::instance().respondWith(std::move(responses));
  const std::string cookie(first);
  const DataReply outcome = outcomeOf(cookie, size % 2 == 0);
  fuzz::require(!outcome.response || outcome.response->statusCode >= 100,
                "a response has a status");
  requireSecrets(cookie);
  return 0;
}
