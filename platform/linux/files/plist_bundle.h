#pragma once

#include "platform/bundle.h"
#include "platform/linux/files/plist_file.h"

namespace orvel {

/// An application bundle in a folder, with its properties in Contents/Info.plist. The file is
/// read once, in the constructor, because an update may replace the folder while this
/// version still runs. Any thread.
class PlistBundle final : public Bundle {
 public:
  explicit PlistBundle(const std::string &bundlePath);

  std::string path() const override { return path_; }
  bool hasInfoDictionary() const override { return texts_.has_value(); }
  std::optional<std::string> infoText(std::string_view key) const override;
  /// Linux has no code signatures.
  std::optional<std::string> teamIdentifier() const override { return std::nullopt; }
  bool isSignedByTeam(const std::string &, const std::string &) const override { return false; }

 private:
  const std::string path_;
  /// The string entries of Info.plist, or nullopt when it could not be read.
  const std::optional<TextMap> texts_;
};

}  // namespace orvel
