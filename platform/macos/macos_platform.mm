#import "platform/macos/macos_platform.h"

#import "platform/macos/foundation/cocoa_text.h"

namespace orvel {

namespace {

/// Returns the system's description of an errno value in the user's language; strerror(3) is
/// always English. Any thread.
std::string localizedErrorDescription(int error) {
  NSError *wrapped = [NSError errorWithDomain:NSPOSIXErrorDomain code:error userInfo:nil];
  // localizedDescription would add "The operation couldn't be completed."
  NSString *reason = wrapped.localizedFailureReason;
  return reason != nil ? fromCocoa(reason) : systemErrorDescription(error);
}

}  // namespace

MacosPlatform::MacosPlatform()
    : bridge_([[AppDelegateBridge alloc] init]),
      processes_(processEnvironment(), localizedErrorDescription),
      application_(bridge_),
      windows_(bridge_),
      panels_(bridge_) {}

Platform MacosPlatform::interfaces() {
  return {.application = application_,
          .windows = windows_,
          .menuBar = menuBar_,
          .panels = panels_,
          .workspace = workspace_,
          .mainQueue = mainQueue_,
          .backgroundQueue = backgroundQueue_,
          .clock = clock_,
          .processes = processes_,
          .http = http_,
          .listeners = listeners_,
          .bundle = bundle_,
          .defaults = defaults_,
          .locations = locations_,
          .edition = macosEdition,
          .unpacker = nullptr};  // macOS unpacks with a command (Edition::unpack).
}

}  // namespace orvel
