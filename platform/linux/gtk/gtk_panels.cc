#include "platform/linux/gtk/gtk_panels.h"

#include <algorithm>
#include <memory>
#include <string>
#include <utility>

#include "platform/linux/glib/glib_text.h"

namespace orvel {

namespace {

// Sizes in points.
constexpr int margin = 24;
constexpr int spacing = 12;
constexpr int minTextWidth = 340;
constexpr int maxTextHeight = 420;
// Maximum lengths in characters.
constexpr int maxLineLength = 60;
// Taskbars and window switchers usually show less of a title.
constexpr glong maxTitleLength = 80;
// GTK needs seconds to lay out a text that is much longer.
constexpr glong maxTextLength = 10'000;

/// Returns the text, or its first `maxLength` characters and the ellipsis when it is longer.
std::string truncated(const std::string &text, glong maxLength, const char *ellipsis) {
  if (g_utf8_strlen(text.c_str(), -1) <= maxLength) return text;
  const GlibText beginning(g_utf8_substring(text.c_str(), 0, maxLength));
  return std::string(beginning.get()) + ellipsis;
}

/// Returns a text of an alert, truncated to maxTextLength.
std::string limitedText(const std::string &text) { return truncated(text, maxTextLength, "…"); }

}  // namespace

/// The window of an alert, which closes with this object.
class GtkPanels::AlertWindow {
 public:
  /// Called at most once, when a button is activated or the window is closed. May destroy
  /// the alert.
  using Answered = std::function<void(const AlertWindow &, const AlertAnswer &)>;

  AlertWindow(const Alert &alert, Answered answered)
      : answered_(std::move(answered)), window_(makeWindow()) {
    gtk_widget_add_css_class(GTK_WIDGET(window_), "orvel");
    gtk_widget_add_css_class(GTK_WIDGET(window_), "alert");
    gtk_window_set_resizable(window_, FALSE);
    gtk_window_set_title(window_, truncated(alert.messageText, maxTitleLength, "").c_str());
    // Instead of a title bar, a GtkWindowHandle makes the whole alert draggable.
    GtkWidget *hiddenTitleBar = gtk_box_new(GTK_ORIENTATION_HORIZONTAL, 0);
    gtk_widget_set_visible(hiddenTitleBar, FALSE);
    gtk_window_set_titlebar(window_, hiddenTitleBar);
    GtkWidget *handle = gtk_window_handle_new();
    gtk_window_handle_set_child(GTK_WINDOW_HANDLE(handle), makeContent(alert));
    gtk_window_set_child(window_, handle);
    g_signal_connect_swapped(window_, "close-request", G_CALLBACK(+[](AlertWindow *self) {
                               self->answer(std::nullopt);
                               return gboolean{TRUE};
                             }),
                             this);
    closeOnEscape();
    showFocusFromFirstKey();
    describe(alert);
  }
  ~AlertWindow() { gtk_window_destroy(window_); }
  AlertWindow(const AlertWindow &) = delete;
  AlertWindow &operator=(const AlertWindow &) = delete;

  GtkWindow *window() const { return window_; }

  /// Focuses the text field and selects its text, or focuses the default button.
  void focus() {
    if (field_ != nullptr) {
      gtk_widget_grab_focus(field_);
      gtk_editable_select_region(GTK_EDITABLE(field_), 0, -1);
    } else {
      gtk_widget_grab_focus(gtk_window_get_default_widget(window_));
    }
  }

 private:
  /// Creates the window. "accessible-role" can be set only at construction.
  static GtkWindow *makeWindow() {
    return GTK_WINDOW(g_object_new(GTK_TYPE_WINDOW, "accessible-role",
                                   GTK_ACCESSIBLE_ROLE_ALERT_DIALOG, nullptr));
  }

  /// Sets the accessible name and description. Relations do not work here: GTK 4.8 ignores
  /// DESCRIBED_BY, and prefers the title, which may be truncated, to LABELLED_BY.
  void describe(const Alert &alert) {
    gtk_accessible_update_property(GTK_ACCESSIBLE(window_), GTK_ACCESSIBLE_PROPERTY_LABEL,
                                   limitedText(alert.messageText).c_str(),
                                   GTK_ACCESSIBLE_PROPERTY_DESCRIPTION,
                                   limitedText(alert.informativeText).c_str(), -1);
  }

  GtkWidget *makeContent(const Alert &alert) {
    GtkWidget *content = gtk_box_new(GTK_ORIENTATION_VERTICAL, spacing);
    gtk_widget_set_margin_start(content, margin);
    gtk_widget_set_margin_end(content, margin);
    gtk_widget_set_margin_top(content, margin);
    gtk_widget_set_margin_bottom(content, margin);
    gtk_box_append(GTK_BOX(content), makeText(alert));
    if (alert.textField) gtk_box_append(GTK_BOX(content), makeField(*alert.textField));
    gtk_box_append(GTK_BOX(content), makeButtons(alert));
    return content;
  }

  /// Makes the text, which scrolls when it is long, so that the buttons stay on the screen.
  GtkWidget *makeText(const Alert &alert) {
    GtkWidget *text = gtk_box_new(GTK_ORIENTATION_VERTICAL, spacing);
    message_ = makeLabel(alert.messageText, "message");
    gtk_box_append(GTK_BOX(text), message_);
    if (!alert.informativeText.empty()) {
      gtk_box_append(GTK_BOX(text), makeLabel(alert.informativeText, "information"));
    }
    GtkWidget *widget = gtk_scrolled_window_new();
    auto *scroller = GTK_SCROLLED_WINDOW(widget);
    gtk_scrolled_window_set_policy(scroller, GTK_POLICY_NEVER, GTK_POLICY_AUTOMATIC);
    gtk_scrolled_window_set_propagate_natural_width(scroller, TRUE);
    gtk_scrolled_window_set_propagate_natural_height(scroller, TRUE);
    gtk_scrolled_window_set_max_content_height(scroller, maxTextHeight);
    gtk_scrolled_window_set_child(scroller, text);
    // GTK 4.8 leaves a handler of a destroyed scrolled window connected to the settings. The
    // handler crashes when "gtk-overlay-scrolling" changes.
    g_signal_connect(widget, "destroy", G_CALLBACK(+[](GtkWidget *destroyed) {
                       g_signal_handlers_disconnect_by_data(gtk_settings_get_default(), destroyed);
                     }),
                     nullptr);
    scrollByPageKeys(widget);
    // The Tab key stops at the text only when it needs scrolling.
    gtk_widget_set_can_focus(widget, FALSE);
    g_signal_connect_object(gtk_scrolled_window_get_vadjustment(scroller), "changed",
                            G_CALLBACK(+[](GtkAdjustment *adjustment, GtkWidget *scrolled) {
                              gtk_widget_set_can_focus(
                                  scrolled, gtk_adjustment_get_upper(adjustment) >
                                                gtk_adjustment_get_page_size(adjustment));
                            }),
                            widget, G_CONNECT_DEFAULT);
    return widget;
  }

  static GtkWidget *makeLabel(const std::string &text, const char *styleClass) {
    GtkWidget *label = gtk_label_new(limitedText(text).c_str());
    gtk_widget_add_css_class(label, styleClass);
    gtk_label_set_wrap(GTK_LABEL(label), TRUE);
    gtk_label_set_wrap_mode(GTK_LABEL(label), PANGO_WRAP_WORD_CHAR);
    gtk_label_set_max_width_chars(GTK_LABEL(label), maxLineLength);
    gtk_label_set_xalign(GTK_LABEL(label), 0);
    gtk_widget_set_size_request(label, minTextWidth, -1);
    return label;
  }

  GtkWidget *makeField(const AlertTextField &field) {
    field_ = gtk_entry_new();
    gtk_editable_set_text(GTK_EDITABLE(field_), field.text.c_str());
    gtk_entry_set_activates_default(GTK_ENTRY(field_), TRUE);
    gtk_accessible_update_relation(GTK_ACCESSIBLE(field_), GTK_ACCESSIBLE_RELATION_LABELLED_BY,
                                   message_, nullptr, -1);
    gtk_widget_set_halign(field_, GTK_ALIGN_START);
    gtk_widget_set_size_request(field_, static_cast<int>(field.width),
                                static_cast<int>(field.height));
    return field_;
  }

  /// Makes the row of buttons. The first button is the default and stands at the end of the
  /// row, as usual in GTK.
  GtkWidget *makeButtons(const Alert &alert) {
    const std::vector<std::string> titles =
        alert.buttons.empty() ? std::vector<std::string>{"OK"} : alert.buttons;
    GtkWidget *row = gtk_box_new(GTK_ORIENTATION_HORIZONTAL, spacing);
    gtk_widget_set_halign(row, GTK_ALIGN_END);
    gtk_widget_set_margin_top(row, spacing);
    for (int index = 0; const std::string &title : titles) {
      GtkWidget *button = gtk_button_new_with_label(title.c_str());
      if (index == 0) {
        gtk_widget_add_css_class(button, "suggested-action");
        gtk_window_set_default_widget(window_, button);
      }
      g_object_set_data(G_OBJECT(button), "index", GINT_TO_POINTER(index));
      g_signal_connect(
          button, "clicked", G_CALLBACK(+[](GtkButton *clicked, AlertWindow *self) {
            self->answer(GPOINTER_TO_INT(g_object_get_data(G_OBJECT(clicked), "index")));
          }),
          this);
      gtk_box_prepend(GTK_BOX(row), button);
      ++index;
    }
    return row;
  }

  void closeOnEscape() {
    auto *keys = GTK_SHORTCUT_CONTROLLER(gtk_shortcut_controller_new());
    gtk_shortcut_controller_add_shortcut(
        keys, shortcut(GDK_KEY_Escape, gtk_named_action_new("window.close")));
    gtk_widget_add_controller(GTK_WIDGET(window_), GTK_EVENT_CONTROLLER(keys));
  }

  /// Shows the focus ring from the first key press on, with the class "keyboard" of gtk_style.cc.
  /// GTK's own ring disappears three seconds after each key.
  void showFocusFromFirstKey() {
    GtkEventController *keys = gtk_event_controller_key_new();
    gtk_event_controller_set_propagation_phase(keys, GTK_PHASE_CAPTURE);
    g_signal_connect_swapped(keys, "key-pressed", G_CALLBACK(+[](GtkWidget *window) {
                               gtk_widget_add_css_class(window, "keyboard");
                               return gboolean{FALSE};
                             }),
                             window_);
    gtk_widget_add_controller(GTK_WIDGET(window_), keys);
  }

  /// Makes Page Up and Page Down scroll the text regardless of the focus.
  static void scrollByPageKeys(GtkWidget *scroller) {
    auto *keys = GTK_SHORTCUT_CONTROLLER(gtk_shortcut_controller_new());
    gtk_shortcut_controller_set_scope(keys, GTK_SHORTCUT_SCOPE_GLOBAL);
    constexpr gboolean isHorizontal = FALSE;
    for (const auto &[key, step] : {std::pair{guint{GDK_KEY_Page_Up}, GTK_SCROLL_PAGE_BACKWARD},
                                    std::pair{guint{GDK_KEY_Page_Down}, GTK_SCROLL_PAGE_FORWARD}}) {
      GtkShortcut *scroll = shortcut(key, gtk_signal_action_new("scroll-child"));
      gtk_shortcut_set_arguments(scroll, g_variant_new("(ib)", step, isHorizontal));
      gtk_shortcut_controller_add_shortcut(keys, scroll);
    }
    gtk_widget_add_controller(scroller, GTK_EVENT_CONTROLLER(keys));
  }

  static GtkShortcut *shortcut(guint key, GtkShortcutAction *action) {
    return gtk_shortcut_new(gtk_keyval_trigger_new(key, GdkModifierType{}), action);
  }

  /// Calls `answered_` with the index of a button, or with nullopt when the window was closed.
  void answer(std::optional<int> button) {
    AlertAnswer answer;
    answer.button = button;
    if (field_ != nullptr) answer.text = gtk_editable_get_text(GTK_EDITABLE(field_));
    // Moved to the stack, because the call may destroy this object.
    const auto answered = std::move(answered_);
    answered(*this, answer);
  }

  Answered answered_;
  GtkWindow *const window_;
  GtkWidget *message_ = nullptr;
  GtkWidget *field_ = nullptr;
};

GtkPanels::GtkPanels(GtkApplicationHost &application, GtkMenuBar &menuBar)
    : application_(application), menuBar_(menuBar) {}

GtkPanels::~GtkPanels() = default;

void GtkPanels::runModal(const Alert &alert, std::function<void(AlertAnswer)> completion) {
  alerts_.push_back(std::make_unique<AlertWindow>(
      alert, [this, completion = std::move(completion)](const AlertWindow &answered,
                                                        const AlertAnswer &answer) {
        close(answered);
        // The main loop may still dispatch queued events after g_application_quit. Then
        // the completion must not be called any more (Panels::runModal).
        if (!application_.isMainLoopEnding()) completion(answer);
      }));
  AlertWindow &opened = *alerts_.back();
  gtk_window_set_transient_for(opened.window(), application_.mainWindow());
  gtk_window_set_modal(opened.window(), TRUE);
  menuBar_.addEditingKeys(opened.window());
  gtk_window_present(opened.window());
  opened.focus();
}

void GtkPanels::close(const AlertWindow &alert) {
  const auto found = std::find_if(alerts_.begin(), alerts_.end(),
                                  [&](const auto &each) { return each.get() == &alert; });
  // Destroyed after the removal from alerts_, because gtk_window_destroy runs signal handlers.
  const std::unique_ptr<AlertWindow> closed = std::move(*found);
  alerts_.erase(found);
}

}  // namespace orvel
