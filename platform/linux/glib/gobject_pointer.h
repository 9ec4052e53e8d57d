#pragma once

#include <glib-object.h>

#include <memory>

namespace orvel {

struct GObjectRelease {
  void operator()(void *object) const { g_object_unref(object); }
};

/// An owning pointer to one reference of a GObject, or null.
template <typename Object>
using GObjectPointer = std::unique_ptr<Object, GObjectRelease>;

/// Takes ownership of a reference that the caller owns.
template <typename Object>
GObjectPointer<Object> adopt(Object *object) {
  return GObjectPointer<Object>(object);
}

/// Adds a reference and owns it. Takes over a floating reference instead.
template <typename Object>
GObjectPointer<Object> retain(Object *object) {
  g_object_ref_sink(object);
  return GObjectPointer<Object>(object);
}

}  // namespace orvel
