#import "platform/macos/http/shared_url_session.h"

#import <Foundation/Foundation.h>

#import "platform/macos/foundation/cocoa_text.h"
#import "platform/macos/foundation/cocoa_url.h"
#import "platform/macos/http/redirect_guard.h"

namespace orvel {

namespace {

/// Returns the Foundation request without the session's cookies.
NSURLRequest *withoutSessionCookies(const UrlRequest &request) {
  NSMutableURLRequest *cocoaRequest = toCocoa(request);
  // Otherwise the session replaces a Cookie field with cookies of its own storage.
  cocoaRequest.HTTPShouldHandleCookies = NO;
  return cocoaRequest;
}

/// Returns the head of a response, or nullopt for nil and for other protocols.
std::optional<HttpResponse> fromCocoa(NSURLResponse *response) {
  if (![response isKindOfClass:NSHTTPURLResponse.class]) return std::nullopt;
  auto *http = static_cast<NSHTTPURLResponse *>(response);
  return HttpResponse{.statusCode = static_cast<int>(http.statusCode)};
}

/// Moves the file of a finished download to another temporary path, where the session does not
/// remove it. Returns that path, or nil for nil and when the file cannot be moved.
NSURL *keepFile(NSURL *file) {
  if (file == nil) return nil;
  NSURL *kept = [NSFileManager.defaultManager.temporaryDirectory
      URLByAppendingPathComponent:NSUUID.UUID.UUIDString];
  return [NSFileManager.defaultManager moveItemAtURL:file toURL:kept error:nil] ? kept : nil;
}

/// Starts a task, with a delegate for its redirects.
void start(NSURLSessionTask *task, NSURLRequest *cocoaRequest, const UrlRequest &request) {
  task.delegate = [[RedirectGuard alloc] initWithRequest:cocoaRequest
                                         forwardsHeaders:request.forwardsHeaders];
  [task resume];
}

}  // namespace

SharedUrlSession::SharedUrlSession()
    : downloadCompletionQueue_(
          dispatch_queue_create("nl.orvel.os.download-completions", DISPATCH_QUEUE_SERIAL)) {}

void SharedUrlSession::dataTask(const UrlRequest &request, DataCompletion completion) {
  NSURLRequest *cocoaRequest = withoutSessionCookies(request);
  start([NSURLSession.sharedSession
            dataTaskWithRequest:cocoaRequest
              completionHandler:^(NSData *body, NSURLResponse *response, NSError *error) {
                DataReply reply{.response = fromCocoa(response)};
                // With an error, `body` may hold the part that has arrived.
                if (error == nil && body != nil) {
                  reply.body.emplace(static_cast<const char *>(body.bytes), body.length);
                }
                completion(reply);
              }],
        cocoaRequest, request);
}

void SharedUrlSession::downloadTask(const UrlRequest &request, DownloadCompletion completion) {
  NSURLRequest *cocoaRequest = withoutSessionCookies(request);
  dispatch_queue_t queue = downloadCompletionQueue_;
  start([NSURLSession.sharedSession
            downloadTaskWithRequest:cocoaRequest
                  completionHandler:^(NSURL *file, NSURLResponse *response, NSError *) {
                    // The session removes `file` when this block returns.
                    NSURL *kept = keepFile(file);
                    dispatch_async(queue, ^{
                      completion({.file = textOf(kept.path),
                                  .response = fromCocoa(response),
                                  .suggestedFilename = textOf(response.suggestedFilename)});
                      if (kept != nil)
                        [NSFileManager.defaultManager removeItemAtURL:kept error:nil];
                    });
                  }],
        cocoaRequest, request);
}

}  // namespace orvel
