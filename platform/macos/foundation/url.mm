#include "base/url.h"

#import <Foundation/Foundation.h>

#include "base/percent_encoding.h"
#import "platform/macos/foundation/cocoa_text.h"
#import "platform/macos/foundation/cocoa_url.h"

namespace orvel {

namespace {

/// Returns a URL, or nil when the text is not one by RFC 3986. NSURLComponents validates more
/// strictly than NSURL. From macOS 14 on, both percent-encode invalid characters unless the
/// caller turns that off.
NSURL *strictUrl(NSString *text) {
  if (@available(macOS 14.0, *)) {
    if ([NSURLComponents componentsWithString:text encodingInvalidCharacters:NO] == nil) return nil;
    return [NSURL URLWithString:text encodingInvalidCharacters:NO];
  }
  if ([NSURLComponents componentsWithString:text] == nil) return nil;
  return [NSURL URLWithString:text];
}

}  // namespace

std::optional<Url> Url::parse(std::string_view text) {
  NSString *written = utf8Text(text);
  // Also true for nil: bytes that are not UTF-8. Foundation accepts the empty string as a relative
  // reference.
  if (written.length == 0) return std::nullopt;
  auto url = fromCocoa(strictUrl(written));
  if (url) url->absoluteString = text;
  return url;
}

std::optional<Url> Url::resolve(std::string_view reference, const Url &base) {
  // Encode invalid characters before Foundation sees them: from macOS 14 on, it encodes them too,
  // but then also the "%" of the escapes in the same component.
  const std::string escaped = percentEncoded(reference);
  if (base.scheme.empty() || !parse(escaped)) return std::nullopt;
  NSURL *relative = [NSURL URLWithString:toCocoa(escaped) relativeToURL:toCocoa(base)];
  return parse(fromCocoa(relative.absoluteString));
}

}  // namespace orvel
