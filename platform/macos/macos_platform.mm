#import "platform/macos/macos_platform.h"

namespace orvel {

MacosPlatform::MacosPlatform()
    : bridge_([[AppDelegateBridge alloc] init]),
      processes_(processEnvironment()),
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
          .bundle = bundle_,
          .defaults = defaults_,
          .locations = locations_,
          .names = macosNames,
          .unpacker = nullptr};
}

}  // namespace orvel
