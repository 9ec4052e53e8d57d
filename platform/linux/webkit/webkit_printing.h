#pragma once

#include <gtk/gtkunixprint.h>
#include <webkit/webkit.h>

#include <vector>

#include "platform/linux/glib/gobject_pointer.h"
#include "platform/linux/glib/signal_connection.h"
#include "platform/linux/webkit/print_jobs.h"

namespace orvel {

/// Opens a print dialog when a page asks for it, and prints the view. WebKit's own print
/// dialog runs a nested main loop, in which the application cannot quit. This dialog does
/// not, and scripts of the page continue while it is open. Main thread only.
class WebKitPrinting {
 public:
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
