#import "platform/macos/cocoa_url.h"

#import "platform/macos/cocoa_text.h"

namespace orvel {

NSURL *toCocoa(const Url &url) {
  NSData *bytes = [NSData dataWithBytes:url.absoluteString.data() length:url.absoluteString.size()];
  return [NSURL URLWithDataRepresentation:bytes relativeToURL:nil];
}

std::optional<Url> fromCocoa(NSURL *url) {
  if (url == nil) return std::nullopt;
  return Url{.absoluteString = fromCocoa(url.absoluteString),
             .scheme = fromCocoa(url.scheme),
             .host = fromCocoa(url.host),
             .port = url.port == nil ? std::nullopt : std::optional<int>(url.port.intValue),
             .path = fromCocoa(url.path)};
}

NSURL *fileUrl(const std::string &path) { return [NSURL fileURLWithPath:toCocoa(path)]; }

}  // namespace orvel
