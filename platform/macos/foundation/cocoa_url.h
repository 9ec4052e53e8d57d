#pragma once

#import <Foundation/Foundation.h>

#include <optional>
#include <string>

#include "base/url.h"

namespace orvel {

NS_ASSUME_NONNULL_BEGIN

/// The URL byte for byte, without a second look at whether it is one: the web
/// engine hands out addresses that a strict parser refuses. Any thread.
NSURL *toCocoa(const Url &url);

/// A URL and its parts as Foundation sees them; nothing for nil. Any thread.
std::optional<Url> fromCocoa(NSURL *_Nullable url);

/// The URL of a file or folder. Any thread.
NSURL *fileUrl(const std::string &path);

NS_ASSUME_NONNULL_END

}  // namespace orvel
