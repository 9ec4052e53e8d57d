#pragma once

#include <memory>
#include <type_traits>

namespace orvel {

/// Releases an object of a C library with a function of that library, such as CFRelease.
template <auto release>
struct ReleasedBy {
  template <typename Object>
  void operator()(Object *object) const {
    release(object);
  }
};

/// The owner of one reference to an object of a C library, or null. `Ref` is a pointer type,
/// such as CFRunLoopTimerRef, and `release` the function that releases a reference.
template <typename Ref, auto release>
using OwnedReference = std::unique_ptr<std::remove_pointer_t<Ref>, ReleasedBy<release>>;

/// Calls a function that stores a new reference in its last argument and returns 0 on success.
/// Returns the owner of that reference, or null when the function failed.
template <typename Owner, typename Function, typename... Arguments>
Owner createdBy(Function function, Arguments... arguments) {
  typename Owner::pointer created = nullptr;
  return function(arguments..., &created) == 0 ? Owner(created) : nullptr;
}

}  // namespace orvel
