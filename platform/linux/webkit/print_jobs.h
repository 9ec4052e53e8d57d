#pragma once

#include <gtk/gtkunixprint.h>
#include <webkit/webkit.h>

#include <memory>
#include <vector>

namespace orvel {

/// Prints what a view shows, without a dialog and without waiting for a printer.
/// A job that fails ends silently. Main thread only.
///
/// WebKitPrintOperation looks its printer up by name in a nested main loop, which runs
/// until CUPS answers. "Print to file" is found without waiting. For any other printer
/// WebKit therefore draws into a temporary file, which is then sent to the printer.
class PrintJobs {
 public:
  explicit PrintJobs(WebKitWebView *view);
  /// Drops the jobs whose pages are still being rendered.
  ~PrintJobs();
  PrintJobs(const PrintJobs &) = delete;
  PrintJobs &operator=(const PrintJobs &) = delete;

  void start(GtkPrinter *printer, GtkPrintSettings *settings, GtkPageSetup *pageSetup);

 private:
  class RenderJob;

  void finished(const RenderJob *job);

  WebKitWebView *const view_;
  std::vector<std::unique_ptr<RenderJob>> renderJobs_;
};

}  // namespace orvel
