#import "platform/macos/foundation/redirect_guard.h"

#import "platform/macos/foundation/cocoa_url.h"

@implementation RedirectGuard {
  NSURLRequest *_request;
  ForwardsHeaders _forwardsHeaders;
  BOOL _isElsewhere;
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
  const auto from = orvel::fromCocoa(_request.URL);
  const auto to = orvel::fromCocoa(request.URL);
  // Stays set: no fields are sent again when another host redirects back.
  _isElsewhere =
      _isElsewhere || !from || !to || _forwardsHeaders == nullptr || !_forwardsHeaders(*from, *to);
  NSMutableURLRequest *next = [request mutableCopy];
  next.HTTPShouldHandleCookies = _request.HTTPShouldHandleCookies;
  // Foundation drops some of them itself, so all are set or cleared here.
  for (NSString *field in _request.allHTTPHeaderFields) {
    [next setValue:_isElsewhere ? nil : [_request valueForHTTPHeaderField:field]
        forHTTPHeaderField:field];
  }
  handler(next);
}

@end
