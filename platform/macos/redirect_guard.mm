#import "platform/macos/redirect_guard.h"

#include "platform/http_session.h"
#import "platform/macos/cocoa_url.h"

@implementation RedirectGuard {
  NSURLRequest *_request;
  BOOL _isElsewhere;
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
  // Nor does another host get them back by sending us home.
  _isElsewhere = _isElsewhere || !from || !to || !orvel::fieldsGoAlong(*from, *to);
  NSMutableURLRequest *next = [request mutableCopy];
  next.HTTPShouldHandleCookies = _request.HTTPShouldHandleCookies;
  // Foundation leaves some of them out by itself.
  for (NSString *field in _request.allHTTPHeaderFields) {
    [next setValue:_isElsewhere ? nil : [_request valueForHTTPHeaderField:field]
        forHTTPHeaderField:field];
  }
  handler(next);
}

@end
