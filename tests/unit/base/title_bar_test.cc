#include "base/title_bar.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

namespace orvel {
namespace {

TEST(TitleBar, PreferenceSelectsActionOfDoubleClick) {
  // Values of the macOS user default AppleActionOnDoubleClick. "" means that it is not set.
  const std::vector<std::pair<std::string, TitleBarDoubleClick>> rows{
      {"None", TitleBarDoubleClick::none},     {"Minimize", TitleBarDoubleClick::miniaturize},
      {"Maximize", TitleBarDoubleClick::zoom}, {"Fill", TitleBarDoubleClick::zoom},
      {"", TitleBarDoubleClick::zoom},         {"minimize", TitleBarDoubleClick::zoom},
  };
  for (const auto &[preference, action] : rows) {
    EXPECT_EQ(titleBarDoubleClick(preference), action) << preference;
  }
}

TEST(TitleBar, DragFromTitleBarMovesWindowAndPageGetsNeitherDragsNorRelease) {
  TitleBarMouse mouse;
  // Positions are in points from the lower left corner of the window, as in Cocoa. Only
  // `onTitleBar` says that the press is on the title bar.
  mouse.press(/*onTitleBar=*/true, 100, 700);
  // 4 points from the press; up to 3 points still count as a click.
  EXPECT_EQ(mouse.drag(104, 700), MouseEventUse::startWindowDrag);
  EXPECT_EQ(mouse.drag(100, 700), MouseEventUse::none);
  EXPECT_EQ(mouse.release(/*clickCount=*/1), MouseEventUse::none);
  EXPECT_EQ(mouse.drag(200, 700), MouseEventUse::page) << "without a press";
}

TEST(TitleBar, ClickWithMovementUpToThreePointsGoesToPage) {
  TitleBarMouse mouse;
  mouse.press(/*onTitleBar=*/true, 100, 700);
  EXPECT_EQ(mouse.drag(102, 702), MouseEventUse::page);
  EXPECT_EQ(mouse.drag(100, 697), MouseEventUse::page) << "exactly 3 points";
  EXPECT_EQ(mouse.release(/*clickCount=*/1), MouseEventUse::page);
}

TEST(TitleBar, DragFromPageToTitleBarGoesToPage) {
  TitleBarMouse mouse;
  mouse.press(/*onTitleBar=*/false, 100, 100);
  EXPECT_EQ(mouse.drag(100, 700), MouseEventUse::page);
  EXPECT_EQ(mouse.release(/*clickCount=*/1), MouseEventUse::page);
  EXPECT_EQ(TitleBarMouse().drag(100, 700), MouseEventUse::page) << "without a press";
}

TEST(TitleBar, OnlySecondClickOnTitleBarIsDoubleClick) {
  TitleBarMouse mouse;
  // The fourth click of a quick series has the count 4.
  for (int clickCount = 1; clickCount <= 4; ++clickCount) {
    mouse.press(/*onTitleBar=*/true, 100, 700);
    EXPECT_EQ(mouse.release(clickCount),
              clickCount == 2 ? MouseEventUse::pageAndDoubleClick : MouseEventUse::page)
        << clickCount;
  }
  mouse.press(/*onTitleBar=*/false, 100, 100);
  EXPECT_EQ(mouse.release(/*clickCount=*/2), MouseEventUse::page) << "below the title bar";
  mouse.press(/*onTitleBar=*/true, 100, 700);
  mouse.drag(150, 700);
  EXPECT_EQ(mouse.release(/*clickCount=*/2), MouseEventUse::none) << "after a drag";
}

TEST(TitleBar, PressAfterUnfinishedDragStartsAnew) {
  TitleBarMouse mouse;
  mouse.press(/*onTitleBar=*/true, 100, 700);
  mouse.drag(150, 700);
  // The window may get no release: the window server handles the rest of the drag.
  mouse.press(/*onTitleBar=*/true, 150, 700);
  EXPECT_EQ(mouse.release(/*clickCount=*/1), MouseEventUse::page);
}

}  // namespace
}  // namespace orvel
