#pragma once

#import <Foundation/Foundation.h>

#include <optional>
#include <string>
#include <string_view>

namespace orvel {

NS_ASSUME_NONNULL_BEGIN

/// Bytes as a text, a NUL and a byte order mark included; nil when they are not
/// UTF-8. Any thread.
NSString *_Nullable utf8Text(std::string_view bytes);

/// The same, for what has to be shown or sent whatever it is: bytes that are
/// not UTF-8 are taken for Latin-1, which all bytes can be. Any thread.
NSString *toCocoa(std::string_view bytes);

/// A text as UTF-8; the empty text for nil. Any thread.
std::string fromCocoa(NSString *_Nullable text);

/// A value's text; nothing when it is no text. Any thread.
std::optional<std::string> textOf(id _Nullable value);

NS_ASSUME_NONNULL_END

}  // namespace orvel
