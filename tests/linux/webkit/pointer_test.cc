// Context menus and mouse buttons, with a real pointer.

#include <cstdlib>

#include "tests/linux/webkit/page.h"

namespace orvel {
namespace {

class Pointer : public PageTest {
 protected:
  Pointer() {
    gtk_window_set_default_size(window.get(), 300, 200);
    gtk_window_set_child(window.get(), GTK_WIDGET(webKit()));
    gtk_window_present(window.get());
    g_signal_connect_swapped(webKit(), "context-menu",
                             G_CALLBACK(+[](Pointer *test, WebKitContextMenu *menu) {
                               test->marks.clear();
                               test->recordMarks(menu);
                               return gboolean{FALSE};
                             }),
                             this);
  }
  ~Pointer() override { gtk_window_destroy(window.get()); }

  /// Shows an element that fills the page, and moves the pointer onto it.
  void showFilling(const std::string &element) {
    show(
        "<style>body { margin: 0 } body > * { border: 0; display: block; width: 100vw; height: "
        "100vh }</style>"
        "<body onmousemove='moved = true'>" +
        element + "</body>");
    evaluate("moved = false");
    ASSERT_TRUE(until([&] {
      simulate("mousemove 100 100 mousemove_relative 3 3");
      return evaluate("moved") == "true" || element.starts_with("<iframe");
    }));
    delegate.decisions.clear();
  }

  /// Runs an xdotool command.
  static void simulate(const std::string &command) {
    ASSERT_EQ(std::system(("xdotool " + command).c_str()), 0);
  }

  /// Returns the open context menu, or null.
  GtkPopoverMenu *menu() const {
    for (GtkWidget *child = gtk_widget_get_first_child(GTK_WIDGET(webKit())); child != nullptr;
         child = gtk_widget_get_next_sibling(child)) {
      if (GTK_IS_POPOVER_MENU(child) && gtk_widget_get_mapped(child))
        return GTK_POPOVER_MENU(child);
    }
    return nullptr;
  }

  /// Records for each item of a menu and its submenus whether it is disabled ("-") or
  /// checked ("+").
  void recordMarks(WebKitContextMenu *menu) {
    for (GList *link = webkit_context_menu_get_items(menu); link != nullptr; link = link->next) {
      auto *item = WEBKIT_CONTEXT_MENU_ITEM(link->data);
      if (webkit_context_menu_item_is_separator(item) != FALSE) continue;
      marks.emplace_back();
      if (WebKitContextMenu *submenu = webkit_context_menu_item_get_submenu(item)) {
        recordMarks(submenu);
        continue;
      }
      GAction *action = webkit_context_menu_item_get_gaction(item);
      if (!g_action_get_enabled(action)) marks.back() = "-";
      if (GVariant *state = g_action_get_state(action)) {
        if (g_variant_get_boolean(state)) marks.back() = "+";
        g_variant_unref(state);
      }
    }
  }

  struct Entry {
    std::string label;
    std::string action;
  };

  static std::string attribute(GMenuModel *model, int place, const char *name) {
    char *text = nullptr;
    g_menu_model_get_item_attribute(model, place, name, "s", &text);
    std::string copy = text != nullptr ? text : "";
    g_free(text);
    return copy;
  }

  /// Returns the entries of a menu in order, including those of its sections and
  /// submenus. A section begins with an entry without a label.
  static std::vector<Entry> entriesOf(GMenuModel *model) {
    std::vector<Entry> entries;
    for (int place = 0; place < g_menu_model_get_n_items(model); ++place) {
      const auto section = adopt(g_menu_model_get_item_link(model, place, G_MENU_LINK_SECTION));
      const auto submenu = adopt(g_menu_model_get_item_link(model, place, G_MENU_LINK_SUBMENU));
      if (section) {
        entries.push_back({});
      } else {
        entries.push_back({attribute(model, place, G_MENU_ATTRIBUTE_LABEL),
                           attribute(model, place, G_MENU_ATTRIBUTE_ACTION)});
      }
      const std::vector<Entry> inner = section   ? entriesOf(section.get())
                                       : submenu ? entriesOf(submenu.get())
                                                 : std::vector<Entry>();
      entries.insert(entries.end(), inner.begin(), inner.end());
    }
    return entries;
  }

  /// Opens the context menu where the pointer is and returns its entries.
  std::vector<Entry> openMenu() {
    simulate("click 3");
    EXPECT_TRUE(until([&] { return menu() != nullptr; }));
    return menu() != nullptr ? entriesOf(gtk_popover_menu_get_menu_model(menu()))
                             : std::vector<Entry>();
  }

  /// Returns the labels of the context menu of an element. Each label is prefixed with
  /// its marks; "" stands for a separator.
  Strings labels(const std::string &element) {
    showFilling(element);
    Strings all;
    const std::vector<Entry> entries = openMenu();
    auto mark = marks.begin();
    for (const Entry &entry : entries) {
      all.push_back(entry.label);
      if (entry.label.empty()) continue;
      if (mark == marks.end()) break;
      all.back() = *mark++ + entry.label;
    }
    EXPECT_EQ(mark, marks.end());
    return all;
  }

  /// Chooses the entry of the context menu with this label.
  void choose(const std::string &label) {
    for (const Entry &entry : openMenu()) {
      if (entry.label != label) continue;
      EXPECT_TRUE(gtk_widget_activate_action(GTK_WIDGET(menu()), entry.action.c_str(), nullptr));
      return;
    }
    FAIL() << "no entry " << label;
  }

  /// Expects that the delegate is asked for this window and no window is opened.
  void expectReported(const std::string &address) {
    expectWindow(address);
    EXPECT_EQ(delegate.decisions, Strings());
    EXPECT_EQ(requests("GET /next"), Strings());
    EXPECT_EQ(g_list_model_get_n_items(gtk_window_get_toplevels()), 1U);
  }

  Strings marks;
  const GObjectPointer<::GtkWindow> window = retain(GTK_WINDOW(gtk_window_new()));
};

TEST_F(Pointer, LinkMenuIsDutchWithoutWindowItem) {
  EXPECT_EQ(labels("<a href=/next>x</a>"),
            (Strings{"Open koppeling", "Download gekoppeld bestand", "Kopieer koppeling"}));
}

TEST_F(Pointer, ImageMenuIsDutchWithoutWindowItem) {
  EXPECT_EQ(labels("<img src='data:image/gif;base64,R0lGODlhAQABAAAAACw='>"),
            (Strings{"Download afbeelding", "Kopieer afbeelding", "Kopieer adres van afbeelding"}));
}

TEST_F(Pointer, FrameMenuIsDutchWithoutWindowItem) {
  EXPECT_EQ(labels("<iframe src=/frame></iframe>"),
            (Strings{"-Vorige", "-Volgende", "-Stop", "Herlaad"}));
}

TEST_F(Pointer, TextFieldMenuIsDutchWithDisabledItems) {
  EXPECT_EQ(labels("<textarea></textarea>"), (Strings{"-Knip", "-Kopieer", "Plak", "-Verwijder", "",
                                                      "Selecteer alles", "Voeg emoji in"}));
}

TEST_F(Pointer, VideoMenuIsDutchWithCheckMarks) {
  EXPECT_EQ(
      labels("<video src=/video controls></video>"),
      (Strings{"Speel af", "-Geluid uit", "+Toon bediening", "Herhaal", "Video schermvullend"}));
}

TEST_F(Pointer, EditableTextMenuAndSubmenuAreDutch) {
  EXPECT_EQ(labels("<div contenteditable>x</div>"),
            (Strings{"-Knip", "-Kopieer", "Plak", "Plak als platte tekst", "-Verwijder", "",
                     "Selecteer alles", "Voeg emoji in", "Lettertype", "Vet", "Cursief",
                     "Onderstreept", "", "-Omlijnd"}));
}

TEST_F(Pointer, DownloadLinkItemIsReported) {
  showFilling("<a href=/next>x</a>");
  choose("Download gekoppeld bestand");
  expectReported("/next");
}

TEST_F(Pointer, DownloadLinkItemOfAnotherSchemeIsReported) {
  showFilling("<a href=mailto:a@b.test>x</a>");
  choose("Download gekoppeld bestand");
  expectReported("mailto:a@b.test");
}

TEST_F(Pointer, DownloadImageItemIsReported) {
  setPage("/picture", "<svg xmlns='http://www.w3.org/2000/svg'/>");
  showFilling("<img src=/picture>");
  choose("Download afbeelding");
  expectReported("/picture");
}

TEST_F(Pointer, OpenLinkItemNavigatesMainFrame) {
  showFilling("<a href=/file/1>x</a>");
  choose("Open koppeling");
  EXPECT_TRUE(untilCancelled());
  EXPECT_EQ(delegate.cancelled, Strings{"mainFrame /file/1"});
}

TEST_F(Pointer, EveryMouseButtonAndModifierFollowsLinkInMainFrame) {
  for (const std::string click : {"click 1", "click 2", "keydown ctrl click 1 keyup ctrl",
                                  "keydown shift click 1 keyup shift"}) {
    showFilling("<a href=/file/1>x</a>");
    simulate(click);
    EXPECT_TRUE(untilCancelled()) << click;
    EXPECT_TRUE(settle());
    EXPECT_EQ(delegate.cancelled, Strings{"mainFrame /file/1"}) << click;
    EXPECT_EQ(delegate.windows, Strings()) << click;
    EXPECT_EQ(requests("GET /file/"), Strings()) << click;
    delegate.cancelled.clear();
  }
}

}  // namespace
}  // namespace orvel
