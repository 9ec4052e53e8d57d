#pragma once

#import <Foundation/Foundation.h>

#include <optional>
#include <string>

#include "base/url.h"
#include "base/url_request.h"

namespace orvel {

NS_ASSUME_NONNULL_BEGIN

/// Returns an NSURL with the same bytes. Does not validate them, because a Url may come from
/// WebKit, which reports URLs that a strict parser rejects. Any thread.
NSURL *toCocoa(const Url &url);

/// Returns a URL with the parts that Foundation parses, or nullopt for nil. Any thread.
std::optional<Url> fromCocoa(NSURL *_Nullable url);

/// Returns the Foundation request for a request. Any thread.
NSMutableURLRequest *toCocoa(const UrlRequest &request);

/// Returns the file URL of a path. Any thread.
NSURL *fileUrl(const std::string &path);

NS_ASSUME_NONNULL_END

}  // namespace orvel
