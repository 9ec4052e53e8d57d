#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace orvel {

/// The user's settings that outlive the process.
class UserDefaults {
 public:
  virtual ~UserDefaults() = default;

  /// The stored text, or nothing when there is none. Any thread.
  virtual std::optional<std::string> text(std::string_view key) const = 0;
  /// Stores a text. A process killed at any moment leaves either the old or
  /// the new text. When it cannot be written the new text still holds for this
  /// run. Any thread.
  virtual void setText(std::string_view key, std::string_view value) = 0;
};

}  // namespace orvel
