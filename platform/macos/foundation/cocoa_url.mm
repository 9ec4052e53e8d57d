#import "platform/macos/foundation/cocoa_url.h"

#include <chrono>
#include <limits>

#import "platform/macos/foundation/cocoa_text.h"

namespace orvel {

NSURL *toCocoa(const Url &url) {
  NSData *bytes = [NSData dataWithBytes:url.absoluteString.data() length:url.absoluteString.size()];
  return [NSURL URLWithDataRepresentation:bytes relativeToURL:nil];
}

namespace {

NSURLRequestCachePolicy toCocoa(CachePolicy policy) {
  return policy == CachePolicy::reloadIgnoringLocalData ? NSURLRequestReloadIgnoringLocalCacheData
                                                        : NSURLRequestUseProtocolCachePolicy;
}

/// Returns the port, or nullopt when the URL has none or it does not fit an int.
std::optional<int> portOf(NSURL *url) {
  const long long port = url.port.longLongValue;
  const bool isInt = url.port != nil && port >= 0 && port <= std::numeric_limits<int>::max();
  return isInt ? std::optional(static_cast<int>(port)) : std::nullopt;
}

}  // namespace

std::optional<Url> fromCocoa(NSURL *url) {
  if (url == nil) return std::nullopt;
  return Url{.absoluteString = fromCocoa(url.absoluteString),
             .scheme = fromCocoa(url.scheme),
             .host = fromCocoa(url.host),
             .port = portOf(url),
             .path = fromCocoa(url.path)};
}

NSMutableURLRequest *toCocoa(const UrlRequest &request) {
  const std::chrono::duration<NSTimeInterval> timeout = request.timeout;
  NSMutableURLRequest *result = [NSMutableURLRequest requestWithURL:toCocoa(request.url)
                                                        cachePolicy:toCocoa(request.cachePolicy)
                                                    timeoutInterval:timeout.count()];
  for (const auto &[name, value] : request.headers) {
    [result setValue:toCocoa(value) forHTTPHeaderField:toCocoa(name)];
  }
  return result;
}

NSURL *fileUrl(const std::string &path) { return [NSURL fileURLWithPath:toCocoa(path)]; }

}  // namespace orvel
