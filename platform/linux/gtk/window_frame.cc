#include "platform/linux/gtk/window_frame.h"

#include <charconv>

namespace orvel {

namespace {

constexpr std::string_view maximisedSuffix = " maximised";

/// Removes a positive number from the start of the text and returns it. Returns nullopt when
/// the text does not start with one.
std::optional<int> takeNumber(std::string_view &text) {
  int number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc() || number <= 0) return std::nullopt;
  text.remove_prefix(static_cast<std::size_t>(end - text.data()));
  return number;
}

}  // namespace

std::string frameText(const WindowFrame &frame) {
  std::string text = std::to_string(frame.width) + " " + std::to_string(frame.height);
  if (frame.maximised) text += maximisedSuffix;
  return text;
}

std::optional<WindowFrame> parseFrame(std::string_view text) {
  const auto width = takeNumber(text);
  if (!width || !text.starts_with(' ')) return std::nullopt;
  text.remove_prefix(1);
  const auto height = takeNumber(text);
  if (!height) return std::nullopt;
  if (!text.empty() && text != maximisedSuffix) return std::nullopt;
  return WindowFrame{.width = *width, .height = *height, .maximised = !text.empty()};
}

}  // namespace orvel
