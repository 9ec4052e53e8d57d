#pragma once

#include <gtk/gtk.h>

#include <memory>
#include <vector>

#include "platform/linux/gtk/gtk_application.h"
#include "platform/linux/gtk/gtk_menu_bar.h"
#include "platform/panels.h"

namespace orvel {

/// Alerts as windows that are modal for the main window. Runs no nested main loop:
/// `runModal` returns at once, and the completion is called from the main loop.
/// QuitDuringDialogs adds the keys that quit. Main thread only.
class GtkPanels final : public Panels {
 public:
  GtkPanels(GtkApplicationHost &application, GtkMenuBar &menuBar);
  /// Closes the open alerts without calling their completions.
  ~GtkPanels() override;
  GtkPanels(const GtkPanels &) = delete;
  GtkPanels &operator=(const GtkPanels &) = delete;

  void runModal(const Alert &alert, std::function<void(AlertAnswer)> completion) override;

 private:
  class AlertWindow;

  void close(const AlertWindow &alert);

  GtkApplicationHost &application_;
  GtkMenuBar &menuBar_;
  std::vector<std::unique_ptr<AlertWindow>> alerts_;
};

}  // namespace orvel
