#include "web/download_name.h"

#include <algorithm>

#include "base/file_name.h"

namespace orvel {

namespace {

// In bytes: NAME_MAX of the common file systems.
constexpr std::size_t maxNameSize = 255;

/// Truncates a UTF-8 text to at most `maxSize` bytes without splitting a character.
std::string_view truncated(std::string_view text, std::size_t maxSize) {
  if (text.size() <= maxSize) return text;
  const auto isContinuation = [](char byte) {
    return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80U;
  };
  while (maxSize > 0 && isContinuation(text[maxSize])) --maxSize;
  return text.substr(0, maxSize);
}

/// Returns the name that consists of a stem, a number or nothing (`middle`), and an extension.
/// Truncates the stem when the name would be too long.
std::string joined(std::string_view stem, std::string_view middle, std::string_view extension) {
  const std::size_t fixedSize = middle.size() + extension.size();
  // Drop an extension that leaves no room for the stem.
  if (fixedSize >= maxNameSize) return joined(stem, middle, "");
  std::string name(truncated(stem, maxNameSize - fixedSize));
  name += middle;
  name += extension;
  return name;
}

bool isFileName(std::string_view name) {
  return !name.empty() && name != "." && name != ".." && name.find('\0') == std::string_view::npos;
}

/// Returns the decoded last path component, or the empty text when there is none. Splits
/// before it decodes, because an encoded "/" is part of a component.
std::string lastComponent(const Url &url) {
  if (url.path.empty() || url.path == "/") return "";
  std::string_view address = url.absoluteString;
  address = address.substr(0, address.find_first_of("?#"));
  while (address.ends_with('/')) address.remove_suffix(1);
  // Without a "/", npos + 1 is 0: a relative URL may consist of this component alone.
  const std::string component(address.substr(address.rfind('/') + 1));
  // The "/" keeps a ":" in the component from ending a scheme.
  const auto decoded = Url::parse("/" + component);
  return decoded && !decoded->path.empty() ? decoded->path.substr(1) : "";
}

}  // namespace

std::string downloadName(const std::optional<std::string> &suggested, const Url &url) {
  for (std::string name : {suggested.value_or(""), lastComponent(url), url.host}) {
    std::replace(name.begin(), name.end(), '/', '-');
    if (!isFileName(name)) continue;
    const auto [stem, extension] = splitFileName(name);
    std::string shortened = joined(stem, "", extension);
    // Truncation can empty a malformed stem that consists of UTF-8 continuation bytes.
    if (isFileName(shortened)) return shortened;
  }
  return "unknown";
}

std::string numberedName(std::string_view name, int number) {
  const auto [stem, extension] = splitFileName(name);
  return joined(stem, " " + std::to_string(number), extension);
}

}  // namespace orvel
