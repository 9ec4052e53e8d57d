#import "platform/macos/foundation/main_bundle.h"

#import <Foundation/Foundation.h>

#import "platform/macos/foundation/cocoa_text.h"
#include "platform/macos/foundation/code_signature.h"

namespace orvel {

MainBundle::MainBundle() : teamIdentifier_(teamIdentifierOfThisProcess()) {}

std::string MainBundle::path() const {
  return fromCocoa(NSBundle.mainBundle.bundleURL.URLByResolvingSymlinksInPath.path);
}

bool MainBundle::hasInfoDictionary() const {
  return infoText("CFBundleInfoDictionaryVersion").has_value();
}

std::optional<std::string> MainBundle::infoText(std::string_view key) const {
  return textOf(NSBundle.mainBundle.infoDictionary[toCocoa(key)]);
}

bool MainBundle::isSignedByTeam(const std::string &bundlePath, const std::string &team) const {
  return hasValidSignatureOfTeam(bundlePath, team);
}

}  // namespace orvel
