// Shows a window from which a user can drag the file or URL that the argument names. Exits when the
// drag ends.

#include <gtk/gtk.h>

int main(int argc, char **argv) {
  constexpr int windowSide = 120;
  if (argc != 2 || gtk_init_check() == FALSE) return 1;
  GtkWidget *window = gtk_window_new();
  gtk_window_set_title(GTK_WINDOW(window), "Drag source");
  gtk_window_set_default_size(GTK_WINDOW(window), windowSide, windowSide);
  GFile *file = g_file_new_for_commandline_arg(argv[1]);
  GtkDragSource *source = gtk_drag_source_new();
  gtk_drag_source_set_content(source, gdk_content_provider_new_typed(G_TYPE_FILE, file));
  gboolean hasEnded = FALSE;
  g_signal_connect_swapped(source, "drag-end", G_CALLBACK(+[](gboolean *ended) { *ended = TRUE; }),
                           &hasEnded);
  gtk_widget_add_controller(window, GTK_EVENT_CONTROLLER(source));
  gtk_window_present(GTK_WINDOW(window));
  while (hasEnded == FALSE) g_main_context_iteration(nullptr, TRUE);
}
