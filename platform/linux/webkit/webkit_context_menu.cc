#include "platform/linux/webkit/webkit_context_menu.h"

#include <algorithm>
#include <array>
#include <string>
#include <utility>
#include <vector>

#include "platform/linux/glib/gobject_pointer.h"

namespace orvel {

namespace {

using StartDownload = std::function<void(const char *address)>;

/// A stock action and the Dutch label of its menu item.
struct Label {
  WebKitContextMenuAction action;
  const char *text;
};

// The allowed items; all others are dropped. A command that the menu bar also has uses
// the same word.
constexpr std::array labels{
    Label{WEBKIT_CONTEXT_MENU_ACTION_OPEN_LINK, "Open koppeling"},
    Label{WEBKIT_CONTEXT_MENU_ACTION_DOWNLOAD_LINK_TO_DISK, "Download gekoppeld bestand"},
    Label{WEBKIT_CONTEXT_MENU_ACTION_COPY_LINK_TO_CLIPBOARD, "Kopieer koppeling"},
    Label{WEBKIT_CONTEXT_MENU_ACTION_DOWNLOAD_IMAGE_TO_DISK, "Download afbeelding"},
    Label{WEBKIT_CONTEXT_MENU_ACTION_COPY_IMAGE_TO_CLIPBOARD, "Kopieer afbeelding"},
    Label{WEBKIT_CONTEXT_MENU_ACTION_COPY_IMAGE_URL_TO_CLIPBOARD, "Kopieer adres van afbeelding"},
    Label{WEBKIT_CONTEXT_MENU_ACTION_GO_BACK, "Vorige"},
    Label{WEBKIT_CONTEXT_MENU_ACTION_GO_FORWARD, "Volgende"},
    Label{WEBKIT_CONTEXT_MENU_ACTION_STOP, "Stop"},
    Label{WEBKIT_CONTEXT_MENU_ACTION_RELOAD, "Herlaad"},
    Label{WEBKIT_CONTEXT_MENU_ACTION_CUT, "Knip"},
    Label{WEBKIT_CONTEXT_MENU_ACTION_COPY, "Kopieer"},
    Label{WEBKIT_CONTEXT_MENU_ACTION_PASTE, "Plak"},
    Label{WEBKIT_CONTEXT_MENU_ACTION_PASTE_AS_PLAIN_TEXT, "Plak als platte tekst"},
    Label{WEBKIT_CONTEXT_MENU_ACTION_DELETE, "Verwijder"},
    Label{WEBKIT_CONTEXT_MENU_ACTION_SELECT_ALL, "Selecteer alles"},
    Label{WEBKIT_CONTEXT_MENU_ACTION_INSERT_EMOJI, "Voeg emoji in"},
    Label{WEBKIT_CONTEXT_MENU_ACTION_NO_GUESSES_FOUND, "Geen suggesties"},
    Label{WEBKIT_CONTEXT_MENU_ACTION_IGNORE_SPELLING, "Negeer spelling"},
    Label{WEBKIT_CONTEXT_MENU_ACTION_LEARN_SPELLING, "Leer spelling"},
    Label{WEBKIT_CONTEXT_MENU_ACTION_IGNORE_GRAMMAR, "Negeer grammatica"},
    Label{WEBKIT_CONTEXT_MENU_ACTION_FONT_MENU, "Lettertype"},
    Label{WEBKIT_CONTEXT_MENU_ACTION_BOLD, "Vet"},
    Label{WEBKIT_CONTEXT_MENU_ACTION_ITALIC, "Cursief"},
    Label{WEBKIT_CONTEXT_MENU_ACTION_UNDERLINE, "Onderstreept"},
    Label{WEBKIT_CONTEXT_MENU_ACTION_OUTLINE, "Omlijnd"},
    Label{WEBKIT_CONTEXT_MENU_ACTION_MEDIA_PLAY, "Speel af"},
    Label{WEBKIT_CONTEXT_MENU_ACTION_MEDIA_PAUSE, "Pauzeer"},
    Label{WEBKIT_CONTEXT_MENU_ACTION_MEDIA_MUTE, "Geluid uit"},
    Label{WEBKIT_CONTEXT_MENU_ACTION_TOGGLE_MEDIA_CONTROLS, "Toon bediening"},
    Label{WEBKIT_CONTEXT_MENU_ACTION_TOGGLE_MEDIA_LOOP, "Herhaal"},
    Label{WEBKIT_CONTEXT_MENU_ACTION_ENTER_VIDEO_FULLSCREEN, "Video schermvullend"},
    Label{WEBKIT_CONTEXT_MENU_ACTION_DOWNLOAD_VIDEO_TO_DISK, "Download video"},
    Label{WEBKIT_CONTEXT_MENU_ACTION_DOWNLOAD_AUDIO_TO_DISK, "Download audio"},
    Label{WEBKIT_CONTEXT_MENU_ACTION_COPY_VIDEO_LINK_TO_CLIPBOARD, "Kopieer adres van video"},
    Label{WEBKIT_CONTEXT_MENU_ACTION_COPY_AUDIO_LINK_TO_CLIPBOARD, "Kopieer adres van audio"},
    Label{WEBKIT_CONTEXT_MENU_ACTION_INSPECT_ELEMENT, "Inspecteer element"},
};

/// Returns the label of an action, or null when the menu drops it.
const char *labelOf(WebKitContextMenuAction action) {
  const auto *found = std::find_if(labels.begin(), labels.end(),
                                   [&](const Label &label) { return label.action == action; });
  return found != labels.end() ? found->text : nullptr;
}

/// Returns the address that an action downloads, or null when it downloads nothing.
const char *addressOf(WebKitContextMenuAction action, WebKitHitTestResult *target) {
  switch (action) {
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

GObjectPointer<GSimpleAction> makeAction(WebKitContextMenuAction action) {
  return adopt(g_simple_action_new(("orvel-" + std::to_string(action)).c_str(), nullptr));
}

WebKitContextMenuItem *makeItem(const GObjectPointer<GSimpleAction> &action, const char *label) {
  return webkit_context_menu_item_new_from_gaction(G_ACTION(action.get()), label, nullptr);
}

WebKitContextMenuItem *makeDisabledItem(WebKitContextMenuAction stock, const char *label) {
  // A new stock item is enabled, and from WebKitGTK 2.52 on its action cannot be disabled.
  const auto action = makeAction(stock);
  g_simple_action_set_enabled(action.get(), FALSE);
  return makeItem(action, label);
}

/// The data of a download item's action.
struct DownloadRequest {
  std::string address;
  StartDownload download;
};

void downloadActivated(GSimpleAction *, GVariant *, gpointer data) {
  const auto *request = static_cast<const DownloadRequest *>(data);
  request->download(request->address.c_str());
}

WebKitContextMenuItem *makeDownloadItem(WebKitContextMenuAction stock, const char *label,
                                        DownloadRequest request) {
  const auto action = makeAction(stock);
  g_signal_connect_data(
      action.get(), "activate", G_CALLBACK(downloadActivated),
      new DownloadRequest(std::move(request)),
      +[](gpointer owned, GClosure *) { delete static_cast<DownloadRequest *>(owned); },
      G_CONNECT_DEFAULT);
  return makeItem(action, label);
}

WebKitContextMenuItem *makeStockItem(WebKitContextMenuAction stock, const char *label,
                                     GAction *original) {
  WebKitContextMenuItem *item =
      webkit_context_menu_item_new_from_stock_action_with_label(stock, label);
  GAction *action = webkit_context_menu_item_get_gaction(item);
  // Copies the check mark, which a new item does not have.
  if (g_action_get_state_type(original) != nullptr && g_action_get_state_type(action) != nullptr) {
    GVariant *state = g_action_get_state(original);
    g_action_change_state(action, state);
    g_variant_unref(state);
  }
  return item;
}

void rebuild(WebKitContextMenu *from, WebKitContextMenu *into, WebKitHitTestResult *target,
             const StartDownload &download);

/// Returns the replacement of an item, or null when the item is dropped. A new item has a
/// floating reference.
WebKitContextMenuItem *rebuiltItem(WebKitContextMenuItem *item, WebKitHitTestResult *target,
                                   const StartDownload &download) {
  const WebKitContextMenuAction stock = webkit_context_menu_item_get_stock_action(item);
  // The label of this item is the suggested word, which WebKit inserts into the text.
  if (stock == WEBKIT_CONTEXT_MENU_ACTION_SPELLING_GUESS) return item;
  const char *label = labelOf(stock);
  if (label == nullptr) return nullptr;
  if (WebKitContextMenu *submenu = webkit_context_menu_item_get_submenu(item)) {
    const auto rebuilt = adopt(webkit_context_menu_new());
    rebuild(submenu, rebuilt.get(), target, download);
    if (webkit_context_menu_get_n_items(rebuilt.get()) == 0) return nullptr;
    return webkit_context_menu_item_new_with_submenu(label, rebuilt.get());
  }
  GAction *original = webkit_context_menu_item_get_gaction(item);
  if (!g_action_get_enabled(original)) return makeDisabledItem(stock, label);
  if (const char *address = addressOf(stock, target)) {
    return makeDownloadItem(stock, label, {address, download});
  }
  return makeStockItem(stock, label, original);
}

/// Moves the allowed items of a menu to another menu, without leading, trailing or
/// doubled separators. The two menus may be the same.
void rebuild(WebKitContextMenu *from, WebKitContextMenu *into, WebKitHitTestResult *target,
             const StartDownload &download) {
  std::vector<GObjectPointer<WebKitContextMenuItem>> items;
  for (const GList *entry = webkit_context_menu_get_items(from); entry != nullptr;
       entry = entry->next) {
    items.push_back(retain(static_cast<WebKitContextMenuItem *>(entry->data)));
  }
  webkit_context_menu_remove_all(from);
  bool isSeparated = false;
  for (const auto &item : items) {
    if (webkit_context_menu_item_is_separator(item.get())) {
      isSeparated = webkit_context_menu_get_n_items(into) > 0;
      continue;
    }
    WebKitContextMenuItem *rebuilt = rebuiltItem(item.get(), target, download);
    if (rebuilt == nullptr) continue;
    if (isSeparated) webkit_context_menu_append(into, webkit_context_menu_item_new_separator());
    isSeparated = false;
    webkit_context_menu_append(into, rebuilt);
  }
}

}  // namespace

void rebuildContextMenu(WebKitContextMenu *menu, WebKitHitTestResult *target,
                        const StartDownload &download) {
  rebuild(menu, menu, target, download);
}

}  // namespace orvel
