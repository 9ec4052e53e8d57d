#include "base/property_list.h"

#import <Foundation/Foundation.h>

#import "platform/macos/foundation/cocoa_text.h"
#import "platform/macos/foundation/cocoa_url.h"

namespace orvel {

std::optional<TextMap> readPlistTexts(const std::string &path) {
  NSData *bytes = [NSData dataWithContentsOfURL:fileUrl(path)
                                        options:NSDataReadingMappedIfSafe
                                          error:nil];
  if (bytes == nil || bytes.length > maxPropertyListSize) return std::nullopt;
  id top = [NSPropertyListSerialization propertyListWithData:bytes
                                                     options:NSPropertyListImmutable
                                                      format:nil
                                                       error:nil];
  if (![top isKindOfClass:NSDictionary.class]) return std::nullopt;

  TextMap texts;
  NSDictionary<id, id> *entries = top;
  for (id entry in entries) {
    const auto name = textOf(entry);
    auto text = textOf(entries[entry]);
    if (name && text) texts.insert_or_assign(*name, std::move(*text));
  }
  return texts;
}

}  // namespace orvel
