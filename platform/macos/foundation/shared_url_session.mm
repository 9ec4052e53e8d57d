#import "platform/macos/foundation/shared_url_session.h"

#import <Foundation/Foundation.h>

#import "platform/macos/foundation/cocoa_text.h"
#import "platform/macos/foundation/cocoa_url.h"
#import "platform/macos/foundation/redirect_guard.h"

namespace orvel {

namespace {

/// Returns the Foundation request for a request.
NSURLRequest *messageOf(const UrlRequest &request) {
  NSMutableURLRequest *message = toCocoa(request);
  // Otherwise the session replaces a Cookie field with cookies of its own storage.
  message.HTTPShouldHandleCookies = NO;
  return message;
}

/// Returns the head of a response, or nullopt for nil and for other protocols.
std::optional<HttpResponse> fromCocoa(NSURLResponse *response) {
  if (![response isKindOfClass:NSHTTPURLResponse.class]) return std::nullopt;
  auto *http = static_cast<NSHTTPURLResponse *>(response);
  return HttpResponse{.statusCode = static_cast<int>(http.statusCode)};
}

/// Starts a task, with a delegate for its redirects.
void start(NSURLSessionTask *task, NSURLRequest *message, const UrlRequest &request) {
  task.delegate = [[RedirectGuard alloc] initWithRequest:message
                                         forwardsHeaders:request.forwardsHeaders];
  [task resume];
}

}  // namespace

void SharedUrlSession::dataTask(const UrlRequest &request, DataCompletion completion) {
  NSURLRequest *message = messageOf(request);
  start([NSURLSession.sharedSession
            dataTaskWithRequest:message
              completionHandler:^(NSData *body, NSURLResponse *response, NSError *error) {
                DataReply reply{.response = fromCocoa(response)};
                // With an error, `body` may hold the part that has arrived.
                if (error == nil && body != nil) {
                  reply.body.emplace(static_cast<const char *>(body.bytes), body.length);
                }
                completion(reply);
              }],
        message, request);
}

void SharedUrlSession::downloadTask(const UrlRequest &request, DownloadCompletion completion) {
  NSURLRequest *message = messageOf(request);
  start([NSURLSession.sharedSession
            downloadTaskWithRequest:message
                  completionHandler:^(NSURL *file, NSURLResponse *response, NSError *) {
                    // The session removes the file when this block returns.
                    completion({.file = textOf(file.path),
                                .response = fromCocoa(response),
                                .suggestedFilename = textOf(response.suggestedFilename)});
                  }],
        message, request);
}

}  // namespace orvel
