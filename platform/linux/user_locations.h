#pragma once

#include "platform/locations.h"

namespace orvel {

/// The folders of the user whose session it is.
class UserLocations final : public Locations {
 public:
  std::string home() const override;
  /// The folder of the XDG user directories, else "Downloads" in the home.
  std::string downloads() const override;
  bool isExecutableFile(const std::string &path) const override;
};

}  // namespace orvel
