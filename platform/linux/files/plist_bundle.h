#pragma once

#include "platform/bundle.h"
#include "platform/linux/files/plist_file.h"

namespace orvel {

/// An application bundle in a folder, with its information in
/// Contents/Info.plist. Read once, when made: an update that takes the folder's
/// place does not change what this process is.
class PlistBundle final : public Bundle {
 public:
  explicit PlistBundle(const std::string &bundlePath);

  std::string path() const override { return path_; }
  std::optional<std::string> infoText(std::string_view key) const override;

 private:
  const std::string path_;
  const PlistTexts texts_;
};

}  // namespace orvel
