#pragma once

#import "platform/macos/appkit/app_delegate_bridge.h"
#include "platform/macos/appkit/cocoa_application.h"
#include "platform/macos/appkit/cocoa_menu_bar.h"
#include "platform/macos/appkit/cocoa_panels.h"
#include "platform/macos/appkit/cocoa_workspace.h"
#include "platform/macos/foundation/dispatch_background_queue.h"
#include "platform/macos/foundation/file_manager_locations.h"
#include "platform/macos/foundation/main_bundle.h"
#include "platform/macos/foundation/run_loop_main_queue.h"
#include "platform/macos/foundation/shared_url_session.h"
#include "platform/macos/foundation/standard_user_defaults.h"
#include "platform/macos/macos_window_system.h"
#include "platform/platform.h"
#include "platform/posix/posix_process_launcher.h"
#include "platform/posix/system_clock.h"

namespace orvel {

/// The macOS desktop: every port. Made on the main thread, while there is one
/// thread.
class MacosPlatform {
 public:
  MacosPlatform();
  MacosPlatform(const MacosPlatform &) = delete;
  MacosPlatform &operator=(const MacosPlatform &) = delete;

  Platform ports();

 private:
  AppDelegateBridge *const bridge_;
  PosixProcessLauncher processes_;
  /// Before the application, which looks at the arguments through them.
  StandardUserDefaults defaults_;
  CocoaApplication application_;
  RunLoopMainQueue mainQueue_;
  DispatchBackgroundQueue backgroundQueue_;
  SystemClock clock_;
  SharedUrlSession http_;
  MainBundle bundle_;
  FileManagerLocations locations_;
  CocoaMenuBar menuBar_;
  MacosWindowSystem windows_;
  CocoaPanels panels_;
  CocoaWorkspace workspace_;
};

}  // namespace orvel
