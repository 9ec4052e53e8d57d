#pragma once

#include <string>
#include <utility>

#include "platform/locations.h"

namespace orvel {

/// The folders of the current user. Any thread.
class UserLocations final : public Locations {
 public:
  /// The folder for temporary files need not exist.
  explicit UserLocations(std::string temporaryFolder)
      : temporaryFolder_(std::move(temporaryFolder)) {}

  std::string home() const override;
  /// Returns the XDG download folder, else "Downloads" in the home folder.
  std::string downloads() const override;
  /// Returns a folder of this user only. In a shared folder such as /tmp, other users could
  /// create files in advance at paths that the application will use.
  std::string temporary() const override;
  bool replaceItem(const std::string &original, const std::string &replacement) const override;
  bool canReplaceItem(const std::string &original) const override;
  /// Linux has no quarantine attribute.
  void quarantine(const std::string &, const Url &) const override {}
  bool isExecutableFile(const std::string &path) const override;

 private:
  const std::string temporaryFolder_;
};

}  // namespace orvel
