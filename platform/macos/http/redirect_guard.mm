#import "platform/macos/http/redirect_guard.h"

#include "base/one_shot.h"
#import "platform/macos/foundation/cocoa_url.h"

@implementation RedirectGuard {
  NSURLRequest *_request;
  ForwardsHeaders _forwardsHeaders;
  BOOL _withholdsHeaders;
}

- (instancetype)initWithRequest:(NSURLRequest *)request
                forwardsHeaders:(ForwardsHeaders)forwardsHeaders {
  self = [super init];
  if (self != nil) {
    _request = [request copy];
    _forwardsHeaders = forwardsHeaders;
  }
  return self;
}

- (void)URLSession:(NSURLSession *)__unused session
                          task:(NSURLSessionTask *)__unused task
    willPerformHTTPRedirection:(NSHTTPURLResponse *)__unused response
                    newRequest:(NSURLRequest *)request
             completionHandler:(void (^)(NSURLRequest *))handler {
  // If an exception leaves this method, oneShot calls the handler with nil, which refuses the
  // redirect: the task then ends with the redirect response.
  const auto follow =
      orvel::oneShot<NSURLRequest *>([handler](NSURLRequest *next) { handler(next); }, nil);
  const auto firstUrl = orvel::fromCocoa(_request.URL);
  const auto to = orvel::fromCocoa(request.URL);
  // Stays set, so that a later redirect back to the first host gets no fields either.
  _withholdsHeaders = _withholdsHeaders || !firstUrl || !to || _forwardsHeaders == nullptr ||
                      !_forwardsHeaders(*firstUrl, *to);
  NSMutableURLRequest *next = [request mutableCopy];
  next.HTTPShouldHandleCookies = _request.HTTPShouldHandleCookies;
  // Foundation drops some fields on a redirect, so set or clear them all.
  for (NSString *field in _request.allHTTPHeaderFields) {
    [next setValue:_withholdsHeaders ? nil : [_request valueForHTTPHeaderField:field]
        forHTTPHeaderField:field];
  }
  follow(next);
}

@end
