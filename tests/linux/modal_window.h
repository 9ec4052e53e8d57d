#pragma once

#include <gtk/gtk.h>

#include "platform/linux/glib/list_model.h"

namespace orvel {

/// Returns the open modal window, or null.
inline GtkWindow *findModalWindow() {
  for (const auto &window : itemsOf<GtkWindow>(gtk_window_get_toplevels())) {
    if (gtk_window_get_modal(window.get())) return window.get();
  }
  return nullptr;
}

}  // namespace orvel
