#include "web/downloads.h"

#include <algorithm>
#include <filesystem>
#include <system_error>

#include "app/app_delegate.h"
#include "app/invariant.h"
#include "web/download_name.h"
#include "web/server_address.h"

namespace orvel {

namespace {

// "data.csv" is the first file of its name, "data 2.csv" the second one.
constexpr int firstNumber = 2;

std::string_view trimFullStops(std::string_view domain) {
  const auto begin = domain.find_first_not_of('.');
  if (begin == std::string_view::npos) return "";
  return domain.substr(begin, domain.find_last_not_of('.') + 1 - begin);
}

// Where char is signed, the bytes of non-ASCII characters are negative.
bool isControl(char character) {
  return (character >= 0 && character < ' ' && character != '\t') || character == '\x7f';
}

bool hasControl(std::string_view text) { return std::any_of(text.begin(), text.end(), isControl); }

/// Returns whether something exists at the path, which includes a dangling symbolic link.
bool isTaken(const std::string &path) {
  std::error_code ignored;
  return std::filesystem::exists(std::filesystem::symlink_status(path, ignored));
}

/// Moves a finished download into the Downloads folder under a free name and opens it.
/// Any thread.
void saveDownload(const Platform &platform, const std::string &temporaryFile,
                  const std::optional<std::string> &suggested, const Url &url) {
  // Before the move, so that no program can open the file at its final path while the file is not
  // yet marked as downloaded.
  platform.locations.quarantine(temporaryFile, url);
  const std::string path = moveToFreeName(temporaryFile, platform.locations.downloads(),
                                          downloadName(suggested, url), moveFile);
  // After a failed move there is no file at the path, so openFile has no effect.
  platform.mainQueue.post([&workspace = platform.workspace, path] { workspace.openFile(path); });
}

}  // namespace

std::string cookieHeader(const std::vector<Cookie> &cookies, std::string_view host) {
  std::string header;
  if (host.empty()) return header;
  for (const Cookie &cookie : cookies) {
    // A plain suffix, without label boundaries: a cookie of ample.test also goes to example.test.
    if (!host.ends_with(trimFullStops(cookie.domain))) continue;
    if (hasControl(cookie.name) || hasControl(cookie.value)) continue;
    if (!header.empty()) header += "; ";
    header += cookie.name + "=" + cookie.value;
  }
  return header;
}

std::string moveToFreeName(const std::string &file, const std::string &folder,
                           const std::string &name, const MoveFunction &move) {
  std::string path = folder + "/" + name;
  int number = firstNumber;
  MoveResult result;
  do {
    while (isTaken(path)) path = folder + "/" + numberedName(name, number++);
    // Another program may have taken the name since the check.
    result = move(file, path);
  } while (result == MoveResult::destinationExists);
  return path;
}

void AppDelegate::bewaarEnOpen(const Url &url) {
  if (!web) fatalError("a download before the web view exists");
  web->cookieStore().all([self = shared_from_this(), url](const std::vector<Cookie> &cookies) {
    // Another user's program may be listening on the port of a local URL.
    if (!mayReceiveKey(url, self->platform_.listeners)) return;
    UrlRequest request = self->metSleutel(url);
    request.headers["Cookie"] = cookieHeader(cookies, url.host);
    self->platform_.http.downloadTask(request, [self, url](const Download &download) {
      if (!download.file || !download.response || download.response->statusCode != 200) return;
      saveDownload(self->platform_, *download.file, download.suggestedFilename, url);
    });
  });
}

}  // namespace orvel
