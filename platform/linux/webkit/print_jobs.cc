#include "platform/linux/webkit/print_jobs.h"

#include <fcntl.h>
#include <glib/gstdio.h>
#include <unistd.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "platform/linux/files/temporary_file.h"
#include "platform/linux/glib/glib_text.h"
#include "platform/linux/glib/gobject_pointer.h"
#include "platform/linux/glib/signal_connection.h"

namespace orvel {

namespace {

/// Returns GTK's "print to file" printer, or null. It is the only virtual printer, and
/// GTK lists it without waiting for CUPS.
GObjectPointer<GtkPrinter> findFilePrinter() {
  // Shared, because GTK may continue the enumeration after this function has returned.
  using Found = std::shared_ptr<GObjectPointer<GtkPrinter>>;
  const auto found = std::make_shared<GObjectPointer<GtkPrinter>>();
  constexpr gboolean waitForAllPrinters = FALSE;
  gtk_enumerate_printers(
      [](GtkPrinter *printer, gpointer result) -> gboolean {
        if (!gtk_printer_is_virtual(printer)) return FALSE;
        **static_cast<Found *>(result) = retain(printer);
        return TRUE;
      },
      new Found(found), [](gpointer result) { delete static_cast<Found *>(result); },
      waitForAllPrinters);
  return std::move(*found);
}

/// Returns the settings with which WebKit renders a job's pages to a file. GtkPrintJob returns
/// default values for the options that the printer backend handles, so WebKit does not apply
/// those options too.
GObjectPointer<GtkPrintSettings> renderSettings(GtkPrintJob *job, GtkPrinter *filePrinter,
                                                const std::string &uri) {
  auto settings = adopt(gtk_print_settings_copy(gtk_print_job_get_settings(job)));
  gtk_print_settings_set_print_pages(settings.get(), gtk_print_job_get_pages(job));
  int count = 0;
  if (GtkPageRange *ranges = gtk_print_job_get_page_ranges(job, &count); count > 0) {
    gtk_print_settings_set_page_ranges(settings.get(), ranges, count);
  }
  gtk_print_settings_set_page_set(settings.get(), gtk_print_job_get_page_set(job));
  gtk_print_settings_set_n_copies(settings.get(), gtk_print_job_get_num_copies(job));
  gtk_print_settings_set_collate(settings.get(), gtk_print_job_get_collate(job));
  gtk_print_settings_set_reverse(settings.get(), gtk_print_job_get_reverse(job));
  // The scale is a factor in the job, and a percentage in the settings.
  gtk_print_settings_set_scale(settings.get(), gtk_print_job_get_scale(job) * 100);
  gtk_print_settings_set_number_up(settings.get(), static_cast<int>(gtk_print_job_get_n_up(job)));
  gtk_print_settings_set_number_up_layout(settings.get(), gtk_print_job_get_n_up_layout(job));

  const bool acceptsPdf = gtk_printer_accepts_pdf(gtk_print_job_get_printer(job));
  gtk_print_settings_set_printer(settings.get(), gtk_printer_get_name(filePrinter));
  gtk_print_settings_set(settings.get(), GTK_PRINT_SETTINGS_OUTPUT_FILE_FORMAT,
                         acceptsPdf ? "pdf" : "ps");
  gtk_print_settings_set(settings.get(), GTK_PRINT_SETTINGS_OUTPUT_URI, uri.c_str());
  return settings;
}

/// Returns an operation, not started yet, that prints to the printer or file in the settings.
GObjectPointer<WebKitPrintOperation> makeOperation(WebKitWebView *view, GtkPrintSettings *settings,
                                                   GtkPageSetup *pageSetup) {
  auto operation = adopt(webkit_print_operation_new(view));
  webkit_print_operation_set_print_settings(operation.get(), settings);
  webkit_print_operation_set_page_setup(operation.get(), pageSetup);
  return operation;
}

/// Sends a file to a job's printer. The caller may remove the file at once: its content stays
/// readable through the descriptor, which is closed when GTK has sent the job.
void send(GtkPrintJob *job, const std::string &path) {
  const int file = g_open(path.c_str(), O_RDONLY | O_CLOEXEC, 0);
  if (file < 0) return;
  if (!gtk_print_job_set_source_fd(job, file, nullptr)) {
    close(file);
    return;
  }
  gtk_print_job_send(
      job, [](GtkPrintJob *, gpointer, const GError *) {}, GINT_TO_POINTER(file),
      [](gpointer sent) { close(GPOINTER_TO_INT(sent)); });
}

}  // namespace

/// A print job whose pages WebKit renders to a temporary file. The file is removed with this
/// object or when the process exits.
class PrintJobs::RenderJob {
 public:
  RenderJob(GObjectPointer<GtkPrintJob> job, std::unique_ptr<TemporaryFile> file)
      : job_(std::move(job)), file_(std::move(file)) {}
  RenderJob(const RenderJob &) = delete;
  RenderJob &operator=(const RenderJob &) = delete;

  void start(PrintJobs &jobs, GObjectPointer<WebKitPrintOperation> operation) {
    jobs_ = &jobs;
    operation_ = std::move(operation);
    failedConnection_ = SignalConnection(
        operation_.get(), "failed", this, +[](RenderJob *self) { self->failed_ = true; });
    finishedConnection_ = SignalConnection(
        operation_.get(), "finished", this, +[](RenderJob *self) {
          if (!self->failed_) send(self->job_.get(), self->file_->path());
          self->jobs_->finished(self);
        });
    webkit_print_operation_print(operation_.get());
  }

 private:
  const GObjectPointer<GtkPrintJob> job_;
  const std::unique_ptr<TemporaryFile> file_;
  PrintJobs *jobs_ = nullptr;
  GObjectPointer<WebKitPrintOperation> operation_;
  bool failed_ = false;
  SignalConnection failedConnection_;
  SignalConnection finishedConnection_;
};

PrintJobs::PrintJobs(WebKitWebView *view) : view_(view) {}

PrintJobs::~PrintJobs() = default;

void PrintJobs::finished(const RenderJob *job) {
  std::erase_if(renderJobs_, [job](const auto &each) { return each.get() == job; });
}

void PrintJobs::start(GtkPrinter *printer, GtkPrintSettings *settings, GtkPageSetup *pageSetup) {
  if (gtk_printer_is_virtual(printer)) {
    // Needs no CUPS. WebKit keeps a reference to the operation until it has finished.
    webkit_print_operation_print(makeOperation(view_, settings, pageSetup).get());
    return;
  }
  const auto filePrinter = findFilePrinter();
  if (!filePrinter) return;
  // Not an unnamed file: "print to file" calls g_file_replace, which may rename a new file to this
  // path. That is impossible in /proc.
  auto file = std::make_unique<TemporaryFile>(std::vector<std::string>{g_get_tmp_dir()},
                                              TemporaryFile::Kind::hidden);
  if (!file->isOpen()) return;
  const char *title = webkit_web_view_get_title(view_);
  // Created before fileSettings, because the job knows which options the printer backend leaves
  // to WebKit.
  auto job = adopt(gtk_print_job_new(title != nullptr ? title : "", printer, settings, pageSetup));
  const GlibText uri(g_filename_to_uri(file->path().c_str(), nullptr, nullptr));
  const auto fileSettings = renderSettings(job.get(), filePrinter.get(), uri.get());
  renderJobs_.push_back(std::make_unique<RenderJob>(std::move(job), std::move(file)));
  renderJobs_.back()->start(*this, makeOperation(view_, fileSettings.get(), pageSetup));
}

}  // namespace orvel
