#include "platform/linux/webkit_context_menu.h"

#include <string>

namespace orvel {

namespace {

struct Download {
  std::string address;
  std::function<void(const char *)> ask;
};

/// Null for an item that downloads nothing.
const char *addressOf(WebKitContextMenuItem *item, WebKitHitTestResult *target) {
  switch (webkit_context_menu_item_get_stock_action(item)) {
    case WEBKIT_CONTEXT_MENU_ACTION_DOWNLOAD_LINK_TO_DISK:
      return webkit_hit_test_result_get_link_uri(target);
    case WEBKIT_CONTEXT_MENU_ACTION_DOWNLOAD_IMAGE_TO_DISK:
      return webkit_hit_test_result_get_image_uri(target);
    case WEBKIT_CONTEXT_MENU_ACTION_DOWNLOAD_VIDEO_TO_DISK:
    case WEBKIT_CONTEXT_MENU_ACTION_DOWNLOAD_AUDIO_TO_DISK:
      return webkit_hit_test_result_get_media_uri(target);
    default:
      return nullptr;
  }
}

void activated(GAction *action, GVariant *, gpointer data) {
  // WebKit listens from later on, and so hears nothing of it.
  g_signal_stop_emission_by_name(action, "activate");
  const auto *download = static_cast<const Download *>(data);
  download->ask(download->address.c_str());
}

}  // namespace

void replaceDownloads(WebKitContextMenu *menu, WebKitHitTestResult *target,
                      const std::function<void(const char *)> &ask) {
  for (const GList *entry = webkit_context_menu_get_items(menu); entry != nullptr;
       entry = entry->next) {
    auto *item = static_cast<WebKitContextMenuItem *>(entry->data);
    const char *address = addressOf(item, target);
    if (address == nullptr) continue;
    g_signal_connect_data(
        webkit_context_menu_item_get_gaction(item), "activate", G_CALLBACK(activated),
        new Download{address, ask},
        +[](gpointer download, GClosure *) { delete static_cast<Download *>(download); },
        G_CONNECT_DEFAULT);
  }
}

}  // namespace orvel
