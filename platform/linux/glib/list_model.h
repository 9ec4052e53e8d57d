#pragma once

#include <gio/gio.h>

#include <vector>

#include "platform/linux/glib/gobject_pointer.h"

namespace orvel {

/// Returns the items of a list, in order. All of them must have the type Object.
template <typename Object>
std::vector<GObjectPointer<Object>> itemsOf(GListModel *list) {
  std::vector<GObjectPointer<Object>> items;
  for (guint index = 0; index < g_list_model_get_n_items(list); ++index) {
    items.push_back(adopt(static_cast<Object *>(g_list_model_get_item(list, index))));
  }
  return items;
}

}  // namespace orvel
