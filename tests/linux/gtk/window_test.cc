// The window and the alerts of the Linux desktop, as GTK has them.

#include <gtest/gtest.h>
#include <gtk/gtk.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>

#include "platform/linux/glib/gobject_pointer.h"
#include "platform/linux/gtk/gtk_window.h"
#include "platform/linux/gtk/window_frame.h"
#include "tests/contract/contract_platform.h"
#include "tests/support/permissive_delegate.h"

namespace orvel {
namespace {

class LinuxDesktop : public testing::TestWithParam<const char *> {
 protected:
  ::GtkWindow *makeWindow(const std::string &keptFrame, int minimumWidth = 400,
                          int minimumHeight = 300) {
    platform->ports().defaults.setText("ContractFrame", keptFrame);
    WindowConfiguration configuration;
    configuration.contentRect = screen();
    configuration.title = "Orvel OS";
    configuration.minimumWidth = minimumWidth;
    configuration.minimumHeight = minimumHeight;
    configuration.frameAutosaveName = "ContractFrame";
    auto made = platform->ports().windows.create(configuration, {}, delegate);
    view = std::move(made.web);
    window = std::move(made.window);
    return dynamic_cast<GtkMainWindow &>(*window).handle();
  }

  Rect screen() { return platform->ports().windows.mainScreenVisibleFrame().value(); }

  static WindowFrame frameOf(::GtkWindow *handle) {
    WindowFrame frame;
    gtk_window_get_default_size(handle, &frame.width, &frame.height);
    return frame;
  }

  static WindowFrame minimumOf(::GtkWindow *handle) {
    WindowFrame frame;
    gtk_widget_get_size_request(GTK_WIDGET(handle), &frame.width, &frame.height);
    return frame;
  }

  static void run(const std::string &command) {
    ASSERT_EQ(std::system(command.c_str()), 0) << command;
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

TEST_P(LinuxDesktop, MinimumSizeFollowsTheSizeOfTheMonitor) {
  ::GtkWindow *handle = makeWindow("450 350");
  window->makeKeyAndOrderFront();
  EXPECT_EQ(minimumOf(handle), (WindowFrame{400, 300}));
  const Rect whole = screen();
  const std::string mode = std::to_string(static_cast<int>(whole.width)) + "x" +
                           std::to_string(static_cast<int>(whole.height));
  // A virtual screen ignores the timings of a mode.
  run("xrandr --newmode small 10 320 330 340 350 240 245 250 260 && "
      "xrandr --addmode screen small && xrandr --output screen --mode small");
  EXPECT_TRUE(platform->runUntil([&] { return minimumOf(handle) == WindowFrame{320, 240}; }));
  run("xrandr --output screen --mode " + mode);
  EXPECT_TRUE(platform->runUntil([&] { return minimumOf(handle) == WindowFrame{400, 300}; }));
}

TEST_P(LinuxDesktop, MinimumSizeFollowsTheScaleOfTheMonitor) {
  const Rect whole = screen();
  const WindowFrame minimum{static_cast<int>(whole.width) - 100,
                            static_cast<int>(whole.height) - 100};
  ::GtkWindow *handle = makeWindow("", minimum.width, minimum.height);
  window->makeKeyAndOrderFront();
  EXPECT_EQ(minimumOf(handle), minimum);

  // An XSettings daemon announces the scale, as on a desktop.
  std::string file = testing::TempDir() + "orvel-xsettings-XXXXXX";
  const int descriptor = ::mkstemp(file.data());
  ASSERT_GE(descriptor, 0);
  ::close(descriptor);
  std::ofstream(file) << "Gdk/WindowScalingFactor 2\n";
  const pid_t daemon = ::fork();
  ASSERT_GE(daemon, 0);
  if (daemon == 0) {
    ::execlp("xsettingsd", "xsettingsd", "-c", file.c_str(), nullptr);
    ::_exit(127);
  }
  const WindowFrame half{static_cast<int>(whole.width) / 2, static_cast<int>(whole.height) / 2};
  EXPECT_TRUE(platform->runUntil([&] { return minimumOf(handle) == half; }));
  // The daemon reads its file again on SIGHUP.
  std::ofstream(file) << "Gdk/WindowScalingFactor 1\n";
  ::kill(daemon, SIGHUP);
  EXPECT_TRUE(platform->runUntil([&] { return minimumOf(handle) == minimum; }));
  ::kill(daemon, SIGTERM);
  ::waitpid(daemon, nullptr, 0);
  std::filesystem::remove(file);
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
