#include "base/json.h"

#import <Foundation/Foundation.h>

#import "platform/macos/foundation/cocoa_text.h"

namespace orvel {

std::optional<TextMap> parseJsonTexts(std::string_view bytes) {
  constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";
  if (bytes.starts_with(byteOrderMark)) bytes.remove_prefix(byteOrderMark.size());
  // Foundation would skip a second byte order mark, and would detect UTF-16 and UTF-32
  // by their NUL bytes.
  if (utf8Text(bytes) == nil || bytes.find('\0') != std::string_view::npos ||
      bytes.starts_with(byteOrderMark)) {
    return std::nullopt;
  }
  NSData *data = [NSData dataWithBytes:bytes.data() length:bytes.size()];
  id top = [NSJSONSerialization JSONObjectWithData:data options:0 error:nil];
  if (![top isKindOfClass:NSDictionary.class]) return std::nullopt;

  TextMap texts;
  NSDictionary<NSString *, id> *members = top;
  for (NSString *name in members) {
    if (auto text = textOf(members[name]))
      texts.insert_or_assign(fromCocoa(name), std::move(*text));
  }
  return texts;
}

}  // namespace orvel
