#include "web/server_address.h"

#include "app/app_delegate.h"
#include "web/same_origin.h"

namespace orvel {

bool isLocalAddress(std::string_view address) {
  return address.starts_with("http://127.0.0.1:") || address.starts_with("http://localhost:");
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
  request.setHeader("X-ORVEL-App", appSleutel);
  request.forwardsHeaders = isSameOriginOrUpgrade;
  return request;
}

}  // namespace orvel
