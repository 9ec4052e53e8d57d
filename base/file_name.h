#pragma once

#include <string_view>

namespace orvel {

/// The two parts of a file name, as views into the name.
struct FileName {
  std::string_view stem;
  /// Includes the full stop. Empty when the name has no extension.
  std::string_view extension;
};

/// Splits a file name (UTF-8, one path component) before its last full stop, as
/// Foundation does. A name has no extension when the full stop is its first or last
/// character, or when a space or a bidirectional control occurs anywhere after it:
/// "Quote v1.2 client" has no extension. Any thread.
FileName splitFileName(std::string_view name);

}  // namespace orvel
