#include "platform/linux/gtk/gtk_workspace.h"

#include <gtk/gtk.h>

#include <memory>
#include <utility>

#include "platform/linux/glib/glib_text.h"
#include "platform/linux/glib/gobject_pointer.h"

namespace orvel {

namespace {

/// Before each that is opened, in milliseconds.
constexpr guint pause = 10;

using Strings = std::unique_ptr<char *, void (*)(char **)>;

/// Ours was for our own start: another application would claim it in vain.
bool isOfOneStart(const std::string &variable) {
  return variable == "DESKTOP_STARTUP_ID" || variable == "XDG_ACTIVATION_TOKEN";
}

GObjectPointer<GdkAppLaunchContext> contextWith(
    const std::map<std::string, std::string> &environment) {
  auto context = adopt(gdk_display_get_app_launch_context(gdk_display_get_default()));
  GAppLaunchContext *base = G_APP_LAUNCH_CONTEXT(context.get());
  const Strings ours(g_listenv(), g_strfreev);
  for (char **variable = ours.get(); *variable != nullptr; ++variable) {
    g_app_launch_context_unsetenv(base, *variable);
  }
  for (const auto &[name, value] : environment) {
    if (!isOfOneStart(name)) g_app_launch_context_setenv(base, name.c_str(), value.c_str());
  }
  return context;
}

}  // namespace

GtkWorkspace::~GtkWorkspace() {
  if (launching_ != 0) g_source_remove(launching_);
}

void GtkWorkspace::open(const Url &url) { launchDefaultApplication(url.absoluteString); }

void GtkWorkspace::openFile(const std::string &path) {
  const GlibText uri(g_filename_to_uri(path.c_str(), nullptr, nullptr));
  if (uri) launchDefaultApplication(uri.get());
}

// A page can ask for thousands at once, and each takes the main thread the time of
// a fork: one after the other, with whatever else is due in between. None waits for
// the one before it, which may be slow to answer.
void GtkWorkspace::launchDefaultApplication(std::string uri) {
  waiting_.push_back(std::move(uri));
  if (launching_ != 0) return;
  launching_ = g_timeout_add(
      pause,
      [](gpointer workspace) { return static_cast<GtkWorkspace *>(workspace)->launchNext(); },
      this);
}

gboolean GtkWorkspace::launchNext() {
  const auto context = contextWith(environment_);
  g_app_info_launch_default_for_uri_async(
      waiting_.front().c_str(), G_APP_LAUNCH_CONTEXT(context.get()), nullptr,
      [](GObject *, GAsyncResult *result, gpointer) {
        g_app_info_launch_default_for_uri_finish(result, nullptr);
      },
      nullptr);
  waiting_.pop_front();
  if (!waiting_.empty()) return G_SOURCE_CONTINUE;
  launching_ = 0;
  return G_SOURCE_REMOVE;
}

}  // namespace orvel
