#include "platform/linux/gtk/gtk_commands.h"

#include "platform/linux/glib/gobject_pointer.h"
#include "platform/linux/gtk/full_screen_bar.h"

namespace orvel {

namespace {

/// Returns the action of GtkText and GtkTextView for an editing command, or null for any other
/// command.
const char *textAction(MenuAction action) {
  switch (action) {
    case MenuAction::undo:
      return "text.undo";
    case MenuAction::redo:
      return "text.redo";
    case MenuAction::cut:
      return "clipboard.cut";
    case MenuAction::copy:
      return "clipboard.copy";
    case MenuAction::paste:
      return "clipboard.paste";
    case MenuAction::selectAll:
      return "selection.select-all";
    default:
      return nullptr;
  }
}

void toggleFullScreen(GtkWindow *window) {
  if (gtk_window_is_fullscreen(window)) {
    gtk_window_unfullscreen(window);
  } else {
    gtk_window_fullscreen(window);
  }
}

}  // namespace

bool isEditingCommand(MenuAction action) { return textAction(action) != nullptr; }

void GtkCommands::perform(MenuAction action, GtkWindow *window) {
  ApplicationDelegate *delegate = application_.delegate();
  switch (action) {
    case MenuAction::none:
      return;
    case MenuAction::orderFrontStandardAboutPanel:
      return showAbout(window);
    case MenuAction::zoekUpdateMenu:
      return delegate->zoekUpdateMenu();
    case MenuAction::kiesAdres:
      return delegate->kiesAdres();
    case MenuAction::reloadPage:
      return delegate->reloadPage();
    case MenuAction::terminate:
      return application_.terminate();
    case MenuAction::hide:
    case MenuAction::performMiniaturize:
      return gtk_window_minimize(window);
    case MenuAction::toggleFullScreen:
      return toggleFullScreen(window);
    case MenuAction::undo:
    case MenuAction::redo:
    case MenuAction::cut:
    case MenuAction::copy:
    case MenuAction::paste:
    case MenuAction::selectAll:
      return edit(action, window);
  }
}

void GtkCommands::edit(MenuAction action, GtkWindow *window) {
  GtkWidget *focus = gtk_window_get_focus(window);
  if (focus != nullptr && (GTK_IS_TEXT(focus) || GTK_IS_TEXT_VIEW(focus))) {
    gtk_widget_activate_action(focus, textAction(action), nullptr);
  } else if (editPage) {
    // The focus may still be on an item of the menu bar. Even then the command is for the page.
    editPage(action, focus, contentOf(window));
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
