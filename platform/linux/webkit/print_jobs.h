#pragma once

#include <gtk/gtkunixprint.h>
#include <webkit/webkit.h>

#include <memory>
#include <vector>

namespace orvel {

/// The print jobs of a web view, without a dialog and without a nested main loop. A job that
/// fails ends silently. Main thread only.
///
/// WebKitPrintOperation looks up its printer by name in a nested main loop, which runs until
/// CUPS answers. GTK finds "print to file" without CUPS. For any other printer, WebKit
/// therefore renders to a temporary file, which is then sent to the printer.
class PrintJobs {
 public:
  /// The view must outlive this object.
  explicit PrintJobs(WebKitWebView *view);
  /// Drops the jobs whose pages are still being rendered.
  ~PrintJobs();
  PrintJobs(const PrintJobs &) = delete;
  PrintJobs &operator=(const PrintJobs &) = delete;

  /// Starts a job that prints the view's current page.
  void start(GtkPrinter *printer, GtkPrintSettings *settings, GtkPageSetup *pageSetup);

 private:
  class RenderJob;

  void finished(const RenderJob *job);

  WebKitWebView *const view_;
  std::vector<std::unique_ptr<RenderJob>> renderJobs_;
};

}  // namespace orvel
