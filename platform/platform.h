#pragma once

#include "base/edition.h"
#include "platform/application.h"
#include "platform/background_queue.h"
#include "platform/bundle.h"
#include "platform/clock.h"
#include "platform/http_session.h"
#include "platform/locations.h"
#include "platform/main_queue.h"
#include "platform/menu_bar.h"
#include "platform/panels.h"
#include "platform/process_launcher.h"
#include "platform/release_unpacker.h"
#include "platform/tcp_listeners.h"
#include "platform/user_defaults.h"
#include "platform/web_view.h"
#include "platform/window.h"
#include "platform/workspace.h"

namespace orvel {

/// The interfaces of the operating system. The main() of an edition creates their implementations
/// and passes them to runApplication. The implementations must outlive the AppDelegate.
struct Platform {
  Application &application;
  WindowSystem &windows;
  MenuBar &menuBar;
  Panels &panels;
  Workspace &workspace;
  MainQueue &mainQueue;
  BackgroundQueue &backgroundQueue;
  Clock &clock;
  ProcessLauncher &processes;
  HttpSession &http;
  TcpListeners &listeners;
  Bundle &bundle;
  UserDefaults &defaults;
  Locations &locations;
  const Edition &edition;
  /// Null where Edition::unpack unpacks a release.
  const ReleaseUnpacker *unpacker = nullptr;
};

}  // namespace orvel
