#include "platform/linux/gtk/quit_during_dialogs.h"

#include <algorithm>

#include "platform/linux/glib/gobject_pointer.h"
#include "platform/linux/glib/list_model.h"

namespace orvel {

namespace {

bool isModalWindowOpen(GListModel *list) {
  const auto windows = itemsOf<GtkWindow>(list);
  return std::any_of(windows.begin(), windows.end(), [](const auto &window) {
    return gtk_window_get_modal(window.get()) && gtk_widget_get_visible(GTK_WIDGET(window.get()));
  });
}

guint surfaceEventSignal() {
  // The class registers its signals when it is first used, which may not have happened yet.
  g_type_class_unref(g_type_class_ref(GDK_TYPE_SURFACE));
  return g_signal_lookup("event", GDK_TYPE_SURFACE);
}

}  // namespace

QuitDuringDialogs::QuitDuringDialogs(GtkApplicationHost &application, GtkMenuBar &menuBar)
    : application_(application),
      menuBar_(menuBar),
      windows_(gtk_window_get_toplevels()),
      eventSignal_(surfaceEventSignal()),
      // A handler connected to the surface would run after GTK's own, which stops the
      // emission.
      eventHook_(g_signal_add_emission_hook(
          eventSignal_, 0,
          [](GSignalInvocationHint *, guint, const GValue *arguments, gpointer self) -> gboolean {
            static_cast<QuitDuringDialogs *>(self)->eventArrived(
                GDK_SURFACE(g_value_get_object(&arguments[0])),
                static_cast<GdkEvent *>(g_value_peek_pointer(&arguments[1])));
            constexpr gboolean keepHook = TRUE;
            return keepHook;
          },
          this, nullptr)),
      itemsChanged_(
          windows_, "items-changed", this,
          +[](QuitDuringDialogs *self, guint position, guint, guint added) {
            self->windowsAdded(position, added);
          }) {}

QuitDuringDialogs::~QuitDuringDialogs() { g_signal_remove_emission_hook(eventSignal_, eventHook_); }

void QuitDuringDialogs::windowsAdded(guint position, guint count) {
  for (guint index = position; index < position + count; ++index) {
    const auto window = adopt(static_cast<GtkWindow *>(g_list_model_get_item(windows_, index)));
    menuBar_.addKeysOf(MenuAction::terminate, window.get());
  }
}

/// Handles GDK_DELETE, the window manager's request to close a window. GTK ignores this request
/// while another window is modal for the window.
void QuitDuringDialogs::eventArrived(GdkSurface *surface, GdkEvent *event) {
  if (gdk_event_get_event_type(event) != GDK_DELETE) return;
  GtkWindow *main = application_.mainWindow();
  if (main == nullptr || gtk_native_get_surface(GTK_NATIVE(main)) != surface) return;
  if (isModalWindowOpen(windows_)) application_.mainWindowCloseRequested();
}

}  // namespace orvel
