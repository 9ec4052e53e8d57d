// Context menus and mouse buttons, with the pointer of the X server, which xdotool moves.

#include <cstdlib>
#include <vector>

#include "tests/linux/menu_model.h"
#include "tests/linux/webkit/page.h"

namespace orvel {
namespace {

/// A page in a window, which gets the events of the pointer.
class Pointer : public PageTest {
 public:
  Pointer() {
    gtk_window_set_default_size(window.get(), 300, 200);
    gtk_window_set_child(window.get(), GTK_WIDGET(webKitView()));
    gtk_window_present(window.get());
    g_signal_connect_swapped(webKitView(), "context-menu",
                             G_CALLBACK(+[](Pointer *test, WebKitContextMenu *menu) {
                               test->itemStates.clear();
                               test->recordItemStates(menu);
                               return gboolean{FALSE};
                             }),
                             this);
  }
  ~Pointer() override { gtk_window_destroy(window.get()); }

 protected:
  /// Shows a page that an element fills, and waits until the pointer is on the element.
  void showUnderPointer(const std::string &element) {
    showPage(
        "<style>body { margin: 0 } body > * { border: 0; display: block; width: 100vw; height: "
        "100vh }</style>"
        "<body onmousemove='moved = true'>" +
        element + "</body>");
    evaluate("moved = false");
    ASSERT_TRUE(runUntil([&] {
      // Two movements, so that the pointer moves even if it is already at the first position.
      runXdotool("mousemove 100 100 mousemove_relative 3 3");
      // The page does not get the events of a pointer on a frame.
      return evaluate("moved") == "true" || element.starts_with("<iframe");
    }));
    delegate.decidedNavigations.clear();
  }

  static void runXdotool(const std::string &commands) {
    ASSERT_EQ(std::system(("xdotool " + commands).c_str()), 0);
  }

  /// Returns the open context menu, or null.
  GtkPopoverMenu *findOpenMenu() const {
    for (GtkWidget *child = gtk_widget_get_first_child(GTK_WIDGET(webKitView())); child != nullptr;
         child = gtk_widget_get_next_sibling(child)) {
      if (GTK_IS_POPOVER_MENU(child) && gtk_widget_get_mapped(child)) {
        return GTK_POPOVER_MENU(child);
      }
    }
    return nullptr;
  }

  /// Appends the state of each item of a menu and its submenus to `itemStates`: "-" for a disabled
  /// item, "+" for a checked one, and otherwise the empty text. A GMenuModel does not have
  /// this state.
  void recordItemStates(WebKitContextMenu *menu) {
    for (GList *link = webkit_context_menu_get_items(menu); link != nullptr; link = link->next) {
      auto *item = WEBKIT_CONTEXT_MENU_ITEM(link->data);
      if (webkit_context_menu_item_is_separator(item) != FALSE) continue;
      itemStates.emplace_back();
      if (WebKitContextMenu *submenu = webkit_context_menu_item_get_submenu(item)) {
        recordItemStates(submenu);
        continue;
      }
      GAction *action = webkit_context_menu_item_get_gaction(item);
      if (!g_action_get_enabled(action)) itemStates.back() = "-";
      if (GVariant *state = g_action_get_state(action)) {
        if (g_variant_get_boolean(state)) itemStates.back() = "+";
        g_variant_unref(state);
      }
    }
  }

  /// An item of a context menu.
  struct Entry {
    /// Empty for a separator.
    std::string label;
    /// The name of the GAction.
    std::string action;
  };

  /// Opens the context menu of an element and returns its entries.
  std::vector<Entry> openMenuOf(const std::string &element) {
    showUnderPointer(element);
    runXdotool("click 3");  // The secondary button.
    EXPECT_TRUE(runUntil([&] { return findOpenMenu() != nullptr; }));
    std::vector<Entry> entries;
    if (findOpenMenu() == nullptr) return entries;
    forEachMenuItem(gtk_popover_menu_get_menu_model(findOpenMenu()),
                    [&](GMenuModel *model, int index) {
                      entries.push_back({menuAttribute(model, index, G_MENU_ATTRIBUTE_LABEL),
                                         menuAttribute(model, index, G_MENU_ATTRIBUTE_ACTION)});
                    });
    return entries;
  }

  /// Chooses an entry of the context menu of an element.
  void choose(const std::string &element, const std::string &label) {
    for (const Entry &entry : openMenuOf(element)) {
      if (entry.label != label) continue;
      EXPECT_TRUE(
          gtk_widget_activate_action(GTK_WIDGET(findOpenMenu()), entry.action.c_str(), nullptr));
      gtk_popover_popdown(GTK_POPOVER(findOpenMenu()));
      return;
    }
    FAIL() << "no entry " << label;
  }

  /// The states of the items of the menu that WebKit has opened last (see `recordItemStates`).
  Strings itemStates;
  const GObjectPointer<GtkWindow> window = retain(GTK_WINDOW(gtk_window_new()));
};

struct ContextMenuCase {
  std::string name;
  std::string element;
  /// The label of each item, after "-" for a disabled item or "+" for a checked one. Empty for a
  /// separator.
  std::vector<std::string> labels;
};

class ContextMenu : public Pointer, public testing::WithParamInterface<ContextMenuCase> {};

TEST_P(ContextMenu, ItemsAreDutchWithoutItemForNewWindow) {
  Strings labels;
  const std::vector<Entry> entries = openMenuOf(GetParam().element);
  auto state = itemStates.begin();
  for (const Entry &entry : entries) {
    const bool isSeparator = entry.label.empty();
    ASSERT_TRUE(isSeparator || state != itemStates.end());
    labels.push_back(isSeparator ? "" : *state++ + entry.label);
  }
  EXPECT_EQ(state, itemStates.end());
  EXPECT_EQ(labels, GetParam().labels);
}

INSTANTIATE_TEST_SUITE_P(
    EveryElement, ContextMenu,
    testing::Values(
        ContextMenuCase{"Link",
                        "<a href=/next>x</a>",
                        {"Open koppeling", "Download gekoppeld bestand", "Kopieer koppeling"}},
        ContextMenuCase{
            "Image",
            "<img src='data:image/gif;base64,R0lGODlhAQABAAAAACw='>",
            {"Download afbeelding", "Kopieer afbeelding", "Kopieer adres van afbeelding"}},
        ContextMenuCase{"Frame", pageWithFrame, {"-Vorige", "-Volgende", "-Stop", "Herlaad"}},
        ContextMenuCase{
            "TextField",
            "<textarea></textarea>",
            {"-Knip", "-Kopieer", "Plak", "-Verwijder", "", "Selecteer alles", "Voeg emoji in"}},
        ContextMenuCase{
            "Video",
            "<video src=/video controls></video>",
            {"Speel af", "-Geluid uit", "+Toon bediening", "Herhaal", "Video schermvullend"}},
        ContextMenuCase{"EditableText",
                        "<div contenteditable>x</div>",
                        {"-Knip", "-Kopieer", "Plak", "Plak als platte tekst", "-Verwijder", "",
                         "Selecteer alles", "Voeg emoji in", "Lettertype", "Vet", "Cursief",
                         "Onderstreept", "", "-Omlijnd"}}),
    [](const auto &menu) { return menu.param.name; });

TEST_F(Pointer, DownloadItemReachesDelegateAndOpensNoWindow) {
  setPage("/picture", "<svg xmlns='http://www.w3.org/2000/svg'/>", "image/svg+xml");
  struct Row {
    std::string element;
    std::string label;
    std::string address;
  };
  for (const auto &[element, label, address] :
       {Row{"<a href=/next>x</a>", "Download gekoppeld bestand", "/next"},
        Row{"<a href=mailto:a@b.test>x</a>", "Download gekoppeld bestand", "mailto:a@b.test"},
        Row{"<img src=/picture>", "Download afbeelding", "/picture"}}) {
    choose(element, label);
    expectDownload("user " + address);
    EXPECT_EQ(delegate.decidedNavigations, Strings()) << element;
    EXPECT_EQ(g_list_model_get_n_items(gtk_window_get_toplevels()), 1U) << element;
  }
  EXPECT_EQ(requestsTo("/next"), Strings());
}

TEST_F(Pointer, OpenLinkItemNavigatesMainFrame) {
  choose("<a href=/file/1>x</a>", "Open koppeling");
  expectCancelled({"mainFrame /file/1"});
}

TEST_F(Pointer, MiddleButtonOrModifierFollowsLinkInMainFrame) {
  // Button 2 is the middle one. The primary one is clicked as a control.
  for (const std::string click : {"click 1", "click 2", "keydown ctrl click 1 keyup ctrl",
                                  "keydown shift click 1 keyup shift"}) {
    SCOPED_TRACE(click);
    showUnderPointer("<a href=/file/1>x</a>");
    runXdotool(click);
    expectCancelled({"mainFrame /file/1"});
    EXPECT_EQ(requestsTo("/file/"), Strings());
  }
}

}  // namespace
}  // namespace orvel
