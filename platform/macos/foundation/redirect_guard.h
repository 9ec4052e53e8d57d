#pragma once

#import <Foundation/Foundation.h>

#include "platform/http_session.h"

NS_ASSUME_NONNULL_BEGIN

using ForwardsHeaders = decltype(orvel::UrlRequest::forwardsHeaders);

/// The delegate of one task. Redirects get the header fields of its request until
/// `forwardsHeaders` rejects one; that redirect and all later ones get none of them.
/// Foundation by itself would send them to any host. A redirect uses the session's
/// cookies only if the request does.
@interface RedirectGuard : NSObject <NSURLSessionTaskDelegate>

- (instancetype)init NS_UNAVAILABLE;
- (instancetype)initWithRequest:(NSURLRequest *)request
                forwardsHeaders:(nullable ForwardsHeaders)forwardsHeaders NS_DESIGNATED_INITIALIZER;

@end

NS_ASSUME_NONNULL_END
