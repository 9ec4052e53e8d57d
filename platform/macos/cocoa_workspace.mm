#import "platform/macos/cocoa_workspace.h"

#import <AppKit/AppKit.h>

#import "platform/macos/cocoa_url.h"

namespace orvel {

void CocoaWorkspace::open(const Url &url) { [NSWorkspace.sharedWorkspace openURL:toCocoa(url)]; }

void CocoaWorkspace::openFile(const std::string &path) {
  [NSWorkspace.sharedWorkspace openURL:fileUrl(path)];
}

}  // namespace orvel
