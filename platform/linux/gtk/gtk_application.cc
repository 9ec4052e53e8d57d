#include "platform/linux/gtk/gtk_application.h"

#include <glib-unix.h>

#include <algorithm>
#include <csignal>
#include <utility>

namespace orvel {

namespace {

constexpr std::array endingSignals{SIGTERM, SIGINT, SIGHUP};

GApplication *base(const GObjectPointer<GtkApplication> &application) {
  return G_APPLICATION(application.get());
}

gboolean signalArrived(gpointer host) {
  static_cast<GtkApplicationHost *>(host)->terminate();
  return G_SOURCE_CONTINUE;
}

}  // namespace

GtkApplicationHost::GtkApplicationHost(const std::string &identifier, std::function<void()> startup)
    : application_(adopt(gtk_application_new(identifier.c_str(), G_APPLICATION_DEFAULT_FLAGS))),
      startup_(std::move(startup)) {
  // There are no resources of ours. To look for icons among them GTK would drop the
  // icon theme that a thread of its own has been reading, and read it anew.
  g_application_set_resource_base_path(base(application_), nullptr);
  // Both displays tell the desktop by this name which desktop entry is ours.
  g_set_prgname(identifier.c_str());
  connections_.emplace_back(
      application_.get(), "startup", this, +[](GtkApplicationHost *host) { host->startup_(); });
  connections_.emplace_back(
      application_.get(), "activate", this, +[](GtkApplicationHost *host) { host->activated(); });
}

GtkApplicationHost::~GtkApplicationHost() { g_clear_weak_pointer(&mainWindow_); }

void GtkApplicationHost::run() {
  std::array<guint, 3> sources{};
  std::transform(endingSignals.begin(), endingSignals.end(), sources.begin(), [this](int signal) {
    // A terminal sends them to the server too, whose exit is then no news.
    return g_unix_signal_add_full(G_PRIORITY_HIGH, signal, signalArrived, this, nullptr);
  });
  connectToSession();
  // No argument of the process is read.
  g_application_run(base(application_), 0, nullptr);
  for (const guint source : sources) g_source_remove(source);
}

void GtkApplicationHost::connectToSession() {
  if (!g_application_register(base(application_), nullptr, nullptr)) {
    // A bus that refuses the name must not keep the user from working.
    g_application_set_flags(base(application_), G_APPLICATION_NON_UNIQUE);
    g_application_register(base(application_), nullptr, nullptr);
  }
  // Nor does one that goes away; GIO's own rule is to end the process with it.
  if (GDBusConnection *bus = g_application_get_dbus_connection(base(application_))) {
    g_dbus_connection_set_exit_on_close(bus, FALSE);
  }
}

void GtkApplicationHost::activated() {
  if (launched_) {
    if (!terminating_) activate();
    return;
  }
  launched_ = true;
  // The loop goes on without a window, until the termination proceeds.
  g_application_hold(base(application_));
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

void GtkApplicationHost::lastWindowClosed() {
  if (delegate_->applicationShouldTerminateAfterLastWindowClosed()) terminate();
}

void GtkApplicationHost::replyToShouldTerminate() {
  if (terminating_) finish();
}

void GtkApplicationHost::finish() {
  terminationProceeds_ = true;
  if (beforeEnd_) std::exchange(beforeEnd_, nullptr)();
  g_application_quit(base(application_));
}

void GtkApplicationHost::addWindow(GtkWindow *window) {
  mainWindow_ = window;
  g_object_add_weak_pointer(G_OBJECT(window), reinterpret_cast<gpointer *>(&mainWindow_));
  if (g_application_get_is_registered(base(application_))) {
    gtk_application_add_window(application_.get(), window);
  }
}

}  // namespace orvel
