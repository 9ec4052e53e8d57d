#pragma once

#include <gtk/gtk.h>

#include "platform/linux/glib/gobject_pointer.h"

namespace orvel {

/// Returns the open modal window, or null.
inline ::GtkWindow *openAlert() {
  ::GtkWindow *alert = nullptr;
  GListModel *windows = gtk_window_get_toplevels();
  for (guint place = 0; place < g_list_model_get_n_items(windows); ++place) {
    const auto window = adopt(static_cast<::GtkWindow *>(g_list_model_get_item(windows, place)));
    if (gtk_window_get_modal(window.get())) alert = window.get();
  }
  return alert;
}

}  // namespace orvel
