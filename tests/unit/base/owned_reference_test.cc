#include "base/owned_reference.h"

#include <gtest/gtest.h>

#include <utility>

namespace orvel {
namespace {

/// An object of a C library, which counts its references.
struct Object {
  int references = 1;
};
using ObjectRef = Object *;

void release(const Object *object) { --const_cast<Object *>(object)->references; }

using Owner = OwnedReference<ObjectRef, release>;

int createFrom(ObjectRef existing, int status, ObjectRef *result) {
  if (status == 0) {
    ++existing->references;
    *result = existing;
  }
  return status;
}

TEST(OwnedReference, DestructionReleasesOnce) {
  Object object;
  {
    const Owner owner(&object);
    EXPECT_EQ(owner.get(), &object);
    EXPECT_EQ(object.references, 1);
  }
  EXPECT_EQ(object.references, 0);
}

TEST(OwnedReference, MoveKeepsReference) {
  Object object;
  Owner first(&object);
  {
    const Owner second = std::move(first);
    EXPECT_EQ(first, nullptr);
    EXPECT_EQ(object.references, 1);
  }
  EXPECT_EQ(object.references, 0);
}

TEST(OwnedReference, ResetReleasesOldReference) {
  Object old;
  Object next;
  Owner owner(&old);
  owner.reset(&next);
  EXPECT_EQ(old.references, 0);
  EXPECT_EQ(next.references, 1);
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

TEST(OwnedReference, FailedCreationIsNull) {
  Object object;
  EXPECT_EQ(createdBy<Owner>(createFrom, &object, -1), nullptr);
  EXPECT_EQ(object.references, 1);
}

}  // namespace
}  // namespace orvel
