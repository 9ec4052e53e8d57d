#pragma once

#include <gtk/gtk.h>

#include <memory>
#include <vector>

#include "platform/linux/gtk/gtk_application.h"
#include "platform/linux/gtk/gtk_menu_bar.h"
#include "platform/panels.h"

namespace orvel {

/// Alerts as dialogs that stand before the main window. No loop of their own
/// runs: the completion comes after runModal has returned.
class GtkPanels final : public Panels {
 public:
  GtkPanels(GtkApplicationHost &application, GtkMenuBar &menuBar)
      : application_(application), menuBar_(menuBar) {}

  void runModal(const Alert &alert, std::function<void(AlertAnswer)> completion) override;

 private:
  GtkApplicationHost &application_;
  GtkMenuBar &menuBar_;
};

}  // namespace orvel
