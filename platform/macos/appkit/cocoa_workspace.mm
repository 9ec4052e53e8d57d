#import "platform/macos/appkit/cocoa_workspace.h"

#import <AppKit/AppKit.h>

#import "platform/macos/foundation/cocoa_url.h"

namespace orvel {

namespace {

/// Opens a URL in its default application. Returns at once and shows no error dialog.
void openSilently(NSURL *address) {
  NSWorkspaceOpenConfiguration *configuration = [NSWorkspaceOpenConfiguration configuration];
  configuration.promptsUserIfNeeded = NO;
  [NSWorkspace.sharedWorkspace openURL:address configuration:configuration completionHandler:nil];
}

}  // namespace

void CocoaWorkspace::open(const Url &url) { openSilently(toCocoa(url)); }

void CocoaWorkspace::openFile(const std::string &path) { openSilently(fileUrl(path)); }

}  // namespace orvel
