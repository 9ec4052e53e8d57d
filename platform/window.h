#pragma once

#include <memory>
#include <optional>
#include <string>

#include "platform/web_view.h"

namespace orvel {

/// A rectangle in the screen's points.
struct Rect {
  double x = 0;
  double y = 0;
  double width = 0;
  double height = 0;

  bool operator==(const Rect &) const = default;
};

/// Components from 0 to 1.
struct Color {
  double red = 0;
  double green = 0;
  double blue = 0;
  double alpha = 1;

  bool operator==(const Color &) const = default;
};

/// How a window looks. Every window has a title bar and can be closed, miniaturized
/// and resized.
struct WindowConfiguration {
  Rect contentRect;
  /// The content runs under the title bar.
  bool fullSizeContentView = false;
  /// For the window list; drawn only when titleVisible.
  std::string title;
  bool titleVisible = true;
  bool titlebarTransparent = false;
  Color backgroundColor;
  double minimumWidth = 0;
  double minimumHeight = 0;
  /// The name under which the frame is kept between runs; a kept frame takes
  /// precedence over the content rectangle.
  std::string frameAutosaveName;
};

/// A window on the screen. Main thread only.
class Window {
 public:
  virtual ~Window() = default;

  /// Shows the window before all others and gives it the keyboard.
  virtual void makeKeyAndOrderFront() = 0;
};

/// A window and the web view that fills it.
struct WebWindow {
  /// Must outlive the window.
  std::unique_ptr<WebView> web;
  std::unique_ptr<Window> window;
};

/// The screen, and the maker of windows. Main thread only.
class WindowSystem {
 public:
  virtual ~WindowSystem() = default;

  /// Returns the part of the main screen that docks and bars leave free, or nullopt when
  /// there is no screen.
  virtual std::optional<Rect> mainScreenVisibleFrame() const = 0;
  /// Makes a web view and a window that it fills. The window is not yet shown. The
  /// delegate must outlive the view.
  virtual WebWindow create(const WindowConfiguration &window, const WebViewConfiguration &web,
                           WebViewDelegate &delegate) = 0;
};

}  // namespace orvel
