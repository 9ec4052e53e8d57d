#import "platform/macos/redirect_guard.h"

namespace {

NSInteger portOf(NSURL *url) {
  if (url.port != nil) return url.port.integerValue;
  return [url.scheme caseInsensitiveCompare:@"https"] == NSOrderedSame ? 443 : 80;
}

bool isSameText(NSString *one, NSString *other) {
  return one != nil && other != nil && [one caseInsensitiveCompare:other] == NSOrderedSame;
}

bool isSameOrigin(NSURL *one, NSURL *other) {
  return isSameText(one.scheme, other.scheme) && isSameText(one.host, other.host) &&
         portOf(one) == portOf(other);
}

}  // namespace

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
  if (isSameOrigin(_request.URL, request.URL)) return handler(request);
  NSMutableURLRequest *bare = [request mutableCopy];
  for (NSString *field in _request.allHTTPHeaderFields) {
    [bare setValue:nil forHTTPHeaderField:field];
  }
  handler(bare);
}

@end
