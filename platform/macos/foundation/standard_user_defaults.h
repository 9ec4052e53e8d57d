#pragma once

#include "platform/user_defaults.h"

namespace orvel {

/// The standard user defaults, those of the bundle's identifier.
class StandardUserDefaults final : public UserDefaults {
 public:
  /// Takes the process's arguments out of the defaults: none of them is read.
  StandardUserDefaults();

  std::optional<std::string> text(std::string_view key) const override;
  void setText(std::string_view key, std::string_view value) override;
};

}  // namespace orvel
