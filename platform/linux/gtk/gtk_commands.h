#pragma once

#include <gtk/gtk.h>

#include <functional>
#include <string>

#include "platform/linux/gtk/gtk_application.h"
#include "platform/menu_bar.h"

namespace orvel {

/// The contents of the About dialog.
struct AboutInformation {
  std::string name;
  std::string version;
  /// The path of an image file.
  std::string icon;
};

/// Returns whether a command is undo, redo, cut, copy, paste or select all, which apply to the
/// focused widget. Any thread.
bool isEditingCommand(MenuAction action);

struct EditingCommand;

/// The commands of the menu bar. Main thread only.
class GtkCommands {
 public:
  GtkCommands(GtkApplicationHost &application, AboutInformation about)
      : application_(application), about_(std::move(about)) {}

  /// Carries out a command that the user gave in a window.
  void perform(MenuAction action, GtkWindow *window);

  /// Called with each About dialog before it is shown.
  std::function<void(GtkWindow *)> prepareAbout;
  /// Carries out an editing command when no GTK text field has the focus. Gets WebKit's name of
  /// the command, the focused widget and the content of the window; either widget may be null.
  std::function<void(const char *command, GtkWidget *focus, GtkWidget *content)> editPage;

 private:
  void edit(const EditingCommand &command, GtkWindow *window);
  void showAbout(GtkWindow *parent);

  GtkApplicationHost &application_;
  const AboutInformation about_;
};

}  // namespace orvel
