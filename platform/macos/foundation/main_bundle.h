#pragma once

#include "platform/bundle.h"

namespace orvel {

/// The bundle in which the running executable lies. Foundation reads its
/// information once, so that an update in its place does not change what this
/// process is.
class MainBundle final : public Bundle {
 public:
  std::string path() const override;
  std::optional<std::string> infoText(std::string_view key) const override;
};

}  // namespace orvel
