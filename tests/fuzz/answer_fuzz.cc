// A body is whole or there is none, and whatever it says, the key and the
// cookies stay with the host that was asked.

#include <gio/gio.h>

#include <algorithm>
#include <future>
#include <string>

#include "platform/linux/files/file_bytes.h"
#include "platform/linux/glib/gobject_pointer.h"
#include "platform/linux/http/soup_http_session.h"
#include "tests/fuzz/property.h"
#include "tests/fuzz/scripted_server.h"
#include "web/same_origin.h"

namespace {

using namespace orvel;

constexpr const char *asked = "http://os.test/api/bestand/1";
constexpr char answersEnd = '\x1e';

SoupHttpSession &session() {
  // Never destroyed: the process ends from within.
  static auto *const session = [] {
    g_setenv("GIO_USE_PROXY_RESOLVER", "dummy", TRUE);
    return new SoupHttpSession({g_get_tmp_dir()});
  }();
  return *session;
}

DataReply outcomeOf(const std::string &cookie, bool asFile) {
  UrlRequest request;
  request.url = *Url::parse(asked);
  request.forwardsHeaders = isSameOriginOrUpgrade;
  request.setHeader("X-ORVEL-App", "sleutel");
  request.setHeader("Cookie", cookie);
  // Shared, for a second call, which there must not be, would come later.
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
                "a request ends when its server does");
  DataReply outcome = ended.get();
  fuzz::require(outcome.response || !outcome.body, "no body comes without its head");
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
  constexpr std::size_t longest = 23;
  std::string result;
  for (std::size_t at = 0; at < body.size(); at += longest) {
    const std::string chunk = body.substr(at, longest);
    std::array<char, 16> length;
    g_snprintf(length.data(), length.size(), "%zx\r\n", chunk.size());
    result += length.data() + chunk + "\r\n";
  }
  return result + "0\r\n\r\n";
}

/// A body in an honest answer, sent whole and then without its last bytes.
void requireWhole(const std::string &coding, const std::string &body) {
  const bool isCompressed = coding.find('g') != std::string::npos;
  const bool isChunked = coding.find('c') != std::string::npos;
  const bool asFile = coding.find('f') != std::string::npos;
  std::string sent = isCompressed ? compressed(body) : body;
  // Where a compressed body ends, all has come.
  const std::size_t whole = sent.size();
  std::string head = "HTTP/1.1 200 OK\r\n";
  if (isCompressed) head += "Content-Encoding: gzip\r\n";
  head += isChunked ? "Transfer-Encoding: chunked\r\n"
                    : "Content-Length: " + std::to_string(whole) + "\r\n";
  head += "\r\n";
  if (isChunked) sent = chunked(sent);

  auto &server = fuzz::ScriptedServer::instance();
  server.answerWith({head + sent});
  const DataReply outcome = outcomeOf("", asFile);
  fuzz::require(outcome.response && outcome.response->statusCode == 200, "a whole answer arrives");
  fuzz::require(outcome.body == body, "a body arrives as it was");

  const std::size_t end = isChunked ? std::string_view("\r\n0\r\n\r\n").size() : 0;
  if (sent.size() <= end) return;
  const std::size_t cut = end + 1 + coding.size() * 7 % (sent.size() - end);
  server.answerWith({head + sent.substr(0, sent.size() - cut)});
  fuzz::require(!outcomeOf("", asFile).body, "half a body is none");
}

std::vector<std::string_view> valuesOf(std::string_view head, std::string_view name) {
  std::vector<std::string_view> values;
  for (std::string_view line : fuzz::piecesOf(head)) {
    if (line.ends_with('\r')) line.remove_suffix(1);
    if (line.size() <= name.size() || line[name.size()] != ':' ||
        g_ascii_strncasecmp(line.data(), name.data(), name.size()) != 0) {
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
  fuzz::require(isOneLine || heads.empty(), "what would end a line is not sent");
  bool hasLeft = false;
  for (const std::string &head : heads) {
    if (!head.starts_with("GET ")) continue;
    const auto hosts = valuesOf(head, "Host");
    fuzz::require(hosts.size() == 1, "a request names one host");
    const auto keys = valuesOf(head, "X-ORVEL-App");
    const auto cookies = valuesOf(head, "Cookie");
    hasLeft = hasLeft || g_ascii_strcasecmp(std::string(hosts[0]).c_str(), "os.test") != 0;
    if (!hasLeft) {
      fuzz::require(keys.size() == 1 && keys[0] == "sleutel", "its host gets the key");
      fuzz::require(cookies.size() == 1 && cookies[0] == cookie, "its host gets the cookies");
    } else {
      // Not even when the way leads back.
      fuzz::require(keys.empty() && cookies.empty(), "no other host gets a secret");
    }
  }
}

}  // namespace

/// The first line is the cookies, or "=" and how an honest answer is coded. What
/// follows are the answers, or the body.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
  const auto [first, rest] = fuzz::linesOf<2>(fuzz::bytesOf(data, size));
  if (first.starts_with('=')) {
    requireWhole(std::string(first.substr(1)), std::string(rest));
    return 0;
  }
  std::vector<std::string> answers;
  for (const auto answer : fuzz::piecesOf(rest, answersEnd)) answers.emplace_back(answer);
  fuzz::ScriptedServer::instance().answerWith(std::move(answers));
  const std::string cookie(first);
  const DataReply outcome = outcomeOf(cookie, size % 2 == 0);
  fuzz::require(!outcome.response || outcome.response->statusCode >= 100, "an answer has a status");
  requireSecrets(cookie);
  return 0;
}
