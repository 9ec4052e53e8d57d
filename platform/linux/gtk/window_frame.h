#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace orvel {

/// The state of a window that is saved between runs; sizes in points. The position is not saved,
/// because a Wayland client does not know the positions of its windows.
struct WindowFrame {
  int width = 0;
  int height = 0;
  bool maximised = false;

  bool operator==(const WindowFrame &) const = default;
};

/// Returns a frame as a text for the user defaults: "1200 800" or "1200 800 maximised". Any
/// thread.
std::string frameText(const WindowFrame &frame);

/// Parses the result of `frameText`. Returns nullopt for any other text. Any thread.
std::optional<WindowFrame> parseFrame(std::string_view text);

}  // namespace orvel
