#pragma once

#import <Foundation/Foundation.h>

namespace orvel {

/// Sets a property that no public header declares, by key-value coding. Does nothing when the
/// object has no setter for the key: -[NSObject setValue:forKey:] would raise
/// NSUndefinedKeyException, which ends the application. Main thread.
void setPrivateSetting(NSObject *_Nonnull object, NSString *_Nonnull key, bool value);

}  // namespace orvel
