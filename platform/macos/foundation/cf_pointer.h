#pragma once

#include <CoreFoundation/CoreFoundation.h>

#include "base/owned_reference.h"

namespace orvel {

/// The owner of one reference to a Core Foundation object that a function with Create or
/// Copy in its name returned. `Ref` is a reference type such as CFRunLoopTimerRef.
template <typename Ref>
using CFPointer = OwnedReference<Ref, CFRelease>;

}  // namespace orvel
