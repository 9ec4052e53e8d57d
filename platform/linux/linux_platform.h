#pragma once

#include <map>
#include <optional>
#include <string>

#include "platform/linux/files/archive_unpacker.h"
#include "platform/linux/files/key_file_user_defaults.h"
#include "platform/linux/files/plist_bundle.h"
#include "platform/linux/files/user_locations.h"
#include "platform/linux/glib/glib_main_queue.h"
#include "platform/linux/gtk/gtk_application.h"
#include "platform/linux/gtk/gtk_commands.h"
#include "platform/linux/gtk/gtk_menu_bar.h"
#include "platform/linux/gtk/gtk_panels.h"
#include "platform/linux/gtk/gtk_workspace.h"
#include "platform/linux/gtk/quit_during_dialogs.h"
#include "platform/linux/http/proc_tcp_listeners.h"
#include "platform/linux/http/soup_http_session.h"
#include "platform/linux/linux_window_system.h"
#include "platform/linux/renderer_choice.h"
#include "platform/platform.h"
#include "platform/posix/posix_process_launcher.h"
#include "platform/posix/system_clock.h"
#include "platform/posix/thread_background_queue.h"

namespace orvel {

/// Returns the path of the bundle that contains the running executable, with symbolic
/// links resolved (proc(5), /proc/self/exe). Any thread.
std::string mainBundlePath();

/// The Linux implementations of all platform interfaces. Main thread only.
class LinuxPlatform {
 public:
  /// Creates the implementations for one application bundle. Sets environment variables, so call it
  /// before GTK starts and while the process has one thread.
  explicit LinuxPlatform(const std::string &bundlePath);
  LinuxPlatform(const LinuxPlatform &) = delete;
  LinuxPlatform &operator=(const LinuxPlatform &) = delete;

  /// Returns references to the interfaces; they are valid as long as this object.
  Platform interfaces();

  /// Sets up what needs a started GTK. Application::run calls it.
  void gtkStarted();

 private:
  // Declared before graphics_, whose initialisation changes the environment: child processes
  // get the unchanged one.
  const std::map<std::string, std::string> environment_;
  const GraphicsHardware graphics_;
  const std::string resourceFolder_;
  PlistBundle bundle_;
  const std::string identifier_;
  const std::string name_;

  GlibMainQueue mainQueue_;
  ThreadBackgroundQueue backgroundQueue_;
  SystemClock clock_;
  PosixProcessLauncher processes_;
  const ArchiveUnpacker unpacker_;
  UserLocations locations_;
  SoupHttpSession http_;
  ProcTcpListeners listeners_;
  KeyFileUserDefaults defaults_;

  GtkApplicationHost application_;
  GtkCommands commands_;
  GtkMenuBar menuBar_;
  /// Created after GTK has started.
  std::optional<QuitDuringDialogs> quitDuringDialogs_;
  LinuxWindowSystem windows_;
  GtkPanels panels_;
  GtkWorkspace workspace_;
};

}  // namespace orvel
