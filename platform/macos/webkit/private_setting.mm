#import "platform/macos/webkit/private_setting.h"

namespace orvel {

namespace {

/// Returns whether key-value coding finds a setter: `setName:` or `_setName:` for the key "name".
bool hasSetter(NSObject *object, NSString *key) {
  NSString *name =
      [[key substringToIndex:1].uppercaseString stringByAppendingString:[key substringFromIndex:1]];
  for (NSString *prefix in @[ @"set", @"_set" ]) {
    NSString *setter = [NSString stringWithFormat:@"%@%@:", prefix, name];
    if ([object respondsToSelector:NSSelectorFromString(setter)]) return true;
  }
  return false;
}

}  // namespace

void setPrivateSetting(NSObject *object, NSString *key, bool value) {
  if (hasSetter(object, key)) [object setValue:@(value) forKey:key];
}

}  // namespace orvel
