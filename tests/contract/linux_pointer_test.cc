// What the user can ask of a page with the pointer alone: the context menu and
// the other buttons.

#include <cstdlib>

#include "tests/contract/linux_page.h"

namespace orvel {
namespace {

class LinuxPointer : public LinuxPage {
 public:
  LinuxPointer() {
    gtk_window_set_default_size(window.get(), 300, 200);
    gtk_window_set_child(window.get(), GTK_WIDGET(webKit()));
    gtk_window_present(window.get());
    g_signal_connect_swapped(webKit(), "context-menu",
                             G_CALLBACK(+[](LinuxPointer *test, WebKitContextMenu *menu) {
                               test->keepItems(menu);
                               return gboolean{FALSE};
                             }),
                             this);
  }
  ~LinuxPointer() override { gtk_window_destroy(window.get()); }

 protected:
  /// Shows an element that fills the page, once it can be pointed at.
  void showFilling(const std::string &element) {
    show(
        "<style>body { margin: 0 } body > * { border: 0; display: block; width: 100vw; height: "
        "100vh }</style>"
        "<body onmousemove='moved = true'>" +
        element + "</body>");
    evaluate("moved = false");
    ASSERT_TRUE(until([&] {
      press("mousemove 100 100 mousemove_relative 3 3");
      return evaluate("moved") == "true" || element.starts_with("<iframe");
    }));
    delegate.decisions.clear();
  }

  static void press(const std::string &command) {
    ASSERT_EQ(std::system(("xdotool " + command).c_str()), 0);
  }

  void keepItems(WebKitContextMenu *menu) {
    for (GList *link = webkit_context_menu_get_items(menu); link != nullptr; link = link->next) {
      auto *item = WEBKIT_CONTEXT_MENU_ITEM(link->data);
      if (webkit_context_menu_item_is_separator(item) != FALSE) continue;
      items[webkit_context_menu_item_get_stock_action(item)] =
          retain(webkit_context_menu_item_get_gaction(item));
    }
  }

  /// Takes an item of the context menu, as a click on it does.
  void take(WebKitContextMenuAction action) {
    press("click 3");
    ASSERT_TRUE(until([&] { return items.contains(action); }));
    g_action_activate(items[action].get(), nullptr);
  }

  void expectWindow(const std::string &address) {
    EXPECT_TRUE(until([&] { return !delegate.windows.empty(); }));
    EXPECT_TRUE(settle());
    EXPECT_EQ(delegate.windows, Strings{address});
    EXPECT_EQ(delegate.decisions, Strings());
    EXPECT_EQ(g_list_model_get_n_items(gtk_window_get_toplevels()), 1U);
  }

  const GObjectPointer<::GtkWindow> window = retain(GTK_WINDOW(gtk_window_new()));
  std::map<WebKitContextMenuAction, GObjectPointer<GAction>> items;
};

constexpr const char *picture = "<img src='data:image/gif;base64,R0lGODlhAQABAAAAACw='>";

TEST_P(LinuxPointer, ALinkInANewWindow) {
  showFilling("<a href=/file/1>x</a>");
  take(WEBKIT_CONTEXT_MENU_ACTION_OPEN_LINK_IN_NEW_WINDOW);
  expectWindow("/file/1");
}

TEST_P(LinuxPointer, ALinkToDisk) {
  showFilling("<a href=/next>x</a>");
  take(WEBKIT_CONTEXT_MENU_ACTION_DOWNLOAD_LINK_TO_DISK);
  expectWindow("/next");
}

TEST_P(LinuxPointer, ALinkOfAnotherKindToDisk) {
  showFilling("<a href=mailto:a@b.test>x</a>");
  take(WEBKIT_CONTEXT_MENU_ACTION_DOWNLOAD_LINK_TO_DISK);
  expectWindow("mailto:a@b.test");
}

TEST_P(LinuxPointer, APictureInANewWindow) {
  showFilling(picture);
  take(WEBKIT_CONTEXT_MENU_ACTION_OPEN_IMAGE_IN_NEW_WINDOW);
  EXPECT_TRUE(until([&] { return delegate.windows.size() == 1; }));
}

TEST_P(LinuxPointer, APictureToDisk) {
  setPage("/picture", "<svg xmlns='http://www.w3.org/2000/svg'/>");
  showFilling("<img src=/picture>");
  take(WEBKIT_CONTEXT_MENU_ACTION_DOWNLOAD_IMAGE_TO_DISK);
  expectWindow("/picture");
}

TEST_P(LinuxPointer, AFrameInANewWindow) {
  showFilling("<iframe src=/frame></iframe>");
  take(WEBKIT_CONTEXT_MENU_ACTION_OPEN_FRAME_IN_NEW_WINDOW);
  expectWindow("/frame");
}

TEST_P(LinuxPointer, ALinkInThePage) {
  showFilling("<a href=/file/1>x</a>");
  take(WEBKIT_CONTEXT_MENU_ACTION_OPEN_LINK);
  EXPECT_TRUE(until([&] { return !delegate.cancelled.empty(); }));
  EXPECT_EQ(delegate.cancelled, Strings{"mainFrame /file/1"});
}

TEST_P(LinuxPointer, OtherButtonsAndKeysFollowALinkLikeTheFirst) {
  for (const std::string click : {"click 1", "click 2", "keydown ctrl click 1 keyup ctrl",
                                  "keydown shift click 1 keyup shift"}) {
    showFilling("<a href=/file/1>x</a>");
    press(click);
    EXPECT_TRUE(until([&] { return !delegate.cancelled.empty(); })) << click;
    EXPECT_TRUE(settle());
    EXPECT_EQ(delegate.cancelled, Strings{"mainFrame /file/1"}) << click;
    EXPECT_EQ(delegate.windows, Strings()) << click;
    EXPECT_EQ(requests("GET /file/"), Strings()) << click;
    delegate.cancelled.clear();
  }
}

INSTANTIATE_TEST_SUITE_P(WebKitGtk, LinuxPointer, testing::Values("Linux"),
                         [](const auto &platform) { return platform.param; });

}  // namespace
}  // namespace orvel
