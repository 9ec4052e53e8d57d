#pragma once

#include <gio/gio.h>

#include <functional>
#include <string>

#include "platform/linux/glib/glib_text.h"
#include "platform/linux/glib/gobject_pointer.h"

namespace orvel {

/// Returns a text attribute of a menu item, or the empty text when it has none.
inline std::string menuAttribute(GMenuModel *menu, int index, const char *name) {
  char *value = nullptr;
  g_menu_model_get_item_attribute(menu, index, name, "s", &value);
  const GlibText text(value);
  return text ? text.get() : "";
}

/// Calls a function for each item of a menu, in order. A section or submenu is an item without
/// an action; the items inside it come directly after it.
inline void forEachMenuItem(GMenuModel *menu,
                            const std::function<void(GMenuModel *menu, int index)> &visit) {
  for (int index = 0; index < g_menu_model_get_n_items(menu); ++index) {
    visit(menu, index);
    for (const char *link : {G_MENU_LINK_SECTION, G_MENU_LINK_SUBMENU}) {
      const auto inner = adopt(g_menu_model_get_item_link(menu, index, link));
      if (inner) forEachMenuItem(inner.get(), visit);
    }
  }
}

}  // namespace orvel
