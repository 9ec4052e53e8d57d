#pragma once

#include <gtk/gtk.h>

#include <functional>
#include <string>
#include <vector>

#include "platform/application.h"
#include "platform/linux/glib/gobject_pointer.h"
#include "platform/linux/glib/signal_connection.h"

namespace orvel {

/// A GtkApplication with one instance for each session bus: a second process with the same
/// identifier only raises the window of the first one, and exits. Without a session bus
/// each process runs on its own. Main thread only.
class GtkApplicationHost final : public Application {
 public:
  /// Calls `startup` in the first instance only, after GTK has started and before
  /// applicationDidFinishLaunching.
  GtkApplicationHost(const std::string &identifier, std::function<void()> startup);
  ~GtkApplicationHost() override;
  GtkApplicationHost(const GtkApplicationHost &) = delete;
  GtkApplicationHost &operator=(const GtkApplicationHost &) = delete;

  void setDelegate(ApplicationDelegate &delegate) override { delegate_ = &delegate; }
  /// Does nothing: only macOS has activation policies.
  void setRegularActivationPolicy() override {}
  /// Runs the main loop until the application terminates. SIGTERM, SIGINT and SIGHUP call
  /// `terminate`.
  void run() override;
  void activate() override;
  void replyToShouldTerminate() override;

  /// Asks the delegate whether the application may terminate. Only the first call has an effect.
  void terminate() override;
  /// Call it when the user or the window manager requests to close the main window, the last one
  /// of the application. Calls `terminate` if the delegate quits after the last window.
  void mainWindowCloseRequested();

  /// Makes a window the main window: `activate` raises it, and dialogs belong to it.
  void setMainWindow(GtkWindow *window);
  /// Returns the main window, or null before it is created and after it is destroyed.
  GtkWindow *mainWindow() const { return mainWindow_; }
  /// Returns whether the main loop has been asked to end.
  bool isMainLoopEnding() const { return isMainLoopEnding_; }
  /// Sets the function that runs once, just before the main loop ends. Null removes it.
  void setTerminationHandler(std::function<void()> handler) {
    terminationHandler_ = std::move(handler);
  }

  /// Returns the delegate, or null before it is set.
  ApplicationDelegate *delegate() const { return delegate_; }

 private:
  void connectToSessionBus();
  void activated();
  void finish();

  const GObjectPointer<GtkApplication> application_;
  const std::function<void()> startup_;
  std::function<void()> terminationHandler_;
  ApplicationDelegate *delegate_ = nullptr;
  GtkWindow *mainWindow_ = nullptr;
  bool launched_ = false;
  bool terminating_ = false;
  bool isMainLoopEnding_ = false;
  std::vector<SignalConnection> connections_;
};

}  // namespace orvel
