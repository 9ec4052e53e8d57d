#include "platform/linux/gtk/full_screen_bar.h"

namespace orvel {

namespace {

/// The height of the strip at the top edge of the screen that reveals a hidden bar, in points.
constexpr double topEdgeHeight = 1;

/// Opens the first menu of a menu bar.
gboolean activateFirstMenu(gpointer menuBar) {
  GtkWidget *item = gtk_widget_get_first_child(GTK_WIDGET(menuBar));
  if (gtk_widget_get_mapped(item)) gtk_widget_activate(item);
  return G_SOURCE_REMOVE;
}

}  // namespace

FullScreenBar::FullScreenBar(GtkWindow *window, GtkWidget *header, GtkWidget *menuBar,
                             GtkWidget *content)
    : window_(window),
      header_(retain(header)),
      menuBar_(menuBar),
      revealer_(GTK_REVEALER(gtk_revealer_new())),
      motionController_(gtk_event_controller_motion_new()) {
  gtk_window_set_titlebar(window_, header);
  gtk_widget_set_valign(GTK_WIDGET(revealer_), GTK_ALIGN_START);
  GtkWidget *overlay = gtk_overlay_new();
  gtk_overlay_set_child(GTK_OVERLAY(overlay), content);
  gtk_overlay_add_overlay(GTK_OVERLAY(overlay), GTK_WIDGET(revealer_));
  gtk_window_set_child(window_, overlay);

  // Runs before the page, which consumes all pointer events.
  gtk_event_controller_set_propagation_phase(motionController_, GTK_PHASE_CAPTURE);
  for (const char *signal : {"enter", "motion"}) {
    connections_.emplace_back(
        motionController_, signal, this,
        +[](FullScreenBar *bar, double, double y) { bar->pointerMoved(y); });
  }
  connections_.emplace_back(
      motionController_, "leave", this, +[](FullScreenBar *bar) { bar->setPointerOver(false); });
  gtk_widget_add_controller(GTK_WIDGET(window_), motionController_);
  GtkEventController *keys = gtk_shortcut_controller_new();
  gtk_shortcut_controller_add_shortcut(
      GTK_SHORTCUT_CONTROLLER(keys),
      gtk_shortcut_new(gtk_keyval_trigger_new(GDK_KEY_F10, GdkModifierType{}),
                       gtk_callback_action_new(
                           +[](GtkWidget *, GVariant *, gpointer bar) {
                             return gboolean{static_cast<FullScreenBar *>(bar)->openMenu()};
                           },
                           this, nullptr)));
  gtk_widget_add_controller(GTK_WIDGET(window_), keys);
  connections_.emplace_back(
      revealer_, "notify::child-revealed", this,
      +[](FullScreenBar *bar) { bar->openMenuIfShown(); });
  connections_.emplace_back(
      window_, "notify::fullscreened", this, +[](FullScreenBar *bar) { bar->fullScreenChanged(); });
  connections_.emplace_back(
      window_, "notify::focus-widget", this, +[](FullScreenBar *bar) { bar->focusChanged(); });
}

void FullScreenBar::fullScreenChanged() {
  isPointerOver_ = false;
  isMenuOpening_ = false;
  if (gtk_window_is_fullscreen(window_)) {
    // The header moves to the revealer. The new title bar is an empty box, because null would
    // restore the default decorations.
    gtk_window_set_titlebar(window_, gtk_box_new(GTK_ORIENTATION_HORIZONTAL, 0));
    gtk_revealer_set_child(revealer_, header_.get());
  } else {
    gtk_revealer_set_child(revealer_, nullptr);
    gtk_window_set_titlebar(window_, header_.get());
  }
  updateRevealed();
}

void FullScreenBar::pointerMoved(double y) {
  const bool isRevealed = gtk_revealer_get_reveal_child(revealer_);
  const double height = isRevealed ? gtk_widget_get_height(header_.get()) : topEdgeHeight;
  setPointerOver(y < height);
}

void FullScreenBar::setPointerOver(bool isOver) {
  if (isOver == isPointerOver_) return;
  isPointerOver_ = isOver;
  updateRevealed();
}

void FullScreenBar::focusChanged() {
  // The focus leaves the bar when a menu closes. The menu's popover has grabbed the pointer, so
  // this window has missed the last motion events.
  GdkSurface *surface = gtk_native_get_surface(GTK_NATIVE(window_));
  if (surface != nullptr && gtk_window_is_fullscreen(window_) && !hasFocus()) {
    GdkSeat *seat = gdk_display_get_default_seat(gdk_surface_get_display(surface));
    double x = 0;
    double y = 0;
    if (gdk_surface_get_device_position(surface, gdk_seat_get_pointer(seat), &x, &y, nullptr)) {
      pointerMoved(y);
    } else {
      setPointerOver(false);
    }
  }
  updateRevealed();
}

void FullScreenBar::updateRevealed() {
  if (hasFocus()) isMenuOpening_ = false;
  gtk_revealer_set_reveal_child(revealer_, gtk_window_is_fullscreen(window_) &&
                                               (isPointerOver_ || isMenuOpening_ || hasFocus()));
}

bool FullScreenBar::hasFocus() const {
  GtkWidget *focus = gtk_window_get_focus(window_);
  return focus != nullptr && gtk_widget_is_ancestor(focus, header_.get());
}

bool FullScreenBar::openMenu() {
  if (!gtk_window_is_fullscreen(window_) || hasFocus()) return false;
  isMenuOpening_ = true;
  const bool wasRevealed = gtk_revealer_get_child_revealed(revealer_);
  updateRevealed();
  // Otherwise the notification of "child-revealed" opens the menu.
  if (wasRevealed) openMenuIfShown();
  return true;
}

void FullScreenBar::openMenuIfShown() {
  // A menu that opens before the bar has slid into its place appears outside the screen.
  if (!isMenuOpening_ || !gtk_revealer_get_child_revealed(revealer_)) return;
  // Deferred, because the last layout of the animation follows the notification.
  g_idle_add_full(G_PRIORITY_DEFAULT_IDLE, activateFirstMenu, g_object_ref(menuBar_),
                  g_object_unref);
}

GtkWidget *contentOf(GtkWindow *window) {
  GtkWidget *child = gtk_window_get_child(window);
  return child != nullptr && GTK_IS_OVERLAY(child) ? gtk_overlay_get_child(GTK_OVERLAY(child))
                                                   : child;
}

}  // namespace orvel
