#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace orvel {

/// The application bundle and its information entries (Contents/Info.plist).
class Bundle {
 public:
  virtual ~Bundle() = default;

  /// The bundle's folder, with symbolic links resolved. Any thread.
  virtual std::string path() const = 0;
  /// The entry's text. Nothing when the entry is missing, when it is not a
  /// text, or when the information cannot be read. Any thread.
  virtual std::optional<std::string> infoText(std::string_view key) const = 0;
};

}  // namespace orvel
