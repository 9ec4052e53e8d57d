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
#include "platform/macos/foundation/standard_user_defaults.h"
#include "platform/macos/http/shared_url_session.h"
#include "platform/macos/http/sysctl_tcp_listeners.h"
#include "platform/macos/macos_window_system.h"
#include "platform/platform.h"
#include "platform/posix/posix_process_launcher.h"
#include "platform/posix/system_clock.h"

namespace orvel {

/// The macOS implementations of the interfaces in Platform. Constructed on the main thread, before
/// the process has other threads, because the constructor reads the environment.
class MacosPlatform {
 public:
  MacosPlatform();
  MacosPlatform(const MacosPlatform &) = delete;
  MacosPlatform &operator=(const MacosPlatform &) = delete;

  /// Returns references to the interfaces, which this object owns. Main thread.
  Platform interfaces();

 private:
  AppDelegateBridge *const bridge_;
  PosixProcessLauncher processes_;
  /// Constructed before the application object: the constructor removes the process arguments
  /// from the user defaults, where NSApplication would read them.
  StandardUserDefaults defaults_;
  CocoaApplication application_;
  RunLoopMainQueue mainQueue_;
  DispatchBackgroundQueue backgroundQueue_;
  SystemClock clock_;
  SharedUrlSession http_;
  SysctlTcpListeners listeners_;
  MainBundle bundle_;
  FileManagerLocations locations_;
  CocoaMenuBar menuBar_;
  MacosWindowSystem windows_;
  CocoaPanels panels_;
  CocoaWorkspace workspace_;
};

}  // namespace orvel
