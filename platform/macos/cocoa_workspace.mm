#import "platform/macos/cocoa_workspace.h"

#import <AppKit/AppKit.h>

#import "platform/macos/cocoa_url.h"

namespace orvel {

void CocoaWorkspace::open(const Url &url) {
  if (NSURL *address = toCocoa(url)) [NSWorkspace.sharedWorkspace openURL:address];
}

void CocoaWorkspace::openFile(const std::string &path) {
  [NSWorkspace.sharedWorkspace openURL:fileUrl(path)];
}

}  // namespace orvel
