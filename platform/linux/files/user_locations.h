#pragma once

#include <string>
#include <utility>

#include "platform/locations.h"

namespace orvel {

/// The folders of the user whose session it is.
class UserLocations final : public Locations {
 public:
  /// The folder for temporary files need not exist.
  explicit UserLocations(std::string temporaryFolder)
      : temporaryFolder_(std::move(temporaryFolder)) {}

  std::string home() const override;
  /// The folder of the XDG user directories, else "Downloads" in the home.
  std::string downloads() const override;
  /// Not the one of the whole machine, in which others could lie in wait.
  std::string temporary() const override;
  bool replaceItem(const std::string &original, const std::string &replacement) const override;
  bool canReplaceItem(const std::string &original) const override;
  bool isExecutableFile(const std::string &path) const override;

 private:
  const std::string temporaryFolder_;
};

}  // namespace orvel
