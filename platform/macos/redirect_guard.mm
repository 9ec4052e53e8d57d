#import "platform/macos/redirect_guard.h"

#include "platform/http_session.h"
#import "platform/macos/cocoa_url.h"

@implementation RedirectGuard {
  NSURLRequest *_request;
}

- (instancetype)initWithRequest:(NSURLRequest *)request {
  self = [super init];
  if (self != nil) _request = [request copy];
  return self;
}

- (void)URLSession:(NSURLSession *)__unused session
                          task:(NSURLSessionTask *)__unused task
    willPerformHTTPRedirection:(NSHTTPURLResponse *)__unused response
                    newRequest:(NSURLRequest *)request
             completionHandler:(void (^)(NSURLRequest *))handler {
  const auto from = orvel::fromCocoa(_request.URL);
  const auto to = orvel::fromCocoa(request.URL);
  if (from && to && orvel::fieldsGoAlong(*from, *to)) return handler(request);
  NSMutableURLRequest *bare = [request mutableCopy];
  for (NSString *field in _request.allHTTPHeaderFields) {
    [bare setValue:nil forHTTPHeaderField:field];
  }
  handler(bare);
}

@end
