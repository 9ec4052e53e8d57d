#pragma once

#import <Foundation/Foundation.h>

#include "platform/http_session.h"

NS_ASSUME_NONNULL_BEGIN

/// The type of UrlRequest::forwardsHeaders, which says whether a redirect gets the header fields.
using ForwardsHeaders = decltype(orvel::UrlRequest::forwardsHeaders);

/// The delegate of one URL session task. Redirects get the header fields of the task's request
/// until `forwardsHeaders` rejects a redirect. The rejected redirect and all later ones get none
/// of the fields. Without this delegate Foundation sends the fields to any host. A redirect uses
/// the session's cookies only if the task's request does. Called on the session's delegate
/// queue.
@interface RedirectGuard : NSObject <NSURLSessionTaskDelegate>

- (instancetype)init NS_UNAVAILABLE;
/// A null `forwardsHeaders` withholds the fields from every redirect.
- (instancetype)initWithRequest:(NSURLRequest *)request
                forwardsHeaders:(nullable ForwardsHeaders)forwardsHeaders NS_DESIGNATED_INITIALIZER;

@end

NS_ASSUME_NONNULL_END
