#pragma once

#include <gtk/gtk.h>

#include <array>
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
  /// `startup` runs in the first instance only, after GTK has started and before
  /// applicationDidFinishLaunching.
  GtkApplicationHost(const std::string &identifier, std::function<void()> startup);
  ~GtkApplicationHost() override;
  GtkApplicationHost(const GtkApplicationHost &) = delete;
  GtkApplicationHost &operator=(const GtkApplicationHost &) = delete;

  void setDelegate(ApplicationDelegate &delegate) override { delegate_ = &delegate; }
  void setRegularActivationPolicy() override {}
  /// Runs the main loop until the application terminates. SIGTERM, SIGINT and SIGHUP call
  /// `terminate`.
  void run() override;
  void activate() override;
  void replyToShouldTerminate() override;

  /// Asks the delegate to terminate the application: the menu, a closed window and a signal
  /// all come here. Every request but the first is ignored.
  void terminate() override;
  /// Call it when the last window has closed. Calls `terminate` if the delegate requires that.
  void lastWindowClosed();

  /// Makes a window the main window of this application.
  void addWindow(GtkWindow *window);
  /// Returns the parent window for dialogs, or null.
  GtkWindow *mainWindow() const { return mainWindow_; }
  /// Returns whether the termination can no longer be deferred.
  bool terminationProceeds() const { return terminationProceeds_; }
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
  bool terminationProceeds_ = false;
  std::vector<SignalConnection> connections_;
};

}  // namespace orvel
