#include "platform/linux/webkit_caret_toggle.h"

namespace orvel {

void disableCaretToggle(WebKitWebView *view) {
  for (GtkWidget *child = gtk_widget_get_first_child(GTK_WIDGET(view)); child != nullptr;
       child = gtk_widget_get_next_sibling(child)) {
    if (!GTK_IS_TEXT_VIEW(child)) continue;
    // GTK's own handler is G_SIGNAL_RUN_LAST, so stopping the emission skips it.
    g_signal_connect(child, "toggle-cursor-visible", G_CALLBACK(+[](GtkTextView *text) {
                       g_signal_stop_emission_by_name(text, "toggle-cursor-visible");
                     }),
                     nullptr);
  }
}

}  // namespace orvel
