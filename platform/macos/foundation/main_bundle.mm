#import "platform/macos/foundation/main_bundle.h"

#import <Foundation/Foundation.h>

#import "platform/macos/foundation/cocoa_text.h"

namespace orvel {

std::string MainBundle::path() const {
  return fromCocoa(NSBundle.mainBundle.bundleURL.URLByResolvingSymlinksInPath.path);
}

std::optional<std::string> MainBundle::infoText(std::string_view key) const {
  return textOf(NSBundle.mainBundle.infoDictionary[toCocoa(key)]);
}

}  // namespace orvel
