#pragma once

#include <gtk/gtk.h>

#include "platform/linux/glib/signal_connection.h"
#include "platform/linux/gtk/gtk_application.h"
#include "platform/linux/gtk/gtk_menu_bar.h"

namespace orvel {

/// Ways to quit while a window other than the main window is open, such as an alert, the print
/// dialog, a file chooser or the inspector. Adds the keys that quit to each new window, and accepts
/// the window manager's request to close the main window while a dialog is modal for it. Main
/// thread only; at most one instance at a time.
class QuitDuringDialogs {
 public:
  QuitDuringDialogs(GtkApplicationHost &application, GtkMenuBar &menuBar);
  ~QuitDuringDialogs();
  QuitDuringDialogs(const QuitDuringDialogs &) = delete;
  QuitDuringDialogs &operator=(const QuitDuringDialogs &) = delete;

 private:
  void windowsAdded(guint position, guint count);
  void eventArrived(GdkSurface *surface, GdkEvent *event);

  GtkApplicationHost &application_;
  GtkMenuBar &menuBar_;
  /// All windows of the process, in a list that GTK owns.
  GListModel *const windows_;
  const guint eventSignal_;
  const gulong eventHook_;
  const SignalConnection itemsChanged_;
};

}  // namespace orvel
