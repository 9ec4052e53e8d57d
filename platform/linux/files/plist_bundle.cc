#include "platform/linux/files/plist_bundle.h"

namespace orvel {

PlistBundle::PlistBundle(const std::string &bundlePath)
    : path_(bundlePath),
      texts_(readPlistTexts(bundlePath + "/Contents/Info.plist").value_or(PlistTexts())) {}

std::optional<std::string> PlistBundle::infoText(std::string_view key) const {
  const auto found = texts_.find(key);
  if (found == texts_.end()) return std::nullopt;
  return found->second;
}

}  // namespace orvel
