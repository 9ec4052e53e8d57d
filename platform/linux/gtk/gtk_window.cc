#include "platform/linux/gtk/gtk_window.h"

#include <algorithm>
#include <utility>

#include "platform/linux/gtk/window_frame.h"

namespace orvel {

namespace {

constexpr guint settledMilliseconds = 400;

GtkWidget *makeHeader(const WindowConfiguration &configuration, GtkWidget *menuBar) {
  GtkWidget *header = gtk_header_bar_new();
  gtk_header_bar_pack_start(GTK_HEADER_BAR(header), menuBar);
  if (!configuration.titleVisible) {
    gtk_header_bar_set_title_widget(GTK_HEADER_BAR(header),
                                    gtk_box_new(GTK_ORIENTATION_HORIZONTAL, 0));
  }
  return header;
}

int pixels(double points) { return static_cast<int>(points); }

}  // namespace

GtkMainWindow::GtkMainWindow(const WindowConfiguration &configuration, GtkWidget *content,
                             GtkApplicationHost &application, GtkMenuBar &menuBar,
                             UserDefaults &defaults)
    : application_(application),
      defaults_(defaults),
      autosaveName_(configuration.frameAutosaveName),
      window_(GTK_WINDOW(gtk_window_new())),
      minimumWidth_(configuration.minimumWidth),
      minimumHeight_(configuration.minimumHeight) {
  gtk_widget_add_css_class(GTK_WIDGET(window_), "orvel");
  gtk_window_set_title(window_, configuration.title.c_str());
  // Before the menus are in the window: each key would be told to each of their items.
  menuBar.addApplicationKeys(window_);
  menuBar.addEditingKeys(window_);
  GtkWidget *menus = menuBar.makeWidget();
  fullScreenBar_.emplace(window_, makeHeader(configuration, menus), menus, content);
  monitors_.emplace(window_, [this] { fitMinimumSize(); });
  restoreFrame(configuration);
  application_.addWindow(window_);
  application_.beforeEnd([this] { keepFrame(); });

  const auto changed = G_CALLBACK(+[](GtkMainWindow *window) { window->frameChanged(); });
  g_signal_connect_swapped(window_, "notify::default-width", changed, this);
  g_signal_connect_swapped(window_, "notify::default-height", changed, this);
  g_signal_connect_swapped(window_, "notify::maximized", changed, this);
  g_signal_connect_swapped(window_, "close-request", G_CALLBACK(+[](GtkMainWindow *window) {
                             window->closed();
                             return gboolean{TRUE};
                           }),
                           this);
}

GtkMainWindow::~GtkMainWindow() {
  application_.beforeEnd(nullptr);
  g_clear_handle_id(&keeping_, g_source_remove);
  g_signal_handlers_disconnect_by_data(window_, this);
  monitors_.reset();
  fullScreenBar_.reset();
  gtk_window_destroy(window_);
}

std::optional<Rect> GtkMainWindow::room() const {
  const auto monitor = monitors_->monitor();
  return monitor ? std::optional(visibleFrame(monitor.get())) : std::nullopt;
}

void GtkMainWindow::restoreFrame(const WindowConfiguration &configuration) {
  fitMinimumSize();
  const Rect room = this->room().value_or(configuration.contentRect);
  const auto kept = parseFrame(defaults_.text(autosaveName_).value_or(""));
  const WindowFrame frame = kept.value_or(WindowFrame{
      pixels(configuration.contentRect.width), pixels(configuration.contentRect.height), true});
  const auto fitted = [](int size, double minimum, double most) {
    return std::clamp(size, pixels(std::min(minimum, most)), pixels(most));
  };
  gtk_window_set_default_size(window_, fitted(frame.width, minimumWidth_, room.width),
                              fitted(frame.height, minimumHeight_, room.height));
  if (frame.maximised) gtk_window_maximize(window_);
}

// The window must fit a screen that is smaller than the minimum size.
void GtkMainWindow::fitMinimumSize() {
  const auto room = this->room();
  const double width = room ? std::min(minimumWidth_, room->width) : minimumWidth_;
  const double height = room ? std::min(minimumHeight_, room->height) : minimumHeight_;
  gtk_widget_set_size_request(GTK_WIDGET(window_), pixels(width), pixels(height));
}

void GtkMainWindow::makeKeyAndOrderFront() {
  gtk_window_present(window_);
  gtk_widget_grab_focus(contentOf(window_));
}

void GtkMainWindow::frameChanged() {
  g_clear_handle_id(&keeping_, g_source_remove);
  keeping_ = g_timeout_add_once(
      settledMilliseconds,
      +[](gpointer window) {
        auto *self = static_cast<GtkMainWindow *>(window);
        self->keeping_ = 0;
        self->keepFrame();
      },
      this);
}

void GtkMainWindow::keepFrame() {
  // A hidden window has forgotten that it filled the screen.
  if (autosaveName_.empty() || !gtk_widget_get_visible(GTK_WIDGET(window_))) return;
  WindowFrame frame;
  gtk_window_get_default_size(window_, &frame.width, &frame.height);
  frame.maximised = gtk_window_is_maximized(window_);
  const std::string text = frameText(frame);
  if (defaults_.text(autosaveName_) != text) defaults_.setText(autosaveName_, text);
}

void GtkMainWindow::closed() {
  keepFrame();
  gtk_widget_set_visible(GTK_WIDGET(window_), FALSE);
  application_.lastWindowClosed();
}

}  // namespace orvel
