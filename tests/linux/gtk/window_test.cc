// The main window and the alerts in GTK.

#include <gtest/gtest.h>
#include <gtk/gtk.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <fstream>
#include <memory>

#include "platform/linux/gtk/gtk_window.h"
#include "platform/linux/gtk/window_frame.h"
#include "tests/contract/contract_platform.h"
#include "tests/linux/open_alert.h"
#include "tests/support/permissive_delegate.h"
#include "tests/support/temporary_folder.h"

namespace orvel {
namespace {

class MainWindow : public testing::Test {
 protected:
  ::GtkWindow *makeWindow(const std::string &storedFrame, int minimumWidth = 400,
                          int minimumHeight = 300) {
    platform->interfaces().defaults.setText("ContractFrame", storedFrame);
    WindowConfiguration configuration;
    configuration.contentRect = screen();
    configuration.title = "Orvel OS";
    configuration.minimumWidth = minimumWidth;
    configuration.minimumHeight = minimumHeight;
    configuration.frameAutosaveName = "ContractFrame";
    auto made = platform->interfaces().windows.create(configuration, {}, delegate);
    view = std::move(made.web);
    window = std::move(made.window);
    return dynamic_cast<GtkMainWindow &>(*window).handle();
  }

  Rect screen() { return platform->interfaces().windows.mainScreenVisibleFrame().value(); }
  WindowFrame screenSize() {
    return {static_cast<int>(screen().width), static_cast<int>(screen().height)};
  }

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

  std::unique_ptr<ContractPlatform> platform = makeLinuxContractPlatform();
  PermissiveDelegate delegate;
  std::unique_ptr<WebView> view;
  std::unique_ptr<Window> window;
};

TEST_F(MainWindow, StoredFrameIsRestored) {
  EXPECT_EQ(frameOf(makeWindow("450 350")), (WindowFrame{450, 350}));
}

TEST_F(MainWindow, ThemeIsAlwaysDark) {
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

TEST_F(MainWindow, WithoutStoredFrameContentRectangleIsUsed) {
  EXPECT_EQ(frameOf(makeWindow("no frame at all")), screenSize());
}

TEST_F(MainWindow, StoredFrameIsLimitedToScreenAndMinimum) {
  EXPECT_EQ(frameOf(makeWindow("99999 99999")), screenSize());
  window.reset();
  EXPECT_EQ(frameOf(makeWindow("1 1")), (WindowFrame{400, 300}));
}

TEST_F(MainWindow, ChangedFrameIsStored) {
  ::GtkWindow *handle = makeWindow("450 350");
  window->makeKeyAndOrderFront();
  gtk_window_set_default_size(handle, 500, 400);
  EXPECT_TRUE(platform->runUntil(
      [&] { return platform->interfaces().defaults.text("ContractFrame") == "500 400"; }));
}

TEST_F(MainWindow, MinimumSizeFollowsMonitorSize) {
  ::GtkWindow *handle = makeWindow("450 350");
  window->makeKeyAndOrderFront();
  EXPECT_EQ(minimumOf(handle), (WindowFrame{400, 300}));
  const WindowFrame size = screenSize();
  const std::string mode = std::to_string(size.width) + "x" + std::to_string(size.height);
  // A virtual screen ignores the timings of a mode.
  run("xrandr --newmode small 10 320 330 340 350 240 245 250 260 && "
      "xrandr --addmode screen small && xrandr --output screen --mode small");
  EXPECT_TRUE(platform->runUntil([&] { return minimumOf(handle) == WindowFrame{320, 240}; }));
  run("xrandr --output screen --mode " + mode);
  EXPECT_TRUE(platform->runUntil([&] { return minimumOf(handle) == WindowFrame{400, 300}; }));
}

TEST_F(MainWindow, MinimumSizeFollowsMonitorScale) {
  const WindowFrame size = screenSize();
  const WindowFrame minimum{size.width - 100, size.height - 100};
  ::GtkWindow *handle = makeWindow("", minimum.width, minimum.height);
  window->makeKeyAndOrderFront();
  EXPECT_EQ(minimumOf(handle), minimum);

  // An XSettings daemon announces the scale, as on a desktop.
  const TemporaryFolder folder;
  const std::string file = folder.file("xsettings", "Gdk/WindowScalingFactor 2\n");
  const pid_t daemon = ::fork();
  ASSERT_GE(daemon, 0);
  if (daemon == 0) {
    ::execlp("xsettingsd", "xsettingsd", "-c", file.c_str(), nullptr);
    ::_exit(127);
  }
  const WindowFrame half{size.width / 2, size.height / 2};
  EXPECT_TRUE(platform->runUntil([&] { return minimumOf(handle) == half; }));
  // The daemon reads its file again on SIGHUP.
  std::ofstream(file) << "Gdk/WindowScalingFactor 1\n";
  ::kill(daemon, SIGHUP);
  EXPECT_TRUE(platform->runUntil([&] { return minimumOf(handle) == minimum; }));
  ::kill(daemon, SIGTERM);
  ::waitpid(daemon, nullptr, 0);
}

TEST_F(MainWindow, AlertTextIsSelectedAndReturnPressesFirstButton) {
  Alert question;
  question.messageText = "Address";
  question.buttons = {"Save", "Cancel"};
  question.textField = AlertTextField{340, 24, "http://127.0.0.1:4767/"};
  std::optional<AlertAnswer> answer;
  platform->interfaces().panels.runModal(question,
                                         [&](const AlertAnswer &given) { answer = given; });

  GtkWidget *field = gtk_widget_get_parent(gtk_window_get_focus(openAlert()));
  ASSERT_TRUE(GTK_IS_ENTRY(field));
  int begin = 0;
  int end = 0;
  EXPECT_TRUE(gtk_editable_get_selection_bounds(GTK_EDITABLE(field), &begin, &end));
  EXPECT_EQ(begin, 0);
  EXPECT_EQ(end, static_cast<int>(question.textField->text.size()));
  EXPECT_TRUE(platform->runUntil([&] { return gtk_widget_get_allocated_width(field) == 340; }));

  // The Return key emits this signal.
  g_signal_emit_by_name(gtk_window_get_focus(openAlert()), "activate");
  ASSERT_TRUE(platform->runUntil([&] { return answer.has_value(); }));
  EXPECT_EQ(answer->button, 0);
  EXPECT_EQ(answer->text, question.textField->text);
  EXPECT_EQ(openAlert(), nullptr);
}

}  // namespace
}  // namespace orvel
