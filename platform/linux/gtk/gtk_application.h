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

/// The application as the session bus knows it. A second start of the same
/// identifier only raises the window of the first; without a bus each start is
/// the first.
class GtkApplicationHost final : public Application {
 public:
  /// `startup` runs once GTK is there and before the launch, in the first
  /// instance only.
  GtkApplicationHost(const std::string &identifier, std::function<void()> startup);
  ~GtkApplicationHost() override;
  GtkApplicationHost(const GtkApplicationHost &) = delete;
  GtkApplicationHost &operator=(const GtkApplicationHost &) = delete;

  void setDelegate(ApplicationDelegate &delegate) override { delegate_ = &delegate; }
  void setRegularActivationPolicy() override {}
  /// SIGTERM, SIGINT and SIGHUP ask to end, like the menu does.
  void run() override;
  void activate() override;
  void replyToShouldTerminate() override;

  /// The one way in which everything asks to end: the menu, the window, a
  /// signal. Further requests are ignored while one waits for its reply.
  void terminate() override;
  void lastWindowClosed();

  /// Makes a window one of this application.
  void addWindow(GtkWindow *window);
  /// The window that dialogs stand before, or null before there is one.
  GtkWindow *mainWindow() const { return mainWindow_; }
  /// Whether the application ends and nothing can defer that any more.
  bool terminationProceeds() const { return terminationProceeds_; }
  /// Work that must be done before the process ends.
  void beforeEnd(std::function<void()> work) { beforeEnd_ = std::move(work); }

  ApplicationDelegate *delegate() const { return delegate_; }

 private:
  void connectToSession();
  void activated();
  void finish();

  const GObjectPointer<GtkApplication> application_;
  const std::function<void()> startup_;
  std::function<void()> beforeEnd_;
  ApplicationDelegate *delegate_ = nullptr;
  GtkWindow *mainWindow_ = nullptr;
  bool launched_ = false;
  bool terminating_ = false;
  bool terminationProceeds_ = false;
  std::vector<SignalConnection> connections_;
};

}  // namespace orvel
