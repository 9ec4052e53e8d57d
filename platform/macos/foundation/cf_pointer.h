#pragma once

#include <CoreFoundation/CoreFoundation.h>

#include <memory>
#include <type_traits>

namespace orvel {

/// Releases a Core Foundation object.
struct CFReleaser {
  void operator()(CFTypeRef object) const { CFRelease(object); }
};

/// The owner of one reference to a Core Foundation object that a function with Create or
/// Copy in its name returned. `Ref` is a reference type such as CFRunLoopTimerRef.
template <typename Ref>
using CFPointer = std::unique_ptr<std::remove_pointer_t<Ref>, CFReleaser>;

}  // namespace orvel
