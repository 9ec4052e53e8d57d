#pragma once

#include <gtk/gtkunixprint.h>
#include <webkit/webkit.h>

#include <vector>

#include "platform/linux/glib/gobject_pointer.h"
#include "platform/linux/glib/signal_connection.h"
#include "platform/linux/webkit/print_jobs.h"

namespace orvel {

/// The print dialog of a web view, which opens when the page calls window.print(). It replaces
/// WebKit's own dialog, which runs a nested main loop, in which the application cannot quit.
/// The page's scripts continue while the dialog is open. Main thread only.
class WebKitPrinting {
 public:
  /// Handles the print requests of a view.
  explicit WebKitPrinting(WebKitWebView *view);
  ~WebKitPrinting();
  WebKitPrinting(const WebKitPrinting &) = delete;
  WebKitPrinting &operator=(const WebKitPrinting &) = delete;

 private:
  void openDialog();
  void closeDialog();
  void print();

  const GObjectPointer<WebKitWebView> view_;
  PrintJobs jobs_;
  /// The open dialog, or null.
  GtkPrintUnixDialog *dialog_ = nullptr;
  std::vector<SignalConnection> connections_;
};

}  // namespace orvel
