#import "platform/macos/foundation/url_message.h"

#import "platform/macos/foundation/cocoa_text.h"
#import "platform/macos/foundation/cocoa_url.h"

namespace orvel {

namespace {

NSURLRequestCachePolicy toCocoa(CachePolicy policy) {
  return policy == CachePolicy::reloadIgnoringLocalData ? NSURLRequestReloadIgnoringLocalCacheData
                                                        : NSURLRequestUseProtocolCachePolicy;
}

}  // namespace

NSMutableURLRequest *toCocoa(const UrlRequest &request) {
  const std::chrono::duration<NSTimeInterval> timeout = request.timeout;
  NSMutableURLRequest *message = [NSMutableURLRequest requestWithURL:toCocoa(request.url)
                                                         cachePolicy:toCocoa(request.cachePolicy)
                                                     timeoutInterval:timeout.count()];
  for (const auto &[name, value] : request.headers) {
    [message setValue:toCocoa(value) forHTTPHeaderField:toCocoa(name)];
  }
  return message;
}

}  // namespace orvel
