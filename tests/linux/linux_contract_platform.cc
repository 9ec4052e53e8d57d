#include <gtk/gtk.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <future>
#include <map>
#include <memory>
#include <stdexcept>
#include <thread>
#include <vector>

#include "platform/linux/glib/glib_text.h"
#include "platform/linux/glib/list_model.h"
#include "platform/linux/linux_platform.h"
#include "tests/contract/contract_platform.h"
#include "tests/linux/accessibility_bus.h"
#include "tests/linux/modal_window.h"
#include "tests/support/temporary_folder.h"

namespace orvel {

namespace {

/// The user's files for the tests: XDG folders, a default application and a bundle. Sets the XDG
/// environment variables. GLib reads them once, so one object exists until the process ends.
class TestHome {
 public:
  TestHome() {
    for (const char *kind : {"CONFIG", "DATA", "CACHE"}) {
      std::filesystem::create_directories(path() / kind);
      ::setenv(("XDG_" + std::string(kind) + "_HOME").c_str(), (path() / kind).c_str(), 1);
    }
    // Without a session bus, GApplication cannot activate a running instance instead of this one.
    ::setenv("DBUS_SESSION_BUS_ADDRESS", ("unix:path=" + (path() / "no-bus").string()).c_str(), 1);
    std::filesystem::create_directories(bundle() / "Contents");
    std::filesystem::create_directories(path() / "Downloads");
    folder_.file("CONFIG/user-dirs.dirs",
                 "XDG_DOWNLOAD_DIR=\"" + (path() / "Downloads").string() + "\"\n");
    registerDefaultApplication();
  }

  std::filesystem::path bundle() const { return path() / "Contract.app"; }
  /// The file to which the default application appends each URL that it gets.
  std::filesystem::path openedListPath() const { return path() / "opened"; }

 private:
  const std::filesystem::path &path() const { return folder_.path(); }

  void registerDefaultApplication() const {
    const std::string program =
        folder_.file("default-application",
                     "#!/bin/sh\nprintf '%s\\n' \"$1\" >> '" + openedListPath().string() + "'\n",
                     /*isExecutable=*/true);
    std::filesystem::create_directories(path() / "DATA" / "applications");
    folder_.file("DATA/applications/contract.desktop",
                 "[Desktop Entry]\nType=Application\nName=Contract\nExec=" + program + " %u\n");
    folder_.file("CONFIG/mimeapps.list",
                 "[Default Applications]\n"
                 "x-scheme-handler/http=contract.desktop\n"
                 "x-scheme-handler/mailto=contract.desktop\n"
                 "text/plain=contract.desktop\n");
  }

  const TemporaryFolder folder_;
};

const TestHome &testHome() {
  static const TestHome home;
  return home;
}

/// Returns the accessibility bus, which exists until the process ends, because GTK keeps its
/// address.
const AccessibilityBus &accessibilityBus() {
  static const AccessibilityBus bus;
  return bus;
}

/// Sets the environment variables that GLib and GTK read once. Starts the accessibility bus when
/// `isAccessible`. Returns the path of the bundle.
std::filesystem::path prepareEnvironment(bool isAccessible) {
  const TestHome &home = testHome();
  // After TestHome, because both set DBUS_SESSION_BUS_ADDRESS.
  if (isAccessible) accessibilityBus();
  return home.bundle();
}

/// Returns the open alert. Throws when no alert is open.
GtkWindow *requireOpenAlert() {
  GtkWindow *alert = findModalWindow();
  if (alert == nullptr) throw std::logic_error("no alert is open");
  return alert;
}

/// Kills the web processes of this process: one runs the page, and WebKit may keep others for later
/// pages. They are descendants of this process, below the processes of the sandbox.
void killWebProcesses() {
  struct Process {
    std::string name;
    pid_t parent = 0;
  };
  std::map<pid_t, Process> processes;
  for (const auto &entry : std::filesystem::directory_iterator("/proc")) {
    // proc_pid_stat(5). A name with a space is misread, but neither a web process
    // nor a process of the sandbox has one.
    std::ifstream stat(entry.path() / "stat");
    pid_t id = 0;
    Process process;
    char state = 0;
    if (stat >> id >> process.name >> state >> process.parent) processes[id] = process;
  }
  for (const auto &[id, process] : processes) {
    // The kernel truncates the name to 15 characters.
    if (process.name != "(WebKitWebProces)") continue;
    pid_t ancestor = id;
    while (ancestor != 0 && ancestor != ::getpid()) ancestor = processes[ancestor].parent;
    if (ancestor != 0) ::kill(id, SIGKILL);
  }
}

/// Activates a window's shortcut for a key. Throws when the window has no shortcut for it.
void activateShortcut(GtkWindow *window, guint key) {
  const auto wantedTrigger = adopt(gtk_keyval_trigger_new(key, GdkModifierType{}));
  const auto controllers = adopt(gtk_widget_observe_controllers(GTK_WIDGET(window)));
  for (const auto &controller : itemsOf<GtkEventController>(controllers.get())) {
    if (!GTK_IS_SHORTCUT_CONTROLLER(controller.get())) continue;
    for (const auto &shortcut : itemsOf<GtkShortcut>(G_LIST_MODEL(controller.get()))) {
      if (!gtk_shortcut_trigger_equal(gtk_shortcut_get_trigger(shortcut.get()),
                                      wantedTrigger.get())) {
        continue;
      }
      gtk_shortcut_action_activate(gtk_shortcut_get_action(shortcut.get()),
                                   GtkShortcutActionFlags{}, GTK_WIDGET(window), nullptr);
      return;
    }
  }
  throw std::logic_error("the window has no shortcut for the key");
}

class LinuxContractPlatform final : public ContractPlatform {
 public:
  explicit LinuxContractPlatform(bool isAccessible) : platform_(prepareEnvironment(isAccessible)) {
    std::filesystem::remove(testHome().openedListPath());
    if (!gtk_init_check()) throw std::runtime_error("no display");
    platform_.gtkStarted();
  }

  Platform interfaces() override { return platform_.interfaces(); }

  bool runUntil(const std::function<bool()> &condition, std::chrono::milliseconds limit) override {
    const auto end = std::chrono::steady_clock::now() + limit;
    // Another thread may make the condition true without waking the main loop.
    const guint wakeUpTimer =
        g_timeout_add(5, [](gpointer) { return gboolean{G_SOURCE_CONTINUE}; }, nullptr);
    bool holds = condition();
    while (!holds && std::chrono::steady_clock::now() < end) {
      g_main_context_iteration(nullptr, TRUE);
      holds = condition();
    }
    g_source_remove(wakeUpTimer);
    return holds;
  }

  bool onMainThread() const override { return std::this_thread::get_id() == mainThread_; }

  ShownAlert shownAlert() override {
    ShownAlert shown;
    callOnOtherThread([&] { shown = accessibilityBus().readAlert(); });
    // AT-SPI has a state for the default button, but GTK 4 does not report it.
    GtkWidget *button = gtk_window_get_default_widget(requireOpenAlert());
    shown.defaultButton = gtk_button_get_label(GTK_BUTTON(button));
    return shown;
  }

  void typeInAlert(const std::string &text) override {
    // The text field of an alert has the focus from the start.
    gtk_editable_set_text(GTK_EDITABLE(gtk_window_get_focus(requireOpenAlert())), text.c_str());
  }

  void pressButton(const std::string &caption) override {
    callOnOtherThread([&] { accessibilityBus().pressButton(caption); });
  }

  void pressInAlert(AlertKey key) override {
    GtkWindow *alert = requireOpenAlert();
    if (key == AlertKey::escape) {
      activateShortcut(alert, GDK_KEY_Escape);
    } else {
      // Return activates the focused widget, which is the text field or the default button.
      // gtk_widget_activate has no effect on a GtkText.
      g_signal_emit_by_name(gtk_window_get_focus(alert), "activate");
    }
  }

  void closeAlert() override { gtk_window_close(requireOpenAlert()); }

  std::vector<std::string> opened() override {
    std::vector<std::string> all;
    std::ifstream file(testHome().openedListPath());
    for (std::string line; std::getline(file, line);) {
      // Null unless the line is a file URL.
      const GlibText path(g_filename_from_uri(line.c_str(), nullptr, nullptr));
      all.emplace_back(path ? path.get() : line);
    }
    return all;
  }

  bool isAlertOpen() override { return findModalWindow() != nullptr; }

  void killPageProcess() override { killWebProcesses(); }

  void requestTermination() override { ::raise(SIGTERM); }

 private:
  /// Calls a function on another thread, and runs the main loop until the function has returned.
  /// Throws the exception of the function.
  void callOnOtherThread(const std::function<void()> &function) {
    auto result = std::async(std::launch::async, function);
    const auto isReady = [&] {
      return result.wait_for(std::chrono::seconds(0)) == std::future_status::ready;
    };
    // Waits without a limit: the destructor of the future would wait for the function too, but
    // without running the main loop, which the function may need.
    while (!runUntil(isReady, std::chrono::seconds(60))) {
    }
    result.get();
  }

  const std::thread::id mainThread_ = std::this_thread::get_id();
  LinuxPlatform platform_;
};

}  // namespace

std::unique_ptr<ContractPlatform> makeLinuxContractPlatform(bool isAccessible) {
  return std::make_unique<LinuxContractPlatform>(isAccessible);
}

}  // namespace orvel
