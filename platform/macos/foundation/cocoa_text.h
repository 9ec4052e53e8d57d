#pragma once

#import <Foundation/Foundation.h>

#include <optional>
#include <string>
#include <string_view>

namespace orvel {

NS_ASSUME_NONNULL_BEGIN

/// Decodes UTF-8 bytes. Keeps each NUL and a byte order mark. Returns nil when the bytes are not
/// UTF-8. Any thread.
NSString *_Nullable utf8Text(std::string_view bytes);

/// Returns bytes as a string that can always be shown or sent. When they are not valid UTF-8,
/// all of them are decoded as Latin-1, which defines every byte. Any thread.
NSString *toCocoa(std::string_view bytes);

/// Returns a string as UTF-8, or the empty string for nil. An unpaired surrogate becomes a
/// replacement character. Any thread.
std::string fromCocoa(NSString *_Nullable text);

/// Returns a value as UTF-8, or nullopt when it is not an NSString. Any thread.
std::optional<std::string> textOf(id _Nullable value);

NS_ASSUME_NONNULL_END

}  // namespace orvel
