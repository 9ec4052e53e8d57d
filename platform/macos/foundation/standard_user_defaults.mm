#import "platform/macos/foundation/standard_user_defaults.h"

#import <Foundation/Foundation.h>

#import "platform/macos/foundation/cocoa_text.h"

namespace orvel {

StandardUserDefaults::StandardUserDefaults() {
  NSUserDefaults *defaults = NSUserDefaults.standardUserDefaults;
  [defaults removeVolatileDomainForName:NSArgumentDomain];
  // Otherwise AppKit opens an argument without a leading "-" as a document.
  [defaults registerDefaults:@{@"NSTreatUnknownArgumentsAsOpen" : @"NO"}];
}

std::optional<std::string> StandardUserDefaults::text(std::string_view key) const {
  return textOf([NSUserDefaults.standardUserDefaults objectForKey:toCocoa(key)]);
}

void StandardUserDefaults::setText(std::string_view key, std::string_view value) {
  [NSUserDefaults.standardUserDefaults setObject:toCocoa(value) forKey:toCocoa(key)];
}

}  // namespace orvel
