#pragma once

#include "platform/bundle.h"

namespace orvel {

/// The main bundle of the process (NSBundle.mainBundle). Foundation reads Info.plist once,
/// so an update that replaces the bundle does not change these values. Any thread.
class MainBundle final : public Bundle {
 public:
  /// Reads the Team ID of the running program in advance, because the Security framework reads
  /// the signature from the disk (SecCode.h), where an update may replace it later.
  MainBundle();

  std::string path() const override;
  /// Returns whether there is an entry CFBundleInfoDictionaryVersion, which Info.plist must
  /// have: Foundation returns an almost empty dictionary when it cannot read the file.
  bool hasInfoDictionary() const override;
  std::optional<std::string> infoText(std::string_view key) const override;
  std::optional<std::string> teamIdentifier() const override { return teamIdentifier_; }
  bool isSignedByTeam(const std::string &bundlePath, const std::string &team) const override;

 private:
  const std::optional<std::string> teamIdentifier_;
};

}  // namespace orvel
