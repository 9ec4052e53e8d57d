#pragma once

#include <gtk/gtk.h>

#include <vector>

#include "platform/linux/glib/gobject_pointer.h"
#include "platform/linux/glib/signal_connection.h"

namespace orvel {

/// A header bar that stays reachable in full screen, where GTK hides title bars. It slides over
/// the content when the pointer reaches the top edge of the screen or the user presses F10, and
/// stays while the pointer is over it or it has the focus. Main thread only.
class FullScreenBar {
 public:
  /// Adds the header and the content to the window. `menuBar` is a descendant of the
  /// header. The window must outlive this object.
  FullScreenBar(GtkWindow *window, GtkWidget *header, GtkWidget *menuBar, GtkWidget *content);
  FullScreenBar(const FullScreenBar &) = delete;
  FullScreenBar &operator=(const FullScreenBar &) = delete;

 private:
  void fullScreenChanged();
  void pointerMoved(double y);
  void setPointerOver(bool isOver);
  void focusChanged();
  void updateRevealed();
  bool hasFocus() const;
  /// Reveals the bar and then opens its first menu. Returns false when GTK handles F10: outside
  /// full screen, and while the bar has the focus.
  bool openMenu();
  void openMenuIfShown();

  GtkWindow *const window_;
  const GObjectPointer<GtkWidget> header_;
  GtkWidget *const menuBar_;
  GtkRevealer *const revealer_;
  GtkEventController *const motionController_;
  bool isPointerOver_ = false;
  /// Whether F10 was pressed and the menu is not open yet.
  bool isMenuOpening_ = false;
  std::vector<SignalConnection> connections_;
};

/// Returns the content of a window, with or without a FullScreenBar, or null when it has
/// none. Main thread only.
GtkWidget *contentOf(GtkWindow *window);

}  // namespace orvel
