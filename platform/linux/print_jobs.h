#pragma once

#include <gtk/gtkunixprint.h>
#include <webkit/webkit.h>

#include <memory>
#include <vector>

namespace orvel {

/// Prints what a view shows, without a dialog and without waiting for a printer.
/// A job that fails ends silently. Main thread only.
///
/// WebKitPrintOperation looks its printer up by name, in a nested main loop that
/// lasts until CUPS has answered. GTK's "print to file" is found without waiting,
/// so WebKit draws into a file, which is then sent to any other printer.
class PrintJobs {
 public:
  explicit PrintJobs(WebKitWebView *view);
  /// Drops the jobs whose pages are still being drawn.
  ~PrintJobs();
  PrintJobs(const PrintJobs &) = delete;
  PrintJobs &operator=(const PrintJobs &) = delete;

  void start(GtkPrinter *printer, GtkPrintSettings *settings, GtkPageSetup *pageSetup);

 private:
  class Drawing;

  void drawn(const Drawing *drawing);

  WebKitWebView *const view_;
  std::vector<std::unique_ptr<Drawing>> drawings_;
};

}  // namespace orvel
