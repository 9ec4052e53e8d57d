#include "platform/linux/files/plist_bundle.h"

namespace orvel {

PlistBundle::PlistBundle(const std::string &bundlePath)
    : path_(bundlePath), texts_(readPlistTexts(bundlePath + "/Contents/Info.plist")) {}

std::optional<std::string> PlistBundle::infoText(std::string_view key) const {
  return texts_ ? find(*texts_, key) : std::nullopt;
}

}  // namespace orvel
