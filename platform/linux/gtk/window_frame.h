#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace orvel {

/// What is kept of a window between runs; sizes in points. A Wayland window
/// does not know where it stands, so the place is the window manager's.
struct WindowFrame {
  int width = 0;
  int height = 0;
  bool maximised = false;

  bool operator==(const WindowFrame &) const = default;
};

/// The text under which a frame is kept: "1200 800" or "1200 800 maximised".
std::string frameText(const WindowFrame &frame);

/// Reads such a text back. Nothing for any other text.
std::optional<WindowFrame> parseFrame(std::string_view text);

}  // namespace orvel
