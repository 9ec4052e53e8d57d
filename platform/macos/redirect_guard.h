#pragma once

#import <Foundation/Foundation.h>

#include "platform/http_session.h"

NS_ASSUME_NONNULL_BEGIN

using ForwardsHeaders = decltype(orvel::UrlRequest::forwardsHeaders);

/// The delegate of one task. Redirects carry the header fields of its request as
/// long as `forwardsHeaders` allows each of them, and none of these fields from the
/// first on that it does not: Foundation would send them to any host. The session's
/// cookies are left out where the request leaves them out.
@interface RedirectGuard : NSObject <NSURLSessionTaskDelegate>

- (instancetype)init NS_UNAVAILABLE;
- (instancetype)initWithRequest:(NSURLRequest *)request
                forwardsHeaders:(nullable ForwardsHeaders)forwardsHeaders NS_DESIGNATED_INITIALIZER;

@end

NS_ASSUME_NONNULL_END
