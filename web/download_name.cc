#include "web/download_name.h"

#include <algorithm>

#include "base/file_name.h"

namespace orvel {

namespace {

// What the common file systems allow (NAME_MAX).
constexpr std::size_t longestName = 255;

/// The longest part of a UTF-8 text that ends with a whole character.
std::string_view shortened(std::string_view text, std::size_t most) {
  if (text.size() <= most) return text;
  const auto isContinuation = [](char byte) {
    return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80U;
  };
  while (most > 0 && isContinuation(text[most])) --most;
  return text.substr(0, most);
}

std::string joined(std::string_view stem, std::string_view middle, std::string_view extension) {
  const std::size_t fixed = middle.size() + extension.size();
  // An extension that long is none that anybody would miss.
  if (fixed >= longestName) return joined(stem, middle, "");
  std::string name(shortened(stem, longestName - fixed));
  name += middle;
  name += extension;
  return name;
}

bool isFileName(std::string_view name) {
  return !name.empty() && name != "." && name != ".." && name.find('\0') == std::string_view::npos;
}

/// An encoded "/" belongs to a component, so that it is cut off before it is
/// decoded.
std::string lastComponent(const Url &url) {
  if (url.path.empty() || url.path == "/") return "";
  std::string_view address = url.absoluteString;
  address = address.substr(0, address.find_first_of("?#"));
  while (address.ends_with('/')) address.remove_suffix(1);
  // A relative address may have no other component before it.
  const std::string component(address.substr(address.rfind('/') + 1));
  const auto decoded = Url::parse("/" + component);
  return decoded && !decoded->path.empty() ? decoded->path.substr(1) : "";
}

}  // namespace

std::string downloadName(const std::optional<std::string> &suggested, const Url &url) {
  for (std::string name : {suggested.value_or(""), lastComponent(url), url.host}) {
    std::replace(name.begin(), name.end(), '/', '-');
    if (!isFileName(name)) continue;
    const auto [stem, extension] = splitFileName(name);
    std::string fitting = joined(stem, "", extension);
    // Shortening a stem without one complete character leaves it empty.
    if (isFileName(fitting)) return fitting;
  }
  return "unknown";
}

std::string numberedName(std::string_view name, int number) {
  const auto [stem, extension] = splitFileName(name);
  return joined(stem, " " + std::to_string(number), extension);
}

}  // namespace orvel
