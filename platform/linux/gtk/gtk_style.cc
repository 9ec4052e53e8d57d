#include "platform/linux/gtk/gtk_style.h"

#include <gtk/gtk.h>

#include <cmath>
#include <string>

#include "platform/linux/glib/gobject_pointer.h"

namespace orvel {

namespace {

constexpr const char *preferDarkProperty = "gtk-application-prefer-dark-theme";

/// Returns a colour in CSS notation, without its alpha.
std::string cssColor(const Color &color) {
  const auto byte = [](double part) { return std::to_string(std::lround(part * 255)); };
  return "rgb(" + byte(color.red) + "," + byte(color.green) + "," + byte(color.blue) + ")";
}

/// The style sheet. installStyle prepends the definition of the colour orvel_tone. Mixing in the
/// grey #8fa3b8 lightens the dark tone. GtkPanels sets the classes "alert", "message" and
/// "keyboard".
constexpr const char *rules = R"css(
@define-color orvel_text #c3ccd5;
@define-color orvel_bright #eef2f5;
@define-color orvel_raised mix(@orvel_tone, #8fa3b8, 0.11);
@define-color orvel_line mix(@orvel_tone, #8fa3b8, 0.22);
@define-color orvel_accent #8fc7ff;

window.orvel { background: @orvel_tone; color: @orvel_text; }
window.orvel.solid-csd { padding: 0; border: none; box-shadow: none; }
.orvel headerbar, .orvel headerbar:backdrop {
  background: @orvel_tone; color: @orvel_text; border: none; box-shadow: none;
  min-height: 36px; padding: 0 6px;
}
.orvel headerbar button { color: @orvel_text; }
.orvel revealer headerbar, .orvel revealer headerbar:backdrop {
  border-bottom: 1px solid @orvel_line;
}

.orvel menubar { background: none; border: none; box-shadow: none; padding: 0; }
.orvel menubar > item {
  color: @orvel_text; box-shadow: none; border-radius: 6px; padding: 4px 10px; min-height: 16px;
}
.orvel menubar > item:first-child { color: @orvel_bright; font-weight: bold; }
.orvel menubar > item:selected, .orvel menubar > item:hover { background: @orvel_raised; }
.orvel popover.menu > contents {
  background: @orvel_raised; color: @orvel_text; border: 1px solid @orvel_line;
  border-radius: 10px; padding: 5px; font-weight: normal;
}
.orvel popover.menu modelbutton { border-radius: 6px; padding: 4px 10px; min-height: 22px; }
.orvel popover.menu modelbutton:selected, .orvel popover.menu modelbutton:hover {
  background: alpha(@orvel_accent, 0.18); color: @orvel_bright;
}
.orvel popover.menu modelbutton accelerator { color: alpha(@orvel_text, 0.6); }
.orvel popover.menu separator { background: @orvel_line; margin: 4px 6px; }

window.orvel.alert, window.orvel.aboutdialog { background: @orvel_raised; }
window.orvel.aboutdialog headerbar, window.orvel.aboutdialog headerbar:backdrop {
  background: @orvel_raised;
}
.orvel.aboutdialog label { outline: none; caret-color: transparent; }
.orvel.alert scrollbar slider { min-height: 12px; }
.orvel.alert .message { color: @orvel_bright; font-weight: bold; font-size: 1.1em; }
.orvel.alert button, .orvel.alert entry {
  background: mix(@orvel_raised, #8fa3b8, 0.14); color: @orvel_bright;
  border: 1px solid @orvel_line; box-shadow: none; text-shadow: none;
  border-radius: 7px; min-height: 22px;
}
.orvel.alert button { padding: 4px 18px; }
.orvel.alert entry { background: @orvel_tone; padding: 0 8px; }
.orvel.alert entry:focus-within { outline: 2px solid alpha(@orvel_accent, 0.55); outline-offset: -1px; }
.orvel.alert entry selection { background: alpha(@orvel_accent, 0.35); color: @orvel_bright; }
.orvel.alert button:hover { background: mix(@orvel_raised, #8fa3b8, 0.24); }
.orvel.alert button.suggested-action { background: @orvel_accent; color: @orvel_tone; border-color: @orvel_accent; }
.orvel.alert button.suggested-action:hover { background: mix(@orvel_accent, #ffffff, 0.25); }
.orvel.alert.keyboard button:focus, .orvel.alert.keyboard scrolledwindow:focus {
  outline: 2px solid @orvel_bright; outline-offset: 2px;
}
)css";

/// Selects the dark variant of the theme. Does not set the property when it is set already,
/// because GTK would load the theme again.
void keepDark(GtkSettings *settings) {
  gboolean isDark = FALSE;
  g_object_get(settings, preferDarkProperty, &isDark, nullptr);
  if (isDark == FALSE) g_object_set(settings, preferDarkProperty, TRUE, nullptr);
}

}  // namespace

void makeDarkThemeDefault() {
  // GtkSettings loads the theme in its constructor, so only the default value of the
  // property can take effect in time. The class reference is kept for the whole process.
  auto *settings = static_cast<GObjectClass *>(g_type_class_ref(GTK_TYPE_SETTINGS));
  GParamSpec *dark = g_object_class_find_property(settings, preferDarkProperty);
  G_PARAM_SPEC_BOOLEAN(dark)->default_value = TRUE;
}

void installStyle(const Color &tone) {
  const std::string sheet = "@define-color orvel_tone " + cssColor(tone) + ";" + rules;
  const auto provider = adopt(gtk_css_provider_new());
  gtk_css_provider_load_from_data(provider.get(), sheet.data(), static_cast<gssize>(sheet.size()));
  GdkDisplay *display = gdk_display_get_default();
  gtk_style_context_add_provider_for_display(display, GTK_STYLE_PROVIDER(provider.get()),
                                             GTK_STYLE_PROVIDER_PRIORITY_APPLICATION);
  GtkSettings *settings = gtk_settings_get_default();
  keepDark(settings);
  // A new desktop theme may reset the property.
  g_signal_connect(settings, "notify::gtk-application-prefer-dark-theme", G_CALLBACK(keepDark),
                   nullptr);
  // The About dialog focuses a label, whose text would be selected.
  g_object_set(settings, "gtk-label-select-on-focus", FALSE, nullptr);
}

}  // namespace orvel
