#include "platform/linux/gtk/gtk_window.h"

#include <algorithm>
#include <utility>

#include "platform/linux/gtk/window_frame.h"

namespace orvel {

namespace {

/// Delays saving until the user has stopped resizing the window.
constexpr guint saveDelayMilliseconds = 400;

GtkWidget *makeHeader(const WindowConfiguration &configuration, GtkWidget *menuBar) {
  GtkWidget *header = gtk_header_bar_new();
  gtk_header_bar_pack_start(GTK_HEADER_BAR(header), menuBar);
  if (!configuration.titleVisible) {
    gtk_header_bar_set_title_widget(GTK_HEADER_BAR(header),
                                    gtk_box_new(GTK_ORIENTATION_HORIZONTAL, 0));
  }
  return header;
}

/// Rounds a size down, because GTK's sizes are integers.
int wholePoints(double points) { return static_cast<int>(points); }

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
  // Called before the menus are made, because GTK notifies every menu item of each new shortcut.
  menuBar.addApplicationKeys(window_);
  menuBar.addEditingKeys(window_);
  GtkWidget *menus = menuBar.makeWidget();
  fullScreenBar_.emplace(window_, makeHeader(configuration, menus), menus, content);
  monitorWatch_.emplace(window_, [this] { fitMinimumSize(); });
  restoreFrame(configuration);
  application_.setMainWindow(window_);
  application_.setTerminationHandler([this] { saveFrame(); });

  for (const char *signal :
       {"notify::default-width", "notify::default-height", "notify::maximized"}) {
    connections_.emplace_back(
        window_, signal, this, +[](GtkMainWindow *window) { window->frameChanged(); });
  }
  connections_.emplace_back(
      window_, "close-request", this, +[](GtkMainWindow *window) {
        window->closeRequested();
        return gboolean{TRUE};
      });
}

GtkMainWindow::~GtkMainWindow() {
  application_.setTerminationHandler(nullptr);
  g_clear_handle_id(&saveTimer_, g_source_remove);
  connections_.clear();
  monitorWatch_.reset();
  fullScreenBar_.reset();
  gtk_window_destroy(window_);
}

std::optional<Rect> GtkMainWindow::visibleArea() const {
  const auto monitor = monitorWatch_->monitor();
  return monitor ? std::optional(visibleFrame(monitor.get())) : std::nullopt;
}

void GtkMainWindow::restoreFrame(const WindowConfiguration &configuration) {
  fitMinimumSize();
  const Rect area = visibleArea().value_or(configuration.contentRect);
  const auto saved = parseFrame(defaults_.text(autosaveName_).value_or(""));
  // Without a saved frame, the window starts maximised. contentRect is then its size when the user
  // unmaximises it.
  const WindowFrame frame =
      saved.value_or(WindowFrame{.width = wholePoints(configuration.contentRect.width),
                                 .height = wholePoints(configuration.contentRect.height),
                                 .maximised = true});
  const auto fitted = [](int size, double minimum, double maximum) {
    return std::clamp(size, wholePoints(std::min(minimum, maximum)), wholePoints(maximum));
  };
  gtk_window_set_default_size(window_, fitted(frame.width, minimumWidth_, area.width),
                              fitted(frame.height, minimumHeight_, area.height));
  if (frame.maximised) gtk_window_maximize(window_);
}

/// Sets the minimum size. Reduces it to the visible area, so that the window fits a small screen.
void GtkMainWindow::fitMinimumSize() {
  const auto area = visibleArea();
  const double width = area ? std::min(minimumWidth_, area->width) : minimumWidth_;
  const double height = area ? std::min(minimumHeight_, area->height) : minimumHeight_;
  gtk_widget_set_size_request(GTK_WIDGET(window_), wholePoints(width), wholePoints(height));
}

void GtkMainWindow::makeKeyAndOrderFront() {
  gtk_window_present(window_);
  gtk_widget_grab_focus(contentOf(window_));
}

void GtkMainWindow::frameChanged() {
  g_clear_handle_id(&saveTimer_, g_source_remove);
  saveTimer_ = g_timeout_add_once(
      saveDelayMilliseconds,
      +[](gpointer window) {
        auto *self = static_cast<GtkMainWindow *>(window);
        self->saveTimer_ = 0;
        self->saveFrame();
      },
      this);
}

void GtkMainWindow::saveFrame() {
  // GTK resets the maximised state when it hides a window.
  if (autosaveName_.empty() || !gtk_widget_get_visible(GTK_WIDGET(window_))) return;
  WindowFrame frame;
  gtk_window_get_default_size(window_, &frame.width, &frame.height);
  frame.maximised = gtk_window_is_maximized(window_);
  const std::string text = frameText(frame);
  if (defaults_.text(autosaveName_) != text) defaults_.setText(autosaveName_, text);
}

void GtkMainWindow::closeRequested() {
  saveFrame();
  gtk_widget_set_visible(GTK_WIDGET(window_), FALSE);
  application_.mainWindowCloseRequested();
}

}  // namespace orvel
