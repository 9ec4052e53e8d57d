#include "platform/linux/linux_platform.h"

#include <glib.h>

#include <filesystem>

#include "base/private_folder.h"
#include "platform/linux/gtk/gtk_style.h"
#include "platform/linux/loopback_proxy_bypass.h"

namespace orvel {

namespace {

// The identifier and name of a bundle whose Info.plist lacks them or cannot be read.
constexpr const char *fallbackIdentifier = "nl.orvel.os";
constexpr const char *fallbackName = "Orvel OS";
/// The name of the application's icon, whose file is in the resources of the bundle.
constexpr const char *iconName = "nl.orvel.os";
constexpr guint iconDelayMilliseconds = 1000;

/// Sets the environment variables and defaults that GTK and WebKit read when they start.
/// Returns the hardware that the renderers were selected for.
GraphicsHardware prepareForGtk() {
  const GraphicsHardware hardware = detectGraphicsHardware();
  selectRenderers(hardware, gtk_get_minor_version());
  bypassProxyForLoopback();
  makeDarkThemeDefault();
  return hardware;
}

std::string inFolder(const char *folder, const std::string &name) {
  return std::string(folder) + "/" + name;
}

}  // namespace

std::string mainBundlePath() {
  std::error_code error;
  // The executable is in Contents/Linux of the bundle.
  const auto executable = std::filesystem::read_symlink("/proc/self/exe", error);
  return executable.parent_path().parent_path().parent_path().string();
}

LinuxPlatform::LinuxPlatform(const std::string &bundlePath)
    : environment_(processEnvironment()),
      graphics_(prepareForGtk()),
      resourceFolder_(bundlePath + "/Contents/Resources"),
      bundle_(bundlePath),
      identifier_(bundle_.infoText("CFBundleIdentifier").value_or(fallbackIdentifier)),
      name_(bundle_.infoText("CFBundleName").value_or(fallbackName)),
      processes_(environment_),
      unpacker_(processes_),
      locations_(inFolder(g_get_user_cache_dir(), identifier_) + "/temporary"),
      // Downloads are written in the Downloads folder, so that the final move is a rename, not a
      // copy to another file system. Without a Downloads folder, the temporary folder is used.
      http_({locations_.downloads(), locations_.temporary()}),
      defaults_(inFolder(g_get_user_config_dir(), identifier_) + "/defaults.ini"),
      application_(identifier_, [this] { gtkStarted(); }),
      commands_(
          application_,
          AboutInformation{.name = name_,
                           .version = bundle_.infoText("CFBundleShortVersionString").value_or("0"),
                           .icon = resourceFolder_ + "/" + iconName + ".svg"}),
      menuBar_(name_,
               [this](MenuAction action, GtkWindow *window) { commands_.perform(action, window); }),
      windows_(application_, menuBar_, defaults_,
               WebViewEnvironment{.dataFolder = inFolder(g_get_user_data_dir(), identifier_),
                                  .cacheFolder = inFolder(g_get_user_cache_dir(), identifier_),
                                  .accelerated = graphics_.hasUsableGpu}),
      panels_(application_, menuBar_),
      workspace_(environment_) {
  // The About dialog is modal for the main window, so it gets its own shortcuts that
  // reload the page. QuitDuringDialogs adds those that quit. The shortcuts of other commands, such
  // as F11, would act on the dialog itself.
  commands_.prepareAbout = [this](GtkWindow *window) {
    menuBar_.addKeysOf(MenuAction::reloadPage, window);
  };
  commands_.editPage = WebKitPageView::edit;
  // WebKit creates its cookie database readable by everyone. One cookie holds the key by which the
  // OS server, whose page the window shows, recognizes the application. So the data folder must be
  // private, like the folders of the settings and of the cached pages.
  for (const char *parent :
       {g_get_user_config_dir(), g_get_user_data_dir(), g_get_user_cache_dir()}) {
    ensurePrivateFolder(inFolder(parent, identifier_));
  }
}

void LinuxPlatform::gtkStarted() {
  quitDuringDialogs_.emplace(application_, menuBar_);
  GtkSettings *settings = gtk_settings_get_default();
  // An overlay scrollbar that fades out costs seconds of processor time without a GPU.
  if (!graphics_.hasUsableGpu) {
    g_object_set(settings, "gtk-overlay-scrolling", FALSE, nullptr);
  }
  // Deferred, because adding a search path makes GTK read the icon theme again, which
  // would delay the window and its page.
  g_timeout_add_full(
      G_PRIORITY_LOW, iconDelayMilliseconds,
      [](gpointer folder) -> gboolean {
        gtk_icon_theme_add_search_path(gtk_icon_theme_get_for_display(gdk_display_get_default()),
                                       static_cast<const std::string *>(folder)->c_str());
        gtk_window_set_default_icon_name(iconName);
        return G_SOURCE_REMOVE;
      },
      new std::string(resourceFolder_),
      [](gpointer folder) { delete static_cast<std::string *>(folder); });
}

Platform LinuxPlatform::interfaces() {
  return {.application = application_,
          .windows = windows_,
          .menuBar = menuBar_,
          .panels = panels_,
          .workspace = workspace_,
          .mainQueue = mainQueue_,
          .backgroundQueue = backgroundQueue_,
          .clock = clock_,
          .processes = processes_,
          .http = http_,
          .listeners = listeners_,
          .bundle = bundle_,
          .defaults = defaults_,
          .locations = locations_,
          .edition = linuxEdition,
          .unpacker = &unpacker_};
}

}  // namespace orvel
