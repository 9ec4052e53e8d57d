#include "platform/linux/gtk/gtk_commands.h"

#include <webkit/webkit.h>

#include "platform/linux/glib/gobject_pointer.h"
#include "platform/linux/gtk/full_screen_bar.h"

namespace orvel {

namespace {

struct EditingNames {
  const char *ofPage;
  const char *ofTextField;
};

EditingNames editingNames(MenuAction action) {
  switch (action) {
    case MenuAction::undo:
      return {WEBKIT_EDITING_COMMAND_UNDO, "text.undo"};
    case MenuAction::redo:
      return {WEBKIT_EDITING_COMMAND_REDO, "text.redo"};
    case MenuAction::cut:
      return {WEBKIT_EDITING_COMMAND_CUT, "clipboard.cut"};
    case MenuAction::copy:
      return {WEBKIT_EDITING_COMMAND_COPY, "clipboard.copy"};
    case MenuAction::paste:
      return {WEBKIT_EDITING_COMMAND_PASTE, "clipboard.paste"};
    default:
      return {WEBKIT_EDITING_COMMAND_SELECT_ALL, "selection.select-all"};
  }
}

/// The page of a window, when that is what the window shows.
GtkWidget *pageOf(::GtkWindow *window) {
  GtkWidget *child = contentOf(window);
  return child != nullptr && WEBKIT_IS_WEB_VIEW(child) ? child : nullptr;
}

void edit(MenuAction action, ::GtkWindow *window) {
  const EditingNames names = editingNames(action);
  GtkWidget *target = gtk_window_get_focus(window);
  if (target != nullptr && (GTK_IS_TEXT(target) || GTK_IS_TEXT_VIEW(target))) {
    gtk_widget_activate_action(target, names.ofTextField, nullptr);
    return;
  }
  // An item of the menu bar may still have the focus.
  if (target == nullptr || !WEBKIT_IS_WEB_VIEW(target)) target = pageOf(window);
  if (target == nullptr) return;
  webkit_web_view_execute_editing_command(WEBKIT_WEB_VIEW(target), names.ofPage);
}

void toggleFullScreen(::GtkWindow *window) {
  if (gtk_window_is_fullscreen(window)) {
    gtk_window_unfullscreen(window);
  } else {
    gtk_window_fullscreen(window);
  }
}

}  // namespace

void GtkCommands::perform(MenuAction action, ::GtkWindow *window) {
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

void GtkCommands::showAbout(::GtkWindow *parent) {
  if (GTK_IS_ABOUT_DIALOG(parent)) return;
  GtkWidget *dialog = gtk_about_dialog_new();
  GtkAboutDialog *about = GTK_ABOUT_DIALOG(dialog);
  gtk_about_dialog_set_program_name(about, about_.name.c_str());
  gtk_about_dialog_set_version(about, about_.version.c_str());
  if (const auto icon = adopt(gdk_texture_new_from_filename(about_.icon.c_str(), nullptr))) {
    gtk_about_dialog_set_logo(about, GDK_PAINTABLE(icon.get()));
  }
  ::GtkWindow *window = GTK_WINDOW(dialog);
  gtk_widget_add_css_class(dialog, "orvel");
  gtk_window_set_transient_for(window, parent);
  gtk_window_set_modal(window, TRUE);
  gtk_window_set_destroy_with_parent(window, TRUE);
  if (prepareAbout) prepareAbout(window);
  gtk_window_present(window);
}

}  // namespace orvel
