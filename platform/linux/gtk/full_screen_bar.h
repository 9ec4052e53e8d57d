#pragma once

#include <gtk/gtk.h>

#include <vector>

#include "platform/linux/glib/gobject_pointer.h"
#include "platform/linux/glib/signal_connection.h"

namespace orvel {

/// Keeps a window's header bar within reach in full screen, where GTK hides title
/// bars: the header slides over the content while the pointer is at the top edge
/// of the screen, or after F10, until its menu is closed. Main thread only.
class FullScreenBar {
 public:
  /// Puts the header and the content into the window. `menuBar` is in the header.
  FullScreenBar(GtkWindow *window, GtkWidget *header, GtkWidget *menuBar, GtkWidget *content);
  FullScreenBar(const FullScreenBar &) = delete;
  FullScreenBar &operator=(const FullScreenBar &) = delete;

 private:
  void fullScreenChanged();
  void pointerMoved(double y);
  void setPointerOver(bool isOver);
  void focusChanged();
  void update();
  bool hasFocus() const;
  bool openMenu();

  GtkWindow *const window_;
  const GObjectPointer<GtkWidget> header_;
  GtkWidget *const menuBar_;
  GtkRevealer *const revealer_;
  GtkEventController *const motion_;
  bool isPointerOver_ = false;
  /// Whether F10 was pressed and its menu has not opened yet.
  bool isOpening_ = false;
  std::vector<SignalConnection> connections_;
};

/// Returns the widget that a window shows below its header, or null.
GtkWidget *contentOf(GtkWindow *window);

}  // namespace orvel
