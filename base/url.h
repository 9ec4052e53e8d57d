#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace orvel {

/// A URL and the parts of it that the application uses. A plain value.
///
/// The parts are those of Foundation's URL: the scheme as written, the host without
/// brackets, the path percent-decoded and without a trailing "/" (the root is "/"). An
/// absent part is the empty text.
struct Url {
  /// The whole URL as written.
  std::string absoluteString;
  std::string scheme;
  std::string host;
  /// Absent when the URL has no port or the number does not fit into an int.
  std::optional<int> port{};
  std::string path;

  /// Parses a URL or a relative reference (RFC 3986). Strict: does not percent-encode
  /// invalid characters. Returns nullopt for a text that is not a URL, including the
  /// empty text. Any thread.
  static std::optional<Url> parse(std::string_view text);

  /// Resolves a reference against a URL (RFC 3986, 5.2) and returns the absolute
  /// URL. Percent-encodes invalid characters first (percent_encoding.h). Returns nullopt
  /// when the reference is empty or still malformed, such as in its authority. Any thread.
  static std::optional<Url> resolve(std::string_view reference, const Url &base);

  bool operator==(const Url &) const = default;
};

}  // namespace orvel
