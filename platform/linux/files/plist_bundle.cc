#include "platform/linux/files/plist_bundle.h"

namespace orvel {

PlistBundle::PlistBundle(const std::string &bundlePath)
    : path_(bundlePath), texts_(readPlistTexts(bundlePath + "/Contents/Info.plist")) {}

std::optional<std::string> PlistBundle::infoText(std::string_view key) const {
  if (!texts_) return std::nullopt;
  const auto found = texts_->find(key);
  if (found == texts_->end()) return std::nullopt;
  return found->second;
}

}  // namespace orvel
