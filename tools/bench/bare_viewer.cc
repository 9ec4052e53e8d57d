#include <webkit/webkit.h>

#include <cstdlib>
#include <cstring>

#include "platform/linux/renderer_choice.h"

// Shows one page in one window with GTK and WebKitGTK, and does nothing else.
//
//   bare_viewer URL          with default settings
//   bare_viewer tuned URL    with the renderer settings of the application for this machine
int main(int argc, char **argv) {
  const bool tuned = argc == 3 && std::strcmp(argv[1], "tuned") == 0;
  if (argc != 2 && !tuned) return EXIT_FAILURE;
  const bool rendersInSoftware = tuned && !orvel::detectGraphicsHardware().hasUsableGpu;
  // Before GTK starts, because this sets environment variables that GTK and WebKit read.
  if (tuned) orvel::selectRenderers(orvel::detectGraphicsHardware(), gtk_get_minor_version());

  gtk_init();
  WebKitSettings *settings = webkit_settings_new();
  if (rendersInSoftware) {
    // The application sets these two as well when it has no GPU.
    g_object_set(gtk_settings_get_default(), "gtk-overlay-scrolling", FALSE, nullptr);
    webkit_settings_set_hardware_acceleration_policy(settings,
                                                     WEBKIT_HARDWARE_ACCELERATION_POLICY_NEVER);
  }
  GtkWidget *view = GTK_WIDGET(g_object_new(WEBKIT_TYPE_WEB_VIEW, "settings", settings, nullptr));
  g_object_unref(settings);

  GMainLoop *loop = g_main_loop_new(nullptr, FALSE);
  GtkWidget *window = gtk_window_new();
  gtk_window_set_title(GTK_WINDOW(window), "Orvel OS");
  gtk_window_set_child(GTK_WINDOW(window), view);
  gtk_window_maximize(GTK_WINDOW(window));
  g_signal_connect_swapped(window, "destroy", G_CALLBACK(g_main_loop_quit), loop);
  gtk_window_present(GTK_WINDOW(window));
  webkit_web_view_load_uri(WEBKIT_WEB_VIEW(view), argv[argc - 1]);
  g_main_loop_run(loop);
  g_main_loop_unref(loop);
}
