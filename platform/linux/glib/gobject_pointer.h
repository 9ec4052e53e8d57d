#pragma once

#include <glib-object.h>

#include <memory>

namespace orvel {

struct GObjectRelease {
  void operator()(void *object) const { g_object_unref(object); }
};

/// Owns one reference to an object of GLib's.
template <typename Object>
using GObjectPointer = std::unique_ptr<Object, GObjectRelease>;

/// Takes over a reference that the caller was given.
template <typename Object>
GObjectPointer<Object> adopt(Object *object) {
  return GObjectPointer<Object>(object);
}

/// Takes a reference of its own, a floating one if there is one.
template <typename Object>
GObjectPointer<Object> retain(Object *object) {
  g_object_ref_sink(object);
  return GObjectPointer<Object>(object);
}

}  // namespace orvel
