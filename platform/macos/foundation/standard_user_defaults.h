#pragma once

#include "platform/user_defaults.h"

namespace orvel {

/// NSUserDefaults.standardUserDefaults, in the domain of the bundle identifier. Any thread.
class StandardUserDefaults final : public UserDefaults {
 public:
  /// Removes the process arguments from the defaults (NSArgumentDomain), so that they have
  /// no effect.
  StandardUserDefaults();

  std::optional<std::string> text(std::string_view key) const override;
  void setText(std::string_view key, std::string_view value) override;
};

}  // namespace orvel
