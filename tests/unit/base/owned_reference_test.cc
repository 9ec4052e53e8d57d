#include "base/owned_reference.h"

#include <gtest/gtest.h>

namespace orvel {
namespace {

/// An object of a C library, which counts its references.
struct Object {
  int references = 1;
};
using ObjectRef = Object *;

void release(Object *object) { --object->references; }

using Owner = OwnedReference<ObjectRef, release>;

/// Returns `status`. When it is 0, which means success, stores a new reference to `existing` in
/// `result`, the argument that createdBy appends.
int createFrom(ObjectRef existing, int status, ObjectRef *result) {
  if (status == 0) {
    ++existing->references;
    *result = existing;
  }
  return status;
}

TEST(OwnedReference, CreatedReferenceIsReleased) {
  Object object;
  {
    const auto owner = createdBy<Owner>(createFrom, &object, 0);
    EXPECT_EQ(owner.get(), &object);
    EXPECT_EQ(object.references, 2);
  }
  EXPECT_EQ(object.references, 1);
}

TEST(OwnedReference, FailedCreationReturnsNull) {
  Object object;
  EXPECT_EQ(createdBy<Owner>(createFrom, &object, -1), nullptr);
  EXPECT_EQ(object.references, 1);
}

}  // namespace
}  // namespace orvel
