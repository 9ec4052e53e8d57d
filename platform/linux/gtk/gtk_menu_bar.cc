#include "platform/linux/gtk/gtk_menu_bar.h"

#include <utility>

#include "platform/linux/gtk/full_screen_bar.h"
#include "platform/linux/gtk/gtk_commands.h"
#include "platform/linux/gtk/key_equivalents.h"

namespace orvel {

namespace {

// All items share one GAction, whose parameter is the MenuAction.
constexpr const char *groupName = "menu";
constexpr const char *actionName = "perform";
constexpr const char *fullActionName = "menu.perform";

GVariant *parameter(MenuAction action) { return g_variant_new_int32(static_cast<int>(action)); }

GObjectPointer<GMenuItem> makeItem(const MenuItem &item) {
  auto entry = adopt(g_menu_item_new(item.title.c_str(), nullptr));
  g_menu_item_set_action_and_target_value(entry.get(), fullActionName, parameter(item.action));
  const auto keys = accelerators(item);
  if (!keys.empty()) g_menu_item_set_attribute(entry.get(), "accel", "s", keys.front().c_str());
  return entry;
}

/// Makes a menu. Each separator of the items starts a new section, because a GMenu has no
/// separators.
GObjectPointer<GMenu> makeMenu(const std::vector<MenuItem> &items) {
  auto menu = adopt(g_menu_new());
  auto section = adopt(g_menu_new());
  for (const MenuItem &item : items) {
    if (item.isSeparator) {
      g_menu_append_section(menu.get(), nullptr, G_MENU_MODEL(section.get()));
      section = adopt(g_menu_new());
    } else {
      g_menu_append_item(section.get(), makeItem(item).get());
    }
  }
  g_menu_append_section(menu.get(), nullptr, G_MENU_MODEL(section.get()));
  return menu;
}

/// The user data of a window's action.
struct ActionTarget {
  GtkMenuBar::Perform perform;
  GtkWindow *window;
};

void activated(GSimpleAction *, GVariant *action, gpointer data) {
  const auto *target = static_cast<const ActionTarget *>(data);
  target->perform(static_cast<MenuAction>(g_variant_get_int32(action)), target->window);
}

/// Moves the focus from the menu bar to the window's content, unless a menu is open. GTK
/// leaves the focus on the menu bar after a menu has closed.
gboolean focusContent(gpointer bar) {
  auto *window = GTK_WINDOW(gtk_widget_get_ancestor(GTK_WIDGET(bar), GTK_TYPE_WINDOW));
  if (window == nullptr) return G_SOURCE_REMOVE;
  GtkWidget *focus = gtk_window_get_focus(window);
  GtkWidget *menu = focus != nullptr ? gtk_widget_get_ancestor(focus, GTK_TYPE_POPOVER) : nullptr;
  if (menu != nullptr && gtk_widget_get_visible(menu)) return G_SOURCE_REMOVE;
  gtk_widget_grab_focus(contentOf(window));
  return G_SOURCE_REMOVE;
}

/// Moves the focus to the content from the main loop, because GTK moves the focus after the
/// "closed" signal.
void menuClosed(GtkWidget *bar) {
  g_idle_add_full(G_PRIORITY_DEFAULT_IDLE, focusContent, g_object_ref(bar), g_object_unref);
}

}  // namespace

GtkMenuBar::GtkMenuBar(std::string applicationName, Perform perform)
    : applicationName_(std::move(applicationName)), perform_(std::move(perform)) {}

void GtkMenuBar::install(const std::vector<Menu> &menus) {
  menus_ = menus;
  model_ = adopt(g_menu_new());
  for (const Menu &menu : menus_) {
    const std::string &title = menu.title.empty() ? applicationName_ : menu.title;
    g_menu_append_submenu(model_.get(), title.c_str(), G_MENU_MODEL(makeMenu(menu.items).get()));
  }
}

GtkWidget *GtkMenuBar::makeWidget() const {
  GtkWidget *bar = gtk_popover_menu_bar_new_from_model(G_MENU_MODEL(model_.get()));
  // Each item of the bar has the popover of its menu as a child.
  for (GtkWidget *item = gtk_widget_get_first_child(bar); item != nullptr;
       item = gtk_widget_get_next_sibling(item)) {
    for (GtkWidget *part = gtk_widget_get_first_child(item); part != nullptr;
         part = gtk_widget_get_next_sibling(part)) {
      if (GTK_IS_POPOVER(part)) {
        g_signal_connect_swapped(part, "closed", G_CALLBACK(menuClosed), bar);
      }
    }
  }
  return bar;
}

void GtkMenuBar::addEditingKeys(GtkWindow *window) {
  addActions(window);
  addKeys(window, GTK_PHASE_BUBBLE, [](const MenuItem &item, std::string_view key) {
    return isEditingCommand(item.action) && !key.starts_with("<Super>");
  });
  addKeys(window, GTK_PHASE_CAPTURE, [](const MenuItem &item, std::string_view key) {
    return isEditingCommand(item.action) && key.starts_with("<Super>");
  });
}

void GtkMenuBar::addApplicationKeys(GtkWindow *window) {
  addActions(window);
  addKeys(window, GTK_PHASE_CAPTURE,
          [](const MenuItem &item, std::string_view) { return !isEditingCommand(item.action); });
}

void GtkMenuBar::addKeysOf(MenuAction command, GtkWindow *window) {
  addActions(window);
  addKeys(window, GTK_PHASE_CAPTURE,
          [command](const MenuItem &item, std::string_view) { return item.action == command; });
}

void GtkMenuBar::addActions(GtkWindow *window) {
  const auto group = adopt(g_simple_action_group_new());
  const auto action = adopt(g_simple_action_new(actionName, G_VARIANT_TYPE_INT32));
  g_signal_connect_data(
      action.get(), "activate", G_CALLBACK(activated), new ActionTarget{perform_, window},
      +[](gpointer data, GClosure *) { delete static_cast<ActionTarget *>(data); },
      G_CONNECT_DEFAULT);
  g_action_map_add_action(G_ACTION_MAP(group.get()), G_ACTION(action.get()));
  gtk_widget_insert_action_group(GTK_WIDGET(window), groupName, G_ACTION_GROUP(group.get()));
}

void GtkMenuBar::addKeys(
    GtkWindow *window, GtkPropagationPhase phase,
    const std::function<bool(const MenuItem &, std::string_view)> &isIncluded) {
  GtkEventController *controller = gtk_shortcut_controller_new();
  gtk_event_controller_set_propagation_phase(controller, phase);
  for (const Menu &menu : menus_) {
    for (const MenuItem &item : menu.items) {
      for (const std::string &key : accelerators(item)) {
        if (!isIncluded(item, key)) continue;
        GtkShortcut *shortcut = gtk_shortcut_new(gtk_shortcut_trigger_parse_string(key.c_str()),
                                                 gtk_named_action_new(fullActionName));
        gtk_shortcut_set_arguments(shortcut, parameter(item.action));
        gtk_shortcut_controller_add_shortcut(GTK_SHORTCUT_CONTROLLER(controller), shortcut);
      }
    }
  }
  gtk_widget_add_controller(GTK_WIDGET(window), controller);
}

}  // namespace orvel
