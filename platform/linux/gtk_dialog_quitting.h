#pragma once

#include <gtk/gtk.h>

#include "platform/linux/gtk_application.h"
#include "platform/linux/gtk_menu_bar.h"

namespace orvel {

/// Lets the user quit while a window of GTK's or WebKit's own is open, such as
/// the print dialog, a chooser or the inspector: each gets the keys that quit,
/// and the main window can be closed from outside although a dialog is modal for
/// it. Main thread only; at most one at a time.
class GtkDialogQuitting {
 public:
  GtkDialogQuitting(GtkApplicationHost &application, GtkMenuBar &menuBar);
  ~GtkDialogQuitting();
  GtkDialogQuitting(const GtkDialogQuitting &) = delete;
  GtkDialogQuitting &operator=(const GtkDialogQuitting &) = delete;

 private:
  void windowsAdded(guint position, guint count);
  void eventArrived(GdkSurface *surface, GdkEvent *event);

  GtkApplicationHost &application_;
  GtkMenuBar &menuBar_;
  GListModel *const windows_;
  const guint eventSignal_;
  const gulong eventHook_;
};

}  // namespace orvel
