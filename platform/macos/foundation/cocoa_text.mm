#import "platform/macos/foundation/cocoa_text.h"

namespace orvel {

namespace {

/// Returns the bytes as a string, or nil when they are invalid in the encoding.
NSString *decoded(std::string_view bytes, CFStringEncoding encoding) {
  // With isExternalRepresentation, a leading byte order mark would be removed.
  return CFBridgingRelease(CFStringCreateWithBytes(
      kCFAllocatorDefault, reinterpret_cast<const UInt8 *>(bytes.data()),
      static_cast<CFIndex>(bytes.size()), encoding, /*isExternalRepresentation=*/false));
}

}  // namespace

NSString *utf8Text(std::string_view bytes) { return decoded(bytes, kCFStringEncodingUTF8); }

NSString *toCocoa(std::string_view bytes) {
  NSString *text = utf8Text(bytes);
  return text != nil ? text : decoded(bytes, kCFStringEncodingISOLatin1);
}

std::string fromCocoa(NSString *text) {
  // Without lossy conversion the result is nil for an unpaired surrogate.
  NSData *utf8 = [text dataUsingEncoding:NSUTF8StringEncoding allowLossyConversion:YES];
  if (utf8 == nil) return {};
  return std::string(static_cast<const char *>(utf8.bytes), utf8.length);
}

std::optional<std::string> textOf(id value) {
  if (![value isKindOfClass:NSString.class]) return std::nullopt;
  return fromCocoa(value);
}

}  // namespace orvel
