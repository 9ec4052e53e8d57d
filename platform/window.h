#pragma once

#include <memory>
#include <optional>
#include <string>

#include "platform/web_view.h"

namespace orvel {

/// A rectangle on the screen, in points. On macOS the origin is the lower left corner. On Linux
/// it is the upper left one, and only the size of a window's rectangle is used.
struct Rect {
  double x = 0;
  double y = 0;
  double width = 0;
  double height = 0;

  bool operator==(const Rect &) const = default;
};

/// A color. The components are between 0 and 1.
struct Color {
  double red = 0;
  double green = 0;
  double blue = 0;
  double alpha = 1;

  bool operator==(const Color &) const = default;
};

/// The configuration of a window. Every window has a title bar and can be closed,
/// miniaturized and resized. A plain value.
struct WindowConfiguration {
  Rect contentRect;
  /// Whether the content extends under the title bar.
  bool fullSizeContentView = false;
  /// Shown in the window list, and in the title bar when titleVisible.
  std::string title;
  bool titleVisible = true;
  bool titlebarTransparent = false;
  Color backgroundColor;
  double minimumWidth = 0;
  double minimumHeight = 0;
  /// The name under which the frame is saved between runs. A saved frame takes precedence
  /// over contentRect.
  std::string frameAutosaveName;
};

/// A window on the screen. Main thread only.
class Window {
 public:
  virtual ~Window() = default;

  /// Shows the window in front of all others and gives it the keyboard focus.
  virtual void makeKeyAndOrderFront() = 0;
};

/// A window and the web view that fills it.
struct WebWindow {
  /// Must outlive the window.
  std::unique_ptr<WebView> web;
  std::unique_ptr<Window> window;
};

/// The main screen and a factory for windows. Main thread only.
class WindowSystem {
 public:
  virtual ~WindowSystem() = default;

  /// Returns the part of the main screen that no dock or menu bar covers, or nullopt when
  /// there is no screen.
  virtual std::optional<Rect> mainScreenVisibleFrame() const = 0;
  /// Creates a web view and a window that it fills. The window is not yet shown. The
  /// delegate must outlive the view.
  virtual WebWindow create(const WindowConfiguration &window, const WebViewConfiguration &web,
                           WebViewDelegate &delegate) = 0;
};

}  // namespace orvel
