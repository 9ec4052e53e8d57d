// A window from which one file or address can be dragged: the other half of a
// drop. It ends when the drag has.

#include <gtk/gtk.h>

int main(int argc, char **argv) {
  constexpr int side = 120;
  if (argc != 2 || gtk_init_check() == FALSE) return 1;
  GtkWidget *window = gtk_window_new();
  gtk_window_set_title(GTK_WINDOW(window), "Bron");
  gtk_window_set_default_size(GTK_WINDOW(window), side, side);
  GFile *file = g_file_new_for_commandline_arg(argv[1]);
  GtkDragSource *source = gtk_drag_source_new();
  gtk_drag_source_set_content(source, gdk_content_provider_new_typed(G_TYPE_FILE, file));
  gboolean over = FALSE;
  g_signal_connect_swapped(source, "drag-end",
                           G_CALLBACK(+[](gboolean *dragIsOver) { *dragIsOver = TRUE; }), &over);
  gtk_widget_add_controller(window, GTK_EVENT_CONTROLLER(source));
  gtk_window_present(GTK_WINDOW(window));
  while (over == FALSE) g_main_context_iteration(nullptr, TRUE);
}
