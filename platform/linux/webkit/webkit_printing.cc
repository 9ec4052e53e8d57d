#include "platform/linux/webkit/webkit_printing.h"

#include <utility>

namespace orvel {

namespace {

// The options that WebKit handles when it renders the pages. The dialog offers them for every
// printer.
constexpr int webKitCapabilities = GTK_PRINT_CAPABILITY_PAGE_SET | GTK_PRINT_CAPABILITY_COPIES |
                                   GTK_PRINT_CAPABILITY_COLLATE | GTK_PRINT_CAPABILITY_REVERSE |
                                   GTK_PRINT_CAPABILITY_SCALE | GTK_PRINT_CAPABILITY_NUMBER_UP |
                                   GTK_PRINT_CAPABILITY_NUMBER_UP_LAYOUT;

}  // namespace

WebKitPrinting::WebKitPrinting(WebKitWebView *view) : view_(retain(view)), jobs_(view) {
  connections_.emplace_back(
      view, "print", this, +[](WebKitPrinting *self) {
        self->openDialog();
        return gboolean{TRUE};
      });
  // The dialog closes when the page changes: it must not print a different page.
  connections_.emplace_back(
      view, "load-changed", this, +[](WebKitPrinting *self, WebKitLoadEvent event) {
        if (event == WEBKIT_LOAD_COMMITTED) self->closeDialog();
      });
  connections_.emplace_back(
      view, "web-process-terminated", this, +[](WebKitPrinting *self) { self->closeDialog(); });
}

WebKitPrinting::~WebKitPrinting() { closeDialog(); }

void WebKitPrinting::openDialog() {
  // A page may call window.print() while the dialog is open.
  if (dialog_ != nullptr) return;
  GtkRoot *root = gtk_widget_get_root(GTK_WIDGET(view_.get()));
  if (!GTK_IS_WINDOW(root)) return;
  dialog_ = GTK_PRINT_UNIX_DIALOG(gtk_print_unix_dialog_new(nullptr, GTK_WINDOW(root)));
  gtk_print_unix_dialog_set_manual_capabilities(dialog_, GtkPrintCapabilities(webKitCapabilities));
  gtk_print_unix_dialog_set_embed_page_setup(dialog_, TRUE);
  gtk_window_set_modal(GTK_WINDOW(dialog_), TRUE);
  g_signal_connect_swapped(dialog_, "response", G_CALLBACK(+[](WebKitPrinting *self, int response) {
                             if (response == GTK_RESPONSE_OK) self->print();
                             self->closeDialog();
                           }),
                           this);
  gtk_window_present(GTK_WINDOW(dialog_));
}

void WebKitPrinting::closeDialog() {
  if (dialog_ != nullptr) gtk_window_destroy(GTK_WINDOW(std::exchange(dialog_, nullptr)));
}

void WebKitPrinting::print() {
  GtkPrinter *printer = gtk_print_unix_dialog_get_selected_printer(dialog_);
  if (printer == nullptr) return;
  const auto settings = adopt(gtk_print_unix_dialog_get_settings(dialog_));
  jobs_.start(printer, settings.get(), gtk_print_unix_dialog_get_page_setup(dialog_));
}

}  // namespace orvel
