#include "platform/linux/gtk/gtk_commands.h"

#include <algorithm>
#include <iterator>

#include "platform/linux/glib/gobject_pointer.h"
#include "platform/linux/gtk/full_screen_bar.h"

namespace orvel {

/// A command that applies to the focused widget.
struct EditingCommand {
  MenuAction action;
  /// The action of GtkText and GtkTextView.
  const char *textAction;
  /// The name of the command in WebKit (WebKitEditingCommands.h).
  const char *pageCommand;
};

namespace {

constexpr EditingCommand editingCommands[] = {
    {MenuAction::undo, "text.undo", "Undo"},
    {MenuAction::redo, "text.redo", "Redo"},
    {MenuAction::cut, "clipboard.cut", "Cut"},
    {MenuAction::copy, "clipboard.copy", "Copy"},
    {MenuAction::paste, "clipboard.paste", "Paste"},
    {MenuAction::selectAll, "selection.select-all", "SelectAll"},
};

const EditingCommand *findEditingCommand(MenuAction action) {
  const auto *found = std::ranges::find(editingCommands, action, &EditingCommand::action);
  return found != std::end(editingCommands) ? found : nullptr;
}

void toggleFullScreen(GtkWindow *window) {
  if (gtk_window_is_fullscreen(window)) {
    gtk_window_unfullscreen(window);
  } else {
    gtk_window_fullscreen(window);
  }
}

}  // namespace

bool isEditingCommand(MenuAction action) { return findEditingCommand(action) != nullptr; }

void GtkCommands::perform(MenuAction action, GtkWindow *window) {
  if (const EditingCommand *command = findEditingCommand(action)) return edit(*command, window);
  ApplicationDelegate *delegate = application_.delegate();
  switch (action) {
    case MenuAction::orderFrontStandardAboutPanel:
      return showAbout(window);
    case MenuAction::zoekUpdateMenu:
      return delegate->zoekUpdateMenu();  // Dutch: search for an update.
    case MenuAction::kiesAdres:
      return delegate->kiesAdres();  // Dutch: choose the address of the server.
    case MenuAction::reloadPage:
      return delegate->reloadPage();
    case MenuAction::terminate:
      return application_.terminate();
    case MenuAction::hide:  // GTK cannot hide an application as macOS does.
    case MenuAction::performMiniaturize:
      return gtk_window_minimize(window);
    case MenuAction::toggleFullScreen:
      return toggleFullScreen(window);
    case MenuAction::none:
    case MenuAction::undo:  // This and the following ones are editing commands, handled above.
    case MenuAction::redo:
    case MenuAction::cut:
    case MenuAction::copy:
    case MenuAction::paste:
    case MenuAction::selectAll:
      return;
  }
}

void GtkCommands::edit(const EditingCommand &command, GtkWindow *window) {
  GtkWidget *focus = gtk_window_get_focus(window);
  if (focus != nullptr && (GTK_IS_TEXT(focus) || GTK_IS_TEXT_VIEW(focus))) {
    gtk_widget_activate_action(focus, command.textAction, nullptr);
  } else if (editPage) {
    // The focus may still be on an item of the menu bar. Even then the command is for the page.
    editPage(command.pageCommand, focus, contentOf(window));
  }
}

void GtkCommands::showAbout(GtkWindow *parent) {
  GtkWidget *dialog = gtk_about_dialog_new();
  GtkAboutDialog *about = GTK_ABOUT_DIALOG(dialog);
  gtk_about_dialog_set_program_name(about, about_.name.c_str());
  gtk_about_dialog_set_version(about, about_.version.c_str());
  if (const auto icon = adopt(gdk_texture_new_from_filename(about_.icon.c_str(), nullptr))) {
    gtk_about_dialog_set_logo(about, GDK_PAINTABLE(icon.get()));
  }
  GtkWindow *window = GTK_WINDOW(dialog);
  gtk_widget_add_css_class(dialog, "orvel");
  gtk_window_set_transient_for(window, parent);
  gtk_window_set_modal(window, TRUE);
  gtk_window_set_destroy_with_parent(window, TRUE);
  if (prepareAbout) prepareAbout(window);
  gtk_window_present(window);
}

}  // namespace orvel
