#pragma once

#include <string_view>

namespace orvel {

enum class TitleBarDoubleClick { none, miniaturize, zoom };

/// Returns what a double click on a title bar does. `preference` is the value of the macOS user
/// default AppleActionOnDoubleClick. An empty text (the default is not set) or an unknown value
/// stands for zoom, as in macOS. Any thread.
TitleBarDoubleClick titleBarDoubleClick(std::string_view preference);

/// What a window does with an event of the left mouse button.
enum class MouseEventUse {
  /// Gives it to the page.
  page,
  /// Starts to move the window instead.
  startWindowDrag,
  /// Gives it to the page and then does what a double click on a title bar does.
  pageAndDoubleClick,
  /// Drops it.
  none,
};

/// The state of the left mouse button over a page that extends under a transparent title
/// bar. Clicks go to the page; a drag that begins on the title bar moves the window.
/// Positions are in points, in any fixed coordinate system of the window. Used on macOS only. Main
/// thread.
class TitleBarMouse {
 public:
  /// Records a press. The page gets it.
  void press(bool onTitleBar, double x, double y);
  MouseEventUse drag(double x, double y);
  /// The click count is that of the press: 2 for a double click.
  MouseEventUse release(int clickCount);

 private:
  enum class State { idle, pressedOnTitleBar, movingWindow };

  State state_ = State::idle;
  double pressX_ = 0;
  double pressY_ = 0;
};

}  // namespace orvel
