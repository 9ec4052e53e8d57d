#include "platform/linux/gtk/window_frame.h"

#include <gtest/gtest.h>

namespace orvel {
namespace {

TEST(WindowFrame, StoredFrameIsParsed) {
  for (const WindowFrame &frame : {WindowFrame{1200, 800, false}, WindowFrame{1920, 1053, true}}) {
    EXPECT_EQ(parseFrame(frameText(frame)), frame) << frameText(frame);
  }
  EXPECT_EQ(frameText({1200, 800, true}), "1200 800 maximised");
}

TEST(WindowFrame, MalformedTextIsRejected) {
  for (const char *text : {"", " ", "1200", "1200 ", "1200x800", "0 800", "1200 -800", "1200 800 ",
                           "1200 800 full", " 1200 800", "99999999999 800", "1200 800.5"}) {
    EXPECT_EQ(parseFrame(text), std::nullopt) << text;
  }
}

}  // namespace
}  // namespace orvel
