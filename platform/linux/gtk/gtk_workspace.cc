#include "platform/linux/gtk/gtk_workspace.h"

#include <gtk/gtk.h>

#include <memory>
#include <utility>

#include "platform/linux/glib/glib_text.h"
#include "platform/linux/glib/gobject_pointer.h"

namespace orvel {

namespace {

constexpr guint launchIntervalMilliseconds = 10;

using GlibTexts = std::unique_ptr<char *, void (*)(char **)>;

/// Returns whether a variable holds a startup token. This process has used its token already, and a
/// token is valid once.
bool isStartupToken(const std::string &variable) {
  return variable == "DESKTOP_STARTUP_ID" || variable == "XDG_ACTIVATION_TOKEN";
}

/// Returns a launch context whose applications get the given environment instead of that of
/// this process.
GObjectPointer<GdkAppLaunchContext> contextWith(
    const std::map<std::string, std::string> &environment) {
  auto context = adopt(gdk_display_get_app_launch_context(gdk_display_get_default()));
  GAppLaunchContext *base = G_APP_LAUNCH_CONTEXT(context.get());
  const GlibTexts names(g_listenv(), g_strfreev);
  for (char **variable = names.get(); *variable != nullptr; ++variable) {
    g_app_launch_context_unsetenv(base, *variable);
  }
  for (const auto &[name, value] : environment) {
    if (!isStartupToken(name)) g_app_launch_context_setenv(base, name.c_str(), value.c_str());
  }
  return context;
}

}  // namespace

GtkWorkspace::~GtkWorkspace() {
  if (launchTimer_ != 0) g_source_remove(launchTimer_);
}

void GtkWorkspace::open(const Url &url) { queueLaunch(url.absoluteString); }

void GtkWorkspace::openFile(const std::string &path) {
  const GlibText uri(g_filename_to_uri(path.c_str(), nullptr, nullptr));
  if (uri) queueLaunch(uri.get());
}

void GtkWorkspace::queueLaunch(std::string uri) {
  queuedUris_.push_back(std::move(uri));
  if (launchTimer_ != 0) return;
  launchTimer_ = g_timeout_add(
      launchIntervalMilliseconds,
      [](gpointer workspace) { return static_cast<GtkWorkspace *>(workspace)->launchNext(); },
      this);
}

gboolean GtkWorkspace::launchNext() {
  const auto context = contextWith(environment_);
  g_app_info_launch_default_for_uri_async(
      queuedUris_.front().c_str(), G_APP_LAUNCH_CONTEXT(context.get()), nullptr,
      [](GObject *, GAsyncResult *result, gpointer) {
        g_app_info_launch_default_for_uri_finish(result, nullptr);
      },
      nullptr);
  queuedUris_.pop_front();
  if (!queuedUris_.empty()) return G_SOURCE_CONTINUE;
  launchTimer_ = 0;
  return G_SOURCE_REMOVE;
}

}  // namespace orvel
