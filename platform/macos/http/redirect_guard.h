#pragma once

#import <Foundation/Foundation.h>

#include "platform/http_session.h"

NS_ASSUME_NONNULL_BEGIN

/// See UrlRequest::forwardsHeaders.
using ForwardsHeaders = decltype(orvel::UrlRequest::forwardsHeaders);

/// The delegate of one URL session task. Redirects get the header fields of its request
/// until `forwardsHeaders` rejects a redirect; that one and all later ones get none of them.
/// Without this delegate Foundation sends the fields to any host. A redirect uses the session's
/// cookies only if the request does. Called on the session's delegate queue.
@interface RedirectGuard : NSObject <NSURLSessionTaskDelegate>

- (instancetype)init NS_UNAVAILABLE;
/// A null `forwardsHeaders` withholds the fields from every redirect.
- (instancetype)initWithRequest:(NSURLRequest *)request
                forwardsHeaders:(nullable ForwardsHeaders)forwardsHeaders NS_DESIGNATED_INITIALIZER;

@end

NS_ASSUME_NONNULL_END
