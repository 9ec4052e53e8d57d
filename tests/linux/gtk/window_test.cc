#include <gtest/gtest.h>
#include <gtk/gtk.h>

#include <csignal>
#include <cstdlib>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "platform/linux/gtk/gtk_window.h"
#include "platform/linux/gtk/window_frame.h"
#include "tests/contract/contract_platform.h"
#include "tests/linux/modal_window.h"
#include "tests/support/permissive_delegate.h"
#include "tests/support/temporary_folder.h"

namespace orvel {
namespace {

TEST(WindowFrame, StoredFrameIsParsed) {
  for (const bool maximised : {false, true}) {
    const WindowFrame frame{1920, 1053, maximised};
    EXPECT_EQ(parseFrame(frameText(frame)), frame) << frameText(frame);
  }
  EXPECT_EQ(frameText({1200, 800, true}), "1200 800 maximised");
}

TEST(WindowFrame, MalformedTextIsRejected) {
  for (const char *text : {"", " ", "1200", "1200 ", "1200x800", "0 800", "1200 -800", "1200 800 ",
                           "1200 800 full", " 1200 800", "99999999999 800", "1200 800.5"}) {
    EXPECT_EQ(parseFrame(text), std::nullopt) << text;
  }
}

/// A program that is started by the constructor and killed by the destructor.
class RunningProgram {
 public:
  explicit RunningProgram(const std::vector<const char *> &commandLine) {
    std::vector<const char *> arguments = commandLine;
    arguments.push_back(nullptr);
    process_ = adopt(g_subprocess_newv(arguments.data(), G_SUBPROCESS_FLAGS_NONE, nullptr));
    if (!process_) throw std::runtime_error(std::string("cannot run ") + commandLine.front());
  }
  ~RunningProgram() {
    g_subprocess_force_exit(process_.get());
    g_subprocess_wait(process_.get(), nullptr, nullptr);
  }
  RunningProgram(const RunningProgram &) = delete;
  RunningProgram &operator=(const RunningProgram &) = delete;

  void sendSignal(int signal) { g_subprocess_send_signal(process_.get(), signal); }

 private:
  GObjectPointer<GSubprocess> process_;
};

class MainWindow : public testing::Test {
 protected:
  MainWindow() {
    configuration.contentRect = screen();
    configuration.title = "Orvel OS";
    configuration.titleVisible = false;
    configuration.minimumWidth = 400;
    configuration.minimumHeight = 300;
    configuration.frameAutosaveName = "TestFrame";
  }

  /// Stores a frame, as an earlier run does, and creates the window of the configuration.
  GtkWindow *makeWindow(const std::string &storedFrame = "") {
    platform->interfaces().defaults.setText("TestFrame", storedFrame);
    auto made =
        platform->interfaces().windows.create(configuration, WebViewConfiguration(), delegate);
    view = std::move(made.web);
    window = std::move(made.window);
    return dynamic_cast<GtkMainWindow &>(*window).handle();
  }

  Rect screen() { return platform->interfaces().windows.mainScreenVisibleFrame().value(); }
  WindowFrame screenSize() {
    return {static_cast<int>(screen().width), static_cast<int>(screen().height)};
  }

  static WindowFrame sizeOf(GtkWindow *handle) {
    WindowFrame size;
    gtk_window_get_default_size(handle, &size.width, &size.height);
    return size;
  }

  static WindowFrame minimumSizeOf(GtkWindow *handle) {
    WindowFrame size;
    gtk_widget_get_size_request(GTK_WIDGET(handle), &size.width, &size.height);
    return size;
  }

  static void run(const std::string &command) {
    ASSERT_EQ(std::system(command.c_str()), 0) << command;
  }

  std::unique_ptr<ContractPlatform> platform = makeLinuxContractPlatform();
  WindowConfiguration configuration;
  PermissiveDelegate delegate;
  std::unique_ptr<WebView> view;
  std::unique_ptr<Window> window;
};

TEST_F(MainWindow, FirstFrameIsStoredFrameWithinLimitsOrContentRectangle) {
  const std::vector<std::pair<std::string, WindowFrame>> rows{
      {"450 350", {450, 350}},
      {"no frame at all", screenSize()},
      {"99999 99999", screenSize()},
      {"1 1", {400, 300}},  // The minimum.
  };
  for (const auto &[stored, frame] : rows) {
    EXPECT_EQ(sizeOf(makeWindow(stored)), frame) << stored;
    // A window that still exists could overwrite the stored frame of the next row.
    window.reset();
  }
}

TEST_F(MainWindow, ThemeIsAlwaysDark) {
  GtkSettings *settings = gtk_settings_get_default();
  constexpr const char *dark = "gtk-application-prefer-dark-theme";
  GParamSpec *property = g_object_class_find_property(G_OBJECT_GET_CLASS(settings), dark);
  // GTK loads the theme before an application can set the property, so the platform has changed
  // the default value of the property.
  EXPECT_TRUE(G_PARAM_SPEC_BOOLEAN(property)->default_value);

  makeWindow();
  // A change of the desktop's theme can reset the property.
  g_object_set(settings, dark, FALSE, nullptr);
  gboolean isDark = FALSE;
  g_object_get(settings, dark, &isDark, nullptr);
  EXPECT_TRUE(isDark);
}

TEST_F(MainWindow, ResizedWindowStoresFrame) {
  GtkWindow *handle = makeWindow("450 350");
  window->makeKeyAndOrderFront();
  gtk_window_set_default_size(handle, 500, 400);
  EXPECT_TRUE(platform->runUntil(
      [&] { return platform->interfaces().defaults.text("TestFrame") == "500 400"; }));
}

TEST_F(MainWindow, MinimumSizeFollowsMonitorSize) {
  GtkWindow *handle = makeWindow("450 350");
  window->makeKeyAndOrderFront();
  EXPECT_EQ(minimumSizeOf(handle), (WindowFrame{400, 300}));
  const WindowFrame size = screenSize();
  const std::string mode = std::to_string(size.width) + "x" + std::to_string(size.height);
  // A mode of 320 x 240 pixels for "screen", the output of Xvfb. The other numbers are timings,
  // which Xvfb ignores.
  run("xrandr --newmode small 10 320 330 340 350 240 245 250 260 && "
      "xrandr --addmode screen small && xrandr --output screen --mode small");
  EXPECT_TRUE(platform->runUntil([&] { return minimumSizeOf(handle) == WindowFrame{320, 240}; }));
  run("xrandr --output screen --mode " + mode);
  EXPECT_TRUE(platform->runUntil([&] { return minimumSizeOf(handle) == WindowFrame{400, 300}; }));
}

TEST_F(MainWindow, MinimumSizeFollowsMonitorScale) {
  const WindowFrame size = screenSize();
  const WindowFrame minimum{size.width - 100, size.height - 100};
  configuration.minimumWidth = minimum.width;
  configuration.minimumHeight = minimum.height;
  GtkWindow *handle = makeWindow();
  window->makeKeyAndOrderFront();
  EXPECT_EQ(minimumSizeOf(handle), minimum);

  // An XSettings daemon announces the scale, as on a desktop. SIGHUP makes it read its file again.
  const TemporaryFolder folder;
  const std::string file = folder.file("xsettings", "Gdk/WindowScalingFactor 2\n");
  RunningProgram daemon({"xsettingsd", "-c", file.c_str()});
  // At scale 2 the screen has half as many points in each direction, fewer than the minimum.
  const WindowFrame half{size.width / 2, size.height / 2};
  EXPECT_TRUE(platform->runUntil([&] { return minimumSizeOf(handle) == half; }));
  folder.file("xsettings", "Gdk/WindowScalingFactor 1\n");
  daemon.sendSignal(SIGHUP);
  EXPECT_TRUE(platform->runUntil([&] { return minimumSizeOf(handle) == minimum; }));
}

/// A window manager that keeps 30 points free at the top of the screen, as for a panel. The
/// constructor waits until they are reserved. GDK looks for a window manager at most every 15
/// seconds, so this is the first base of the fixture, constructed before GTK opens the display.
class WindowManagerWithPanel {
 protected:
  const TemporaryFolder folder;
  const std::string file = folder.file("rc.xml",
                                       "<openbox_config xmlns='http://openbox.org/3.4/rc'>"
                                       "<margins><top>30</top></margins></openbox_config>");
  const RunningProgram windowManager{{"openbox", "--config-file", file.c_str()}};
  const bool hasReservedPanel =
      std::system(
          "timeout 60 sh -c "
          "'until xprop -root _NET_WORKAREA | grep -q \"= 0, 30,\"; do sleep 0.05; done'") == 0;
};

class MainWindowBelowPanel : public WindowManagerWithPanel, public MainWindow {};

TEST_F(MainWindowBelowPanel, MinimumSizeIsLimitedToWorkArea) {
  ASSERT_TRUE(hasReservedPanel);
  GdkRectangle whole;
  gdk_monitor_get_geometry(mainMonitor(gdk_display_get_default()).get(), &whole);
  const WindowFrame belowPanel{whole.width, whole.height - 30};
  EXPECT_EQ(screen().y, 30);
  EXPECT_EQ(screenSize(), belowPanel);
  configuration.minimumWidth = whole.width;
  configuration.minimumHeight = whole.height;
  EXPECT_EQ(minimumSizeOf(makeWindow()), belowPanel);
}

TEST_F(MainWindow, TitleIsShownOnlyWhenConfigured) {
  for (const bool isTitleVisible : {false, true}) {
    configuration.titleVisible = isTitleVisible;
    auto *header = GTK_HEADER_BAR(gtk_window_get_titlebar(makeWindow()));
    // Without a title widget a header bar shows the title of the window.
    EXPECT_EQ(gtk_header_bar_get_title_widget(header) == nullptr, isTitleVisible);
  }
}

TEST_F(MainWindow, TextFieldOfAlertHasRequestedWidthAndIsSelected) {
  Alert question;
  question.messageText = "Address";
  question.buttons = {"Save", "Cancel"};
  question.textField = AlertTextField{.width = 340, .height = 24, .text = "http://127.0.0.1:4767/"};
  platform->interfaces().panels.runModal(question, [](const AlertAnswer &) {});

  // The focused widget is the GtkText inside the entry.
  GtkWidget *field = gtk_widget_get_parent(gtk_window_get_focus(findModalWindow()));
  ASSERT_TRUE(GTK_IS_ENTRY(field));
  int begin = 0;
  int end = 0;
  EXPECT_TRUE(gtk_editable_get_selection_bounds(GTK_EDITABLE(field), &begin, &end));
  EXPECT_EQ(begin, 0);
  EXPECT_EQ(end, static_cast<int>(question.textField->text.size()));
  EXPECT_TRUE(platform->runUntil([&] { return gtk_widget_get_allocated_width(field) == 340; }));
}

}  // namespace
}  // namespace orvel
