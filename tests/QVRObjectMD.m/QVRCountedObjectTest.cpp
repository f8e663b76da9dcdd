// Objects with a count of their holders.
#include "QVRCountedObject.h"

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <functional>
#include <latch>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <thread>
#include <type_traits>
#include <vector>

#include "CountedProbe.h"
#include "DynamicObjectAccess.h"
#include "PoolUse.h"
#include "support/AllocationRefuser.h"
#include "support/VirtualSlot.h"

namespace {

/// Everything that derived classes reach, for everybody.
class Counted : public QVRCountedObject {
 public:
  explicit Counted(unsigned int initial = 0) : QVRCountedObject(initial) {}
  Counted(const Counted& other) = default;
  Counted(const Counted& other, CopyMode mode) : QVRCountedObject(other, mode) {}
  Counted& operator=(const Counted& other) {
    QVRCountedObject::operator=(other);
    return *this;
  }
  ~Counted() override = default;

  using QVRCountedObject::duplicateObject;
  using QVRCountedObject::orphanObject;
  using QVRCountedObject::replicateObject;

  bool isOrphaned() const { return QVRDynamicObjectTestAccess::isOrphaned(*this); }
  virtual void ownOperation() {}
};

static_assert(sizeof(QVRCountedObject) == 24);
static_assert(!std::is_default_constructible_v<QVRCountedObject> &&
              !std::is_destructible_v<QVRCountedObject> &&
              !std::is_copy_assignable_v<QVRCountedObject>);
static_assert(!std::is_nothrow_destructible_v<Counted>);

/// Lets go of an object that the record or the like made.
class Owned {
 public:
  explicit Owned(QVRDynamicObject* object) : object_(dynamic_cast<QVRCountedObject*>(object)) {
    EXPECT_NE(object_, nullptr);
    EXPECT_EQ(object_->getReferences(), 0u) << "new";
    object_->addReference();
  }
  ~Owned() { object_->removeReference(); }
  Owned(const Owned&) = delete;
  Owned& operator=(const Owned&) = delete;

  QVRCountedObject& operator*() const { return *object_; }

 private:
  QVRCountedObject* const object_;
};

TEST(QVRCountedObjectTest, RecordTellsOfTheClass) {
  std::ostringstream out;
  out << QVRCountedObject::ClassInfo();

  EXPECT_EQ(out.str(),
            "Class: QVRCountedObject\n"
            "    ObjectSize    = 24\n"
            "    Constructable = Yes\n"
            "    Base 1        = QVRDynamicObject\n");
  EXPECT_EQ(QVRCountedObject::ClassName(), "QVRCountedObject");
}

TEST(QVRCountedObjectTest, AnswersFromItsRecord) {
  const Owned owned(QVRCountedObject::ClassInfo().createObject());
  const QVRDynamicObject& object = *owned;

  EXPECT_EQ(object.getClassName(), "QVRCountedObject");
  EXPECT_EQ(&object.getClassInfo(), &QVRCountedObject::ClassInfo());
  EXPECT_TRUE(object.isInstanceOf(QVRCountedObject::ClassInfo()));
  EXPECT_FALSE(object.isInstanceOf(QVRDynamicObject::ClassInfo()));
  EXPECT_TRUE(object.isDerivedFrom(QVRCountedObject::ClassInfo()));
  EXPECT_TRUE(object.isDerivedFrom(QVRDynamicObject::ClassInfo()));
  EXPECT_FALSE(QVRDynamicObject::ClassInfo().isDerivedFrom(QVRCountedObject::ClassInfo()));
}

TEST(QVRCountedObjectTest, AddsNoVirtualOperation) {
  EXPECT_EQ(slotOf(&Counted::ownOperation), 11u) << "nine of the root and the destructor's two";
}

TEST(QVRCountedObjectTest, CountsFromTheNumberGiven) {
  Counted object;
  EXPECT_EQ(object.getReferences(), 0u);
  EXPECT_EQ(object.addReference(), 1u);
  EXPECT_EQ(object.addReference(), 2u);
  EXPECT_EQ(object.getReferences(), 2u);
  EXPECT_EQ(object.removeReference(), 1u);
  EXPECT_EQ(object.getReferences(), 1u);

  for (const unsigned int initial : {3U, 2147483647U, 2147483648U, kOneBelowZero}) {
    EXPECT_EQ(Counted(initial).getReferences(), initial);
  }
}

TEST(QVRCountedObjectTest, IsReferencedAndSharedBySignedCount) {
  const struct {
    unsigned int count;
    bool isReferenced;
    bool isShared;
  } cases[] = {{0, false, false},        {1, true, false},           {2, true, true},
               {2147483647, true, true}, {2147483648, false, false}, {kOneBelowZero, false, false}};
  for (const auto& c : cases) {
    const Counted object(c.count);

    EXPECT_EQ(object.isReferenced(), c.isReferenced) << c.count;
    EXPECT_EQ(object.isShared(), c.isShared) << c.count;
  }
}

TEST(QVRCountedObjectTest, LastReferenceDeletesTheObjectOnce) {
  int ends = 0;
  auto* const object = new CountedProbe(ends, 2);

  EXPECT_EQ(object->removeReference(), 1u);
  EXPECT_EQ(ends, 0);

  EXPECT_EQ(object->removeReference(), 0u);
  EXPECT_EQ(ends, 1);
}

TEST(QVRCountedObjectTest, OneLessThanNothingDeletesNothing) {
  int ends = 0;
  CountedProbe object(ends);

  EXPECT_EQ(object.removeReference(), kOneBelowZero);
  EXPECT_EQ(object.removeReference(), kOneBelowZero - 1);
  EXPECT_EQ(object.addReference(), kOneBelowZero);
  EXPECT_EQ(object.addReference(), 0u);
  EXPECT_EQ(ends, 0);
}

TEST(QVRCountedObjectTest, CountWrapsAtItsSignedLimit) {
  Counted object(2147483647);

  EXPECT_EQ(object.addReference(), 2147483648u);
  EXPECT_FALSE(object.isReferenced());
  EXPECT_EQ(object.removeReference(), 2147483647u);
  EXPECT_TRUE(object.isShared());
}

TEST(QVRCountedObjectTest, CopyTakesCountAndFlag) {
  Counted original(3);

  EXPECT_EQ(Counted(original).getReferences(), 3u);
  EXPECT_FALSE(Counted(original).isOrphaned());

  original.orphanObject();
  EXPECT_EQ(Counted(original).getReferences(), 3u);
  EXPECT_TRUE(Counted(original).isOrphaned());
}

TEST(QVRCountedObjectTest, CopyUnderAModeBeginsAnew) {
  Counted original(3);
  original.orphanObject();

  for (const auto mode : {Counted::ShallowCopy, Counted::DeepCopy}) {
    const Counted copy(original, mode);

    EXPECT_EQ(copy.getReferences(), 0u);
    EXPECT_FALSE(copy.isOrphaned());
  }
  EXPECT_EQ(original.getReferences(), 3u);
}

TEST(QVRCountedObjectTest, AssignmentLeavesTheCountAndClearsTheFlag) {
  Counted source(5);
  Counted target(2);
  target.orphanObject();

  target = source;
  EXPECT_EQ(target.getReferences(), 2u);
  EXPECT_FALSE(target.isOrphaned());
  EXPECT_EQ(source.getReferences(), 5u);

  source.orphanObject();
  target = source;
  EXPECT_FALSE(target.isOrphaned()) << "the flag is not copied";

  source = *&source;
  EXPECT_TRUE(source.isOrphaned()) << "assigned to itself";
  EXPECT_EQ(source.getReferences(), 5u);
}

TEST(QVRCountedObjectTest, OrphaningSetsTheFlagAndLeavesTheCount) {
  Counted object(1);
  EXPECT_FALSE(object.isOrphaned());

  object.orphanObject();
  object.orphanObject();

  EXPECT_TRUE(object.isOrphaned());
  EXPECT_EQ(object.getReferences(), 1u);
}

TEST(QVRCountedObjectTest, ReplicaAndDuplicateHaveCountZero) {
  Counted original(2);
  original.orphanObject();

  const Owned replica(original.replicateObject());
  const Owned duplicate(original.duplicateObject(Counted::DeepCopy));

  for (const Owned* owned : {&replica, &duplicate}) {
    EXPECT_TRUE((**owned).isInstanceOf(QVRCountedObject::ClassInfo()));
    EXPECT_FALSE(QVRDynamicObjectTestAccess::isOrphaned(**owned));
  }
  EXPECT_EQ(original.getReferences(), 2u);
}

class Large : public QVRCountedObject {
  [[maybe_unused]] std::array<char, 1000> content_{};
};

TEST(QVRCountedObjectTest, StorageGoesBackToTheBucketOfTheMostDerivedClass) {
  if (!QVRPoolAllocator::Global().isEnabled()) GTEST_SKIP() << "the pool is switched off";
  const long before24 = blocksInUse(32);
  const long before1024 = blocksInUse(1024);

  auto* const made = dynamic_cast<QVRCountedObject*>(QVRCountedObject::ClassInfo().createObject());
  QVRCountedObject* const large = new Large;
  EXPECT_EQ(blocksInUse(32), before24 + 1);
  EXPECT_EQ(blocksInUse(1024), before1024 + 1);

  for (QVRCountedObject* object : {made, large}) {
    object->addReference();
    object->removeReference();
  }
  EXPECT_EQ(blocksInUse(32), before24);
  EXPECT_EQ(blocksInUse(1024), before1024);
}

TEST(QVRCountedObjectTest, LackOfMemoryIsBadAllocAndTakesNothing) {
  Counted original;
  const std::function<QVRDynamicObject*()> operations[] = {
      [] { return QVRCountedObject::ClassInfo().createObject(); },
      [&] { return original.replicateObject(); },
      [&] { return original.duplicateObject(Counted::ShallowCopy); }};
  std::vector<std::unique_ptr<Counted>> fill;
  for (const auto& operation : operations) {
    // Each time with less room in the bucket, until it needs the heap.
    std::size_t refused = 0;
    while (refused == 0) {
      fill.push_back(std::make_unique<Counted>());
      const long before = blocksInUse(32);
      QVRDynamicObject* made = nullptr;
      refused = refuseEachAllocation([&] { made = operation(); },
                                     [&] { EXPECT_EQ(blocksInUse(32), before); });
      const Owned owned(made);
    }
  }
}

/// Cannot be destroyed quietly.
class Throwing : public QVRCountedObject {
 public:
  ~Throwing() noexcept(false) override { throw std::runtime_error("end"); }
};

TEST(QVRCountedObjectTest, WhatTheDestructorThrowsComesThrough) {
  if (!QVRPoolAllocator::Global().isEnabled()) GTEST_SKIP() << "the pool is switched off";
  const long before = blocksInUse(32);
  auto* const object = new Throwing;
  object->addReference();

  EXPECT_THROW(object->removeReference(), std::runtime_error);

  EXPECT_EQ(blocksInUse(32), before) << "the storage goes back all the same";
}

constexpr int kThreads = 64;

TEST(QVRCountedObjectTest, ThreadsCountTogether) {
  constexpr unsigned int kSteps = 1000;
  Counted object(1);
  std::latch start(kThreads);
  {
    std::vector<std::jthread> threads;
    for (int i = 0; i < kThreads; ++i) {
      threads.emplace_back([&] {
        start.arrive_and_wait();
        for (unsigned int step = 0; step < kSteps; ++step) object.addReference();
        for (unsigned int step = 1; step < kSteps; ++step) object.removeReference();
      });
    }
  }
  EXPECT_EQ(object.getReferences(), 1u + kThreads);
}

TEST(QVRCountedObjectTest, OfManyThreadsOneDeletesAndSeesWhatTheOthersWrote) {
  for (int round = 0; round < 20; ++round) {
    std::array<int, kThreads> written{};
    int sum = 0;
    int ends = 0;
    auto* const object = new CountedProbe(
        [&] {
          ++ends;
          for (const int value : written) sum += value;
        },
        kThreads);
    std::latch start(kThreads);
    std::atomic<int> zeros = 0;
    {
      std::vector<std::jthread> threads;
      for (int& own : written) {
        threads.emplace_back([&] {
          start.arrive_and_wait();
          own = 1;
          if (object->removeReference() == 0) ++zeros;
        });
      }
    }
    EXPECT_EQ(ends, 1);
    EXPECT_EQ(zeros, 1);
    EXPECT_EQ(sum, kThreads);
  }
}

}  // namespace
