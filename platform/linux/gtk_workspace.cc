#include "platform/linux/gtk_workspace.h"

#include <gtk/gtk.h>

#include <deque>
#include <memory>
#include <utility>

#include "platform/linux/gobject_pointer.h"

namespace orvel {

namespace {

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

/// What is to be opened. A page can ask for thousands at once, and each takes
/// the main thread the time of a fork: one after the other, with whatever else
/// is due in between.
struct GtkWorkspace::Launches {
  using Shared = std::shared_ptr<Launches>;

  std::map<std::string, std::string> environment;
  std::deque<std::string> waiting;
  bool isLaunching = false;

  static void next(const Shared &launches) {
    if (launches->isLaunching || launches->waiting.empty()) return;
    launches->isLaunching = true;
    const std::string uri = std::move(launches->waiting.front());
    launches->waiting.pop_front();
    const auto context = contextWith(launches->environment);
    g_app_info_launch_default_for_uri_async(
        uri.c_str(), G_APP_LAUNCH_CONTEXT(context.get()), nullptr,
        [](GObject *, GAsyncResult *result, gpointer data) {
          g_app_info_launch_default_for_uri_finish(result, nullptr);
          g_idle_add_once(launched, data);
        },
        std::make_unique<Shared>(launches).release());
  }

  static void launched(gpointer data) {
    const std::unique_ptr<Shared> launches(static_cast<Shared *>(data));
    (*launches)->isLaunching = false;
    next(*launches);
  }
};

GtkWorkspace::GtkWorkspace(std::map<std::string, std::string> environment)
    : launches_(std::make_shared<Launches>(Launches{std::move(environment), {}})) {}

void GtkWorkspace::open(const Url &url) { launchDefaultApplication(url.absoluteString); }

void GtkWorkspace::openFile(const std::string &path) {
  const std::unique_ptr<char, void (*)(void *)> uri(
      g_filename_to_uri(path.c_str(), nullptr, nullptr), g_free);
  if (uri) launchDefaultApplication(uri.get());
}

void GtkWorkspace::launchDefaultApplication(std::string uri) {
  launches_->waiting.push_back(std::move(uri));
  Launches::next(launches_);
}

}  // namespace orvel
