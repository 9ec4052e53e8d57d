#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace orvel {

/// The user's persistent settings.
class UserDefaults {
 public:
  virtual ~UserDefaults() = default;

  /// Returns the stored text, or nullopt. Any thread.
  virtual std::optional<std::string> text(std::string_view key) const = 0;
  /// Stores a text atomically: a kill at any moment leaves either the old text or the
  /// new one. A text that cannot be written is kept in memory until the process ends. Any thread.
  virtual void setText(std::string_view key, std::string_view value) = 0;
};

}  // namespace orvel
