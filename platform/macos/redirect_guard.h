#pragma once

#import <Foundation/Foundation.h>

NS_ASSUME_NONNULL_BEGIN

/// Goes along with one task and takes the fields of its request off every
/// redirect to another origin: Foundation would send them to whatever host the
/// answer names.
@interface RedirectGuard : NSObject <NSURLSessionTaskDelegate>

- (instancetype)init NS_UNAVAILABLE;
- (instancetype)initWithRequest:(NSURLRequest *)request NS_DESIGNATED_INITIALIZER;

@end

NS_ASSUME_NONNULL_END
