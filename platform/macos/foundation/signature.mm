#include "base/signature.h"

#import <Foundation/Foundation.h>
#import <Security/Security.h>

#import "platform/macos/foundation/cf_pointer.h"
#import "platform/macos/foundation/cocoa_text.h"

namespace orvel {

namespace {

/// The size of a point of the curve P-256: the byte 4 and two coordinates of 32 bytes (SEC 1,
/// 2.3.3).
constexpr NSUInteger uncompressedPointSize = 65;

/// Returns the decoded bytes, or nil unless the text is base64 in its only canonical form.
NSData *_Nullable decodeBase64(std::string_view text) {
  NSString *encoded = utf8Text(text);
  if (encoded == nil) return nil;
  NSData *bytes = [[NSData alloc] initWithBase64EncodedString:encoded options:0];
  // Foundation ignores the unused bits of the last digit, which are zero in the canonical form.
  return [[bytes base64EncodedStringWithOptions:0] isEqualToString:encoded] ? bytes : nil;
}

/// Returns the key, or null unless the text is an uncompressed point in base64.
CFPointer<SecKeyRef> decodePublicKey(std::string_view text) {
  NSData *point = decodeBase64(text);
  // SecKeyCreateWithData takes the curve from the size, and also accepts a private key.
  if (point.length != uncompressedPointSize) return nullptr;
  NSDictionary *attributes = @{
    (__bridge id)kSecAttrKeyType : (__bridge id)kSecAttrKeyTypeECSECPrimeRandom,
    (__bridge id)kSecAttrKeyClass : (__bridge id)kSecAttrKeyClassPublic,
  };
  return CFPointer<SecKeyRef>(SecKeyCreateWithData((__bridge CFDataRef)point,
                                                   (__bridge CFDictionaryRef)attributes, nullptr));
}

}  // namespace

bool verify(std::string_view publicKey, std::string_view message, std::string_view signature) {
  const auto key = decodePublicKey(publicKey);
  NSData *decoded = decodeBase64(signature);
  if (!key || decoded == nil) return false;
  NSData *bytes = [NSData dataWithBytes:message.data() length:message.size()];
  return SecKeyVerifySignature(key.get(), kSecKeyAlgorithmECDSASignatureMessageX962SHA256,
                               (__bridge CFDataRef)bytes, (__bridge CFDataRef)decoded, nullptr);
}

}  // namespace orvel
