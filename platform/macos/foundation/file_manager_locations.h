#pragma once

#include "platform/locations.h"

namespace orvel {

/// The user's folders as the file manager knows them.
class FileManagerLocations final : public Locations {
 public:
  std::string home() const override;
  /// Without such a folder the process stops.
  std::string downloads() const override;
  std::string temporary() const override;
  /// One item replacement by the file manager, with no option and no backup,
  /// of one folder by another.
  bool replaceItem(const std::string &original, const std::string &replacement) const override;
  bool canReplaceItem(const std::string &original) const override;
  bool isExecutableFile(const std::string &path) const override;
};

}  // namespace orvel
