// The window and the alerts of the Linux desktop, as GTK has them.

#include <gtest/gtest.h>
#include <gtk/gtk.h>

#include <memory>

#include "platform/linux/gobject_pointer.h"
#include "platform/linux/gtk_window.h"
#include "platform/linux/window_frame.h"
#include "tests/contract/contract_platform.h"
#include "tests/contract/permissive_delegate.h"

namespace orvel {
namespace {

class LinuxDesktop : public testing::TestWithParam<const char *> {
 protected:
  ::GtkWindow *makeWindow(const std::string &keptFrame) {
    platform->ports().defaults.setText("ContractFrame", keptFrame);
    view = platform->ports().webViews.create(WebViewConfiguration(), delegate);
    WindowConfiguration configuration;
    configuration.contentRect = screen();
    configuration.title = "Orvel OS";
    configuration.minimumWidth = 400;
    configuration.minimumHeight = 300;
    configuration.frameAutosaveName = "ContractFrame";
    window = platform->ports().windows.create(configuration, *view);
    return dynamic_cast<GtkMainWindow &>(*window).handle();
  }

  Rect screen() { return platform->ports().windows.mainScreenVisibleFrame().value(); }

  static WindowFrame frameOf(::GtkWindow *handle) {
    WindowFrame frame;
    gtk_window_get_default_size(handle, &frame.width, &frame.height);
    return frame;
  }

  /// The alert that is open, or null.
  static ::GtkWindow *alert() {
    ::GtkWindow *found = nullptr;
    GListModel *windows = gtk_window_get_toplevels();
    for (guint place = 0; place < g_list_model_get_n_items(windows); ++place) {
      const auto one = adopt(static_cast<::GtkWindow *>(g_list_model_get_item(windows, place)));
      if (gtk_window_get_modal(one.get())) found = one.get();
    }
    return found;
  }

  std::unique_ptr<ContractPlatform> platform = makeLinuxContractPlatform();
  PermissiveDelegate delegate;
  std::unique_ptr<WebView> view;
  std::unique_ptr<Window> window;
};

TEST_P(LinuxDesktop, AKeptFrameComesBack) {
  EXPECT_EQ(frameOf(makeWindow("450 350")), (WindowFrame{450, 350}));
}

TEST_P(LinuxDesktop, IsDarkFromTheBeginningAndStaysSo) {
  GtkSettings *settings = gtk_settings_get_default();
  constexpr const char *dark = "gtk-application-prefer-dark-theme";
  GParamSpec *property = g_object_class_find_property(G_OBJECT_GET_CLASS(settings), dark);
  EXPECT_TRUE(G_PARAM_SPEC_BOOLEAN(property)->default_value);

  makeWindow("");
  g_object_set(settings, dark, FALSE, nullptr);
  gboolean isDark = FALSE;
  g_object_get(settings, dark, &isDark, nullptr);
  EXPECT_TRUE(isDark);
}

TEST_P(LinuxDesktop, WithoutAKeptFrameTheWindowTakesItsRectangle) {
  const WindowFrame whole{static_cast<int>(screen().width), static_cast<int>(screen().height)};
  EXPECT_EQ(frameOf(makeWindow("no frame at all")), whole);
}

TEST_P(LinuxDesktop, AKeptFrameIsMadeToFit) {
  const WindowFrame whole{static_cast<int>(screen().width), static_cast<int>(screen().height)};
  EXPECT_EQ(frameOf(makeWindow("99999 99999")), whole);
  window.reset();
  EXPECT_EQ(frameOf(makeWindow("1 1")), (WindowFrame{400, 300}));
}

TEST_P(LinuxDesktop, AChangedFrameIsKept) {
  ::GtkWindow *handle = makeWindow("450 350");
  window->makeKeyAndOrderFront();
  gtk_window_set_default_size(handle, 500, 400);
  EXPECT_TRUE(platform->runUntil(
      [&] { return platform->ports().defaults.text("ContractFrame") == "500 400"; }));
}

TEST_P(LinuxDesktop, ATextFieldBeginsSelectedAndReturnTakesTheFirstButton) {
  Alert question;
  question.messageText = "Adres";
  question.buttons = {"Bewaar", "Annuleren"};
  question.textField = AlertTextField{340, 24, "http://127.0.0.1:4767/"};
  std::optional<AlertAnswer> answer;
  platform->ports().panels.runModal(question, [&](const AlertAnswer &given) { answer = given; });

  GtkWidget *field = gtk_widget_get_parent(gtk_window_get_focus(alert()));
  ASSERT_TRUE(GTK_IS_ENTRY(field));
  int begin = 0;
  int end = 0;
  EXPECT_TRUE(gtk_editable_get_selection_bounds(GTK_EDITABLE(field), &begin, &end));
  EXPECT_EQ(begin, 0);
  EXPECT_EQ(end, static_cast<int>(question.textField->text.size()));
  EXPECT_TRUE(platform->runUntil([&] { return gtk_widget_get_allocated_width(field) == 340; }));

  // As the Return key in the field does.
  g_signal_emit_by_name(gtk_window_get_focus(alert()), "activate");
  ASSERT_TRUE(platform->runUntil([&] { return answer.has_value(); }));
  EXPECT_EQ(answer->button, 0);
  EXPECT_EQ(answer->text, question.textField->text);
  EXPECT_EQ(alert(), nullptr);
}

INSTANTIATE_TEST_SUITE_P(Gtk, LinuxDesktop, testing::Values("Linux"),
                         [](const auto &platform) { return platform.param; });

}  // namespace
}  // namespace orvel
