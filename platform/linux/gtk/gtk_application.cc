#include "platform/linux/gtk/gtk_application.h"

#include <glib-unix.h>

#include <csignal>
#include <utility>

namespace orvel {

namespace {

GApplication *asGApplication(const GObjectPointer<GtkApplication> &application) {
  return G_APPLICATION(application.get());
}

gboolean unixSignalArrived(gpointer host) {
  static_cast<GtkApplicationHost *>(host)->terminate();
  return G_SOURCE_CONTINUE;
}

}  // namespace

GtkApplicationHost::GtkApplicationHost(const std::string &identifier, std::function<void()> startup)
    : application_(adopt(gtk_application_new(identifier.c_str(), G_APPLICATION_DEFAULT_FLAGS))),
      startup_(std::move(startup)) {
  // The application has no GResources. With the default base path, GTK would search there for
  // icons, and would first discard the icon theme that one of its threads has already read.
  g_application_set_resource_base_path(asGApplication(application_), nullptr);
  // X11 (WM_CLASS) and Wayland (app_id) use this name to find the desktop entry.
  g_set_prgname(identifier.c_str());
  connections_.emplace_back(
      application_.get(), "startup", this, +[](GtkApplicationHost *host) { host->startup_(); });
  connections_.emplace_back(
      application_.get(), "activate", this, +[](GtkApplicationHost *host) { host->activated(); });
}

GtkApplicationHost::~GtkApplicationHost() { g_clear_weak_pointer(&mainWindow_); }

void GtkApplicationHost::run() {
  std::vector<guint> sources;
  for (const int signal : {SIGTERM, SIGINT, SIGHUP}) {
    // High priority: a terminal sends SIGINT and SIGHUP also to the OS server, a child process. Its
    // exit must be handled after the termination has begun, else it counts as a failure.
    sources.push_back(
        g_unix_signal_add_full(G_PRIORITY_HIGH, signal, unixSignalArrived, this, nullptr));
  }
  connectToSessionBus();
  // Command-line arguments are ignored.
  g_application_run(asGApplication(application_), 0, nullptr);
  for (const guint source : sources) g_source_remove(source);
}

void GtkApplicationHost::connectToSessionBus() {
  if (!g_application_register(asGApplication(application_), nullptr, nullptr)) {
    // The bus has refused the name, so this process runs on its own, as without a bus.
    g_application_set_flags(asGApplication(application_), G_APPLICATION_NON_UNIQUE);
    g_application_register(asGApplication(application_), nullptr, nullptr);
  }
  // By default GIO ends the process when the bus closes the connection.
  if (GDBusConnection *bus = g_application_get_dbus_connection(asGApplication(application_))) {
    g_dbus_connection_set_exit_on_close(bus, FALSE);
  }
}

void GtkApplicationHost::activated() {
  if (launched_) {
    if (!terminating_) activate();
    return;
  }
  launched_ = true;
  // GApplication ends its main loop when the last window closes; the hold prevents that.
  g_application_hold(asGApplication(application_));
  delegate_->applicationDidFinishLaunching();
}

void GtkApplicationHost::activate() {
  if (mainWindow_ != nullptr) gtk_window_present(mainWindow_);
}

void GtkApplicationHost::terminate() {
  if (terminating_) return;
  terminating_ = true;
  if (!launched_ || delegate_->applicationShouldTerminate() == TerminateReply::now) finish();
}

void GtkApplicationHost::mainWindowCloseRequested() {
  if (delegate_->applicationShouldTerminateAfterLastWindowClosed()) terminate();
}

void GtkApplicationHost::replyToShouldTerminate() {
  if (terminating_) finish();
}

void GtkApplicationHost::finish() {
  isMainLoopEnding_ = true;
  if (terminationHandler_) std::exchange(terminationHandler_, nullptr)();
  g_application_quit(asGApplication(application_));
}

void GtkApplicationHost::setMainWindow(GtkWindow *window) {
  g_set_weak_pointer(&mainWindow_, window);
  // Not registered in tests that create a window without `run`.
  if (g_application_get_is_registered(asGApplication(application_))) {
    gtk_application_add_window(application_.get(), window);
  }
}

}  // namespace orvel
