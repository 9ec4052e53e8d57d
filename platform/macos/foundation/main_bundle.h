#pragma once

#include "platform/bundle.h"

namespace orvel {

/// The main bundle of the process (NSBundle.mainBundle). Foundation reads Info.plist once,
/// so an update that replaces the bundle does not change these values. Any thread.
class MainBundle final : public Bundle {
 public:
  std::string path() const override;
  std::optional<std::string> infoText(std::string_view key) const override;
};

}  // namespace orvel
