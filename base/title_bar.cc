#include "base/title_bar.h"

#include <cmath>
#include <utility>

namespace orvel {

namespace {

/// A movement by at most this distance, in points, between a press and its release still counts
/// as a click. WebKit starts to drag page content after the same distance.
constexpr double clickTolerance = 3;

}  // namespace

TitleBarDoubleClick titleBarDoubleClick(std::string_view preference) {
  if (preference == "None") return TitleBarDoubleClick::none;
  if (preference == "Minimize") return TitleBarDoubleClick::miniaturize;
  // "Maximize", and "Fill" from macOS 15 on. AppKit has no public method for "Fill".
  return TitleBarDoubleClick::zoom;
}

void TitleBarMouse::press(bool onTitleBar, double x, double y) {
  state_ = onTitleBar ? State::pressedOnTitleBar : State::idle;
  pressX_ = x;
  pressY_ = y;
}

MouseEventUse TitleBarMouse::drag(double x, double y) {
  if (state_ == State::movingWindow) return MouseEventUse::none;
  const bool isClick = std::hypot(x - pressX_, y - pressY_) <= clickTolerance;
  if (state_ == State::idle || isClick) return MouseEventUse::page;
  state_ = State::movingWindow;
  return MouseEventUse::startWindowDrag;
}

MouseEventUse TitleBarMouse::release(int clickCount) {
  const State before = std::exchange(state_, State::idle);
  if (before == State::movingWindow) return MouseEventUse::none;
  const bool isDoubleClick = before == State::pressedOnTitleBar && clickCount == 2;
  return isDoubleClick ? MouseEventUse::pageAndDoubleClick : MouseEventUse::page;
}

}  // namespace orvel
