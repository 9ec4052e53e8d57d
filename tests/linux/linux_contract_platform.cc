#include <glib.h>
#include <gtk/gtk.h>

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <stdexcept>
#include <thread>

#include "platform/linux/linux_platform.h"
#include "tests/contract/contract_platform.h"

namespace orvel {

namespace {

/// The folders of a user of our own, for the life of the process: GLib asks for
/// them once.
class PrivateFolders {
 public:
  PrivateFolders() {
    std::string pattern = (std::filesystem::temp_directory_path() / "orvel-XXXXXX").string();
    if (::mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("no temporary folder");
    folder_ = pattern;
    for (const char *kind : {"CONFIG", "DATA", "CACHE"}) {
      ::setenv(("XDG_" + std::string(kind) + "_HOME").c_str(), (folder_ / kind).c_str(), 1);
    }
    // Every application here is alone, whatever runs in this session.
    ::setenv("DBUS_SESSION_BUS_ADDRESS", ("unix:path=" + (folder_ / "no-bus").string()).c_str(), 1);
    std::filesystem::create_directories(folder_ / "Contract.app" / "Contents");
    registerDefaultApplication();
    std::filesystem::create_directories(folder_ / "Downloads");
    std::ofstream(folder_ / "CONFIG" / "user-dirs.dirs")
        << "XDG_DOWNLOAD_DIR=\"" << (folder_ / "Downloads").string() << "\"\n";
  }
  ~PrivateFolders() {
    std::error_code error;
    std::filesystem::remove_all(folder_, error);
  }
  PrivateFolders(const PrivateFolders &) = delete;
  PrivateFolders &operator=(const PrivateFolders &) = delete;

  std::string bundle() const { return (folder_ / "Contract.app").string(); }
  /// A line for each thing that the default application was given.
  std::filesystem::path openedPath() const { return folder_ / "opened"; }

 private:
  void registerDefaultApplication() const {
    const auto program = folder_ / "default-application";
    std::ofstream(program) << "#!/bin/sh\nprintf '%s\\n' \"$1\" >> '" << openedPath().string()
                           << "'\n";
    std::filesystem::permissions(program, std::filesystem::perms::owner_all);
    std::filesystem::create_directories(folder_ / "DATA" / "applications");
    std::ofstream(folder_ / "DATA" / "applications" / "contract.desktop")
        << "[Desktop Entry]\nType=Application\nName=Contract\nExec=" << program.string() << " %u\n";
    std::filesystem::create_directories(folder_ / "CONFIG");
    std::ofstream associations(folder_ / "CONFIG" / "mimeapps.list");
    associations << "[Default Applications]\n";
    for (const char *type : {"x-scheme-handler/http", "x-scheme-handler/mailto", "text/plain"}) {
      associations << type << "=contract.desktop\n";
    }
  }

  std::filesystem::path folder_;
};

const PrivateFolders &privateFolders() {
  static const PrivateFolders folders;
  return folders;
}

::GtkWindow *frontAlert() {
  ::GtkWindow *front = nullptr;
  GListModel *windows = gtk_window_get_toplevels();
  for (guint place = 0; place < g_list_model_get_n_items(windows); ++place) {
    const auto window = adopt(static_cast<::GtkWindow *>(g_list_model_get_item(windows, place)));
    if (gtk_window_get_modal(window.get())) front = window.get();
  }
  if (front == nullptr) throw std::logic_error("there is no alert");
  return front;
}

/// The first widget of a type below another, or null; `skip` of them are passed
/// over.
GtkWidget *find(GtkWidget *widget, GType type, int &skip) {
  if (g_type_is_a(G_OBJECT_TYPE(widget), type) && skip-- == 0) return widget;
  for (GtkWidget *child = gtk_widget_get_first_child(widget); child != nullptr;
       child = gtk_widget_get_next_sibling(child)) {
    if (GtkWidget *found = find(child, type, skip)) return found;
  }
  return nullptr;
}

/// Whether one of the window's own shortcuts is for the key, which it then does.
bool activateShortcut(::GtkWindow *window, guint key) {
  const auto controllers = adopt(gtk_widget_observe_controllers(GTK_WIDGET(window)));
  for (guint place = 0; place < g_list_model_get_n_items(controllers.get()); ++place) {
    const auto controller =
        adopt(static_cast<GObject *>(g_list_model_get_item(controllers.get(), place)));
    if (!GTK_IS_SHORTCUT_CONTROLLER(controller.get())) continue;
    auto *shortcuts = G_LIST_MODEL(controller.get());
    for (guint number = 0; number < g_list_model_get_n_items(shortcuts); ++number) {
      const auto shortcut =
          adopt(static_cast<GtkShortcut *>(g_list_model_get_item(shortcuts, number)));
      GtkShortcutTrigger *trigger = gtk_shortcut_get_trigger(shortcut.get());
      if (!GTK_IS_KEYVAL_TRIGGER(trigger) ||
          gtk_keyval_trigger_get_keyval(GTK_KEYVAL_TRIGGER(trigger)) != key) {
        continue;
      }
      return gtk_shortcut_action_activate(gtk_shortcut_get_action(shortcut.get()),
                                          GtkShortcutActionFlags{}, GTK_WIDGET(window),
                                          nullptr) != FALSE;
    }
  }
  return false;
}

int count(GtkWidget *widget, GType type) {
  int number = 0;
  for (int skip = 0; find(widget, type, skip) != nullptr; skip = number) ++number;
  return number;
}

class LinuxContractPlatform final : public ContractPlatform {
 public:
  LinuxContractPlatform() : platform_(privateFolders().bundle()) {
    std::filesystem::remove(privateFolders().openedPath());
    if (!gtk_init_check()) throw std::runtime_error("these tests need a display");
    platform_.gtkStarted();
  }

  Platform ports() override { return platform_.ports(); }

  bool runUntil(const std::function<bool()> &condition, std::chrono::milliseconds limit) override {
    bool expired = false;
    const guint timer = g_timeout_add(
        static_cast<guint>(limit.count()),
        +[](gpointer flag) {
          *static_cast<bool *>(flag) = true;
          return gboolean{G_SOURCE_CONTINUE};
        },
        &expired);
    // The condition may come true on another thread, which does not wake this one.
    const guint tick =
        g_timeout_add(5, [](gpointer) { return gboolean{G_SOURCE_CONTINUE}; }, nullptr);
    bool holds = condition();
    while (!holds && !expired) {
      g_main_context_iteration(nullptr, TRUE);
      holds = condition();
    }
    g_source_remove(tick);
    g_source_remove(timer);
    return holds;
  }

  bool onMainThread() const override { return std::this_thread::get_id() == mainThread_; }

  void answerAlert(const AlertAnswer &answer) override {
    ::GtkWindow *alert = frontAlert();
    GtkWidget *content = GTK_WIDGET(alert);
    int first = 0;
    GtkWidget *field = find(content, GTK_TYPE_ENTRY, first);
    if (field != nullptr) gtk_editable_set_text(GTK_EDITABLE(field), answer.text.c_str());
    if (!answer.button) {
      gtk_window_close(alert);
      return;
    }
    // On the screen the first button is the last one.
    int place = count(content, GTK_TYPE_BUTTON) - 1 - *answer.button;
    g_signal_emit_by_name(find(content, GTK_TYPE_BUTTON, place), "clicked");
  }

  void pressInAlert(AlertKey key) override {
    ::GtkWindow *alert = frontAlert();
    if (key == AlertKey::escape) {
      if (!activateShortcut(alert, GDK_KEY_Escape)) throw std::logic_error("Escape does nothing");
    } else {
      // What has the focus passes Return on to the default button, or is it.
      GtkWidget *focus = gtk_window_get_focus(alert);
      if (GTK_IS_TEXT(focus)) {
        g_signal_emit_by_name(focus, "activate");
      } else {
        gtk_widget_activate(focus);
      }
    }
  }

  std::vector<std::string> opened() override {
    std::vector<std::string> all;
    std::ifstream file(privateFolders().openedPath());
    for (std::string line; std::getline(file, line);) {
      const std::unique_ptr<char, void (*)(void *)> path(
          g_filename_from_uri(line.c_str(), nullptr, nullptr), g_free);
      all.emplace_back(path ? path.get() : line);
    }
    return all;
  }

  void requestTermination() override { ::raise(SIGTERM); }

 private:
  const std::thread::id mainThread_ = std::this_thread::get_id();
  LinuxPlatform platform_;
};

}  // namespace

std::unique_ptr<ContractPlatform> makeLinuxContractPlatform() {
  return std::make_unique<LinuxContractPlatform>();
}

}  // namespace orvel
