#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace orvel {

/// The application bundle and its information entries (Contents/Info.plist).
class Bundle {
 public:
  virtual ~Bundle() = default;

  /// Returns the bundle's folder, with symbolic links resolved. Any thread.
  virtual std::string path() const = 0;
  /// Returns the value of a string entry. Returns nullopt when the entry is missing or
  /// not a string, or when Info.plist cannot be read. Any thread.
  virtual std::optional<std::string> infoText(std::string_view key) const = 0;
};

}  // namespace orvel
