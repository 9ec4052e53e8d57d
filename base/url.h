#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace orvel {

/// A URL and the parts of it that the application looks at. A plain value.
///
/// The parts mean what Foundation's URL gives: the scheme as written, the host
/// without brackets, the path percent-decoded and without a trailing "/" (the
/// root stays "/"). A part that is absent is the empty text.
struct Url {
  /// The whole URL as written.
  std::string absoluteString;
  std::string scheme;
  std::string host;
  /// Absent when the URL has no port, or when the number does not fit an int.
  std::optional<int> port{};
  std::string path;

  /// Parses a URL or a relative reference by RFC 3986, strictly: no character
  /// is percent-encoded on the caller's behalf. Gives nothing for a text that
  /// is no URL, the empty text included. Any thread.
  static std::optional<Url> parse(std::string_view text);

  /// Resolves a reference against a URL (RFC 3986, 5.2) and returns the absolute
  /// URL. Percent-encodes invalid characters first (percent_encoding.h). Returns nullopt
  /// when the result is still not a reference: for the empty text or a malformed
  /// authority. Any thread.
  static std::optional<Url> resolve(std::string_view reference, const Url &base);

  bool operator==(const Url &) const = default;
};

}  // namespace orvel
