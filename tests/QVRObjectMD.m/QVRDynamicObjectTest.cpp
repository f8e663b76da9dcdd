// The root of the dynamic classes: its record, its flag, its copies and its storage.
#include "QVRDynamicObject.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <functional>
#include <memory>
#include <sstream>
#include <type_traits>

#include "DynamicObjectAccess.h"
#include "PoolUse.h"
#include "QVRCountedObject.h"
#include "support/VirtualSlot.h"

namespace {

using Access = QVRDynamicObjectTestAccess;

struct Destroy {
  void operator()(QVRDynamicObject* object) const { Access::destroy(object); }
};
using Owned = std::unique_ptr<QVRDynamicObject, Destroy>;

/// A class without a record of its own.
class Plain : public QVRDynamicObject {
 public:
  Plain() = default;
  Plain(const Plain& other) = default;
  Plain(const Plain& other, CopyMode mode) : QVRDynamicObject(other, mode) {}
  Plain& operator=(const Plain& other) {
    QVRDynamicObject::operator=(other);
    return *this;
  }
  using QVRDynamicObject::orphanObject;

  bool isOrphaned() const { return Access::isOrphaned(*this); }

  /// Behind the operations of the root.
  virtual void ownOperation() {}
};

static_assert(sizeof(QVRDynamicObject) == 16);
static_assert(std::is_polymorphic_v<QVRDynamicObject> && !std::is_final_v<QVRDynamicObject>);
static_assert(!std::is_nothrow_destructible_v<Plain> && std::is_destructible_v<Plain>);
static_assert(!std::is_default_constructible_v<QVRDynamicObject> &&
              !std::is_destructible_v<QVRDynamicObject> &&
              !std::is_copy_assignable_v<QVRDynamicObject>);
static_assert(QVRDynamicObject::ShallowCopy == 0 && QVRDynamicObject::DeepCopy == 1);

TEST(QVRDynamicObjectTest, VirtualOperationsStandInTheirOrder) {
  EXPECT_EQ(slotOf(Access::kGetClassName), 0u);
  EXPECT_EQ(slotOf(Access::kGetClassInfo), 1u);
  EXPECT_EQ(slotOf(Access::kIsInstanceOf), 2u);
  EXPECT_EQ(slotOf(Access::kIsDerivedFrom), 3u);
  EXPECT_EQ(slotOf(Access::kOrphanObject), 4u);
  EXPECT_EQ(slotOf(Access::kReplicateHere), 5u);
  EXPECT_EQ(slotOf(Access::kDuplicateHere), 6u);
  // The destructor has two.
  EXPECT_EQ(slotOf(Access::kReplicateObject), 9u);
  EXPECT_EQ(slotOf(Access::kDuplicateObject), 10u);
  EXPECT_EQ(slotOf(&Plain::ownOperation), 11u);
}

TEST(QVRDynamicObjectTest, RecordTellsOfTheRoot) {
  std::ostringstream out;
  out << QVRDynamicObject::ClassInfo();

  EXPECT_EQ(out.str(),
            "Class: QVRDynamicObject\n"
            "    ObjectSize    = 16\n"
            "    Constructable = Yes\n"
            "    No base classes\n");
  EXPECT_EQ(QVRDynamicObject::ClassName(), "QVRDynamicObject");
}

TEST(QVRDynamicObjectTest, AnswersFromItsRecord) {
  const Owned object(QVRDynamicObject::ClassInfo().createObject());

  EXPECT_EQ(object->getClassName(), "QVRDynamicObject");
  EXPECT_EQ(&object->getClassInfo(), &QVRDynamicObject::ClassInfo());
  EXPECT_TRUE(object->isInstanceOf(QVRDynamicObject::ClassInfo()));
  EXPECT_TRUE(object->isDerivedFrom(QVRDynamicObject::ClassInfo()));
  EXPECT_FALSE(object->isInstanceOf(QVRCountedObject::ClassInfo()));
  EXPECT_FALSE(object->isDerivedFrom(QVRCountedObject::ClassInfo()));
}

TEST(QVRDynamicObjectTest, ClassWithoutARecordAnswersAsItsBase) {
  const Plain object;

  EXPECT_EQ(object.getClassName(), "QVRDynamicObject");
  EXPECT_TRUE(object.isInstanceOf(QVRDynamicObject::ClassInfo()));
}

TEST(QVRDynamicObjectTest, IsOrphanedOnceAskedTo) {
  Plain object;
  EXPECT_FALSE(object.isOrphaned());

  object.orphanObject();
  EXPECT_TRUE(object.isOrphaned());

  object.orphanObject();
  EXPECT_TRUE(object.isOrphaned());
}

TEST(QVRDynamicObjectTest, OrphaningTheMembersSetsTheFlag) {
  Plain object;

  Access::orphanMembers(object);

  EXPECT_TRUE(object.isOrphaned());
}

TEST(QVRDynamicObjectTest, CopiesTreatTheFlagEachInItsWay) {
  for (const bool isOrphaned : {false, true}) {
    Plain original;
    if (isOrphaned) original.orphanObject();
    Plain target;
    target.orphanObject();

    EXPECT_EQ(Plain(original).isOrphaned(), isOrphaned);
    EXPECT_FALSE(Plain(original, Plain::ShallowCopy).isOrphaned());
    EXPECT_FALSE(Plain(original, Plain::DeepCopy).isOrphaned());

    target = original;
    EXPECT_FALSE(target.isOrphaned());
    EXPECT_EQ(original.isOrphaned(), isOrphaned);

    original = *&original;
    EXPECT_EQ(original.isOrphaned(), isOrphaned) << "assigned to itself";
  }
}

/// Owns one thing, and says when it lets go of it.
class Owner : public Plain {
 public:
  explicit Owner(int& releases) : releases_(releases) {}
  ~Owner() override { orphanObject(); }

  void orphanObject() override {
    if (!isOrphaned()) ++releases_;
    Plain::orphanObject();
  }

 private:
  int& releases_;
};

TEST(QVRDynamicObjectTest, OwnerLetsGoOnce) {
  int releases = 0;
  {
    Owner orphaned(releases);
    orphaned.orphanObject();
    orphaned.orphanObject();
    EXPECT_EQ(releases, 1);
  }
  EXPECT_EQ(releases, 1);

  { const Owner destroyed(releases); }
  EXPECT_EQ(releases, 2);
}

/// The destructor of the root calls nobody's override.
class Overrider : public Plain {
 public:
  explicit Overrider(int& calls) : calls_(calls) {}
  void orphanObject() override { ++calls_; }

 private:
  int& calls_;
};

TEST(QVRDynamicObjectTest, DestructorsCallNoOverride) {
  int calls = 0;

  { const Overrider object(calls); }

  EXPECT_EQ(calls, 0);
}

TEST(QVRDynamicObjectTest, ReplicaAndDuplicateAreNewObjectsThatAreNotOrphaned) {
  const Owned original(Access::create());
  Access::orphanMembers(*original);

  const Owned replica(Access::replicate(*original));
  const Owned duplicate(Access::duplicate(*original));

  for (const Owned& object : {std::cref(replica), std::cref(duplicate)}) {
    ASSERT_NE(object, nullptr);
    EXPECT_NE(object, original);
    EXPECT_TRUE(object->isInstanceOf(QVRDynamicObject::ClassInfo()));
    EXPECT_FALSE(Access::isOrphaned(*object));
  }
}

class QVRDynamicObjectPoolTest : public testing::Test {
 protected:
  void SetUp() override {
    if (!QVRPoolAllocator::Global().isEnabled()) GTEST_SKIP() << "the pool is switched off";
  }
};

TEST_F(QVRDynamicObjectPoolTest, StorageIsTheGlobalPools) {
  const long before = blocksInUse(48);

  void* const storage = QVRDynamicObject::operator new(40);
  EXPECT_EQ(blocksInUse(48), before + 1);

  QVRDynamicObject::operator delete(storage, 40);
  EXPECT_EQ(blocksInUse(48), before);
}

template <std::size_t Size>
class Sized : public Plain {
  [[maybe_unused]] char content_[Size - sizeof(Plain)] = {};
};

TEST_F(QVRDynamicObjectPoolTest, StorageGoesBackToTheBucketOfTheMostDerivedClass) {
  const struct {
    QVRDynamicObject* (*make)();
    std::size_t bucket;
  } cases[] = {{&Access::create, 16},
               {[]() -> QVRDynamicObject* { return new Sized<24>; }, 32},
               {[]() -> QVRDynamicObject* { return new Sized<512>; }, 512},
               {[]() -> QVRDynamicObject* { return new Sized<520>; }, 544},
               {[]() -> QVRDynamicObject* { return new Sized<7680>; }, 7680}};
  for (const auto& c : cases) {
    const long before = blocksInUse(c.bucket);

    QVRDynamicObject* const object = c.make();
    EXPECT_EQ(blocksInUse(c.bucket), before + 1) << c.bucket;

    Access::destroy(object);
    EXPECT_EQ(blocksInUse(c.bucket), before) << c.bucket;
  }
}

TEST(QVRDynamicObjectTest, LargeObjectComesFromTheHeapAndGoesBackThere) {
  const Owned object(new Sized<20000>);

  EXPECT_TRUE(object->isDerivedFrom(QVRDynamicObject::ClassInfo()));
}

}  // namespace
