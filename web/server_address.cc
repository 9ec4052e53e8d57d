#include "web/server_address.h"

#include <algorithm>
#include <array>

#include "app/app_delegate.h"
#include "web/same_origin.h"

namespace orvel {

namespace {

// For a local address whose port is missing or does not fit into an int ("http://localhost:/").
constexpr int defaultPort = 80;

/// Returns whether a socket that listens on `address` may accept a connection to `host`, which is
/// "127.0.0.1" or "localhost".
bool mayAccept(std::string_view address, std::string_view host) {
  if (address == "::1") return host == "localhost";
  // A socket that listens on "::" also gets IPv4 connections, except with IPV6_V6ONLY.
  constexpr std::array<std::string_view, 5> addresses{"127.0.0.1", "0.0.0.0",
                                                      "::", "::ffff:127.0.0.1", "::ffff:0.0.0.0"};
  return std::find(addresses.begin(), addresses.end(), address) != addresses.end();
}

}  // namespace

bool isLocalAddress(std::string_view address) {
  return address.starts_with("http://127.0.0.1:") || address.starts_with("http://localhost:");
}

bool mayReceiveKey(const Url &url, const TcpListeners &listeners) {
  if (!isLocalAddress(url.absoluteString)) return true;
  const auto onPort = listeners.onPort(url.port.value_or(defaultPort));
  // The system does not report listeners, so this check is impossible.
  if (!onPort) return true;
  bool hasListener = false;
  for (const TcpListener &listener : *onPort) {
    if (!mayAccept(listener.address, url.host)) continue;
    // A program of another user listens.
    if (!listener.isOwn) return false;
    hasListener = true;
  }
  return hasListener;
}

std::string_view trimSpacesAndTabs(std::string_view text) {
  constexpr std::string_view spaces = " \t";
  const auto begin = text.find_first_not_of(spaces);
  if (begin == std::string_view::npos) return "";
  return text.substr(begin, text.find_last_not_of(spaces) + 1 - begin);
}

bool isServerAddress(std::string_view text) {
  const auto url = Url::parse(text);
  return url && (url->scheme == "http" || url->scheme == "https");
}

std::string AppDelegate::baseURL() const {
  auto address = platform_.defaults.text("osURL");
  if (!address) address = platform_.bundle.infoText("ORVELOSURL");
  if (!address) address = settings_.LOCAL_URL;
  if (!address->ends_with('/')) *address += '/';
  return *address;
}

bool AppDelegate::lokaal() const { return isLocalAddress(baseURL()); }

UrlRequest AppDelegate::metSleutel(const Url &url) const {
  UrlRequest request;
  request.url = url;
  request.headers["X-ORVEL-App"] = appSleutel;
  request.forwardsHeaders = isSameOriginOrUpgrade;
  return request;
}

}  // namespace orvel
