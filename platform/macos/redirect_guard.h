#pragma once

#import <Foundation/Foundation.h>

NS_ASSUME_NONNULL_BEGIN

/// Goes along with one task. Its redirects carry the fields of its request as long
/// as all of them stay at the origin (`orvel::fieldsGoAlong`), and none of these
/// fields from the first on that does not: Foundation would send them to whatever
/// host the answer names. The session's cookies are left out where the request
/// leaves them out.
@interface RedirectGuard : NSObject <NSURLSessionTaskDelegate>

- (instancetype)init NS_UNAVAILABLE;
- (instancetype)initWithRequest:(NSURLRequest *)request NS_DESIGNATED_INITIALIZER;

@end

NS_ASSUME_NONNULL_END
