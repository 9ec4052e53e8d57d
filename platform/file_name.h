#pragma once

#include <string_view>

namespace orvel {

/// A file name and where its extension begins. Views into the name.
struct FileName {
  std::string_view stem;
  /// With its full stop; empty for none.
  std::string_view extension;
};

/// Splits a file name (UTF-8, one path component) before its last full stop, as
/// Foundation does. A name has no extension when that is its first or its last
/// character, nor when a blank or a bidirectional mark follows it: in "Quote v1.2
/// client" the full stop belongs to the text. Any thread.
FileName splitFileName(std::string_view name);

}  // namespace orvel
