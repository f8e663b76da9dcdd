// Handles that hold one reference.
#include "QVRCountedBase.h"

#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <type_traits>
#include <utility>

#include "CountedProbe.h"

namespace {

/// What derived classes reach, for everybody.
class Handle : public QVRCountedBase {
 public:
  Handle(const QVRCountedObject* object = nullptr) : QVRCountedBase(object) {}
  Handle& operator=(const QVRCountedObject* object) {
    QVRCountedBase::operator=(object);
    return *this;
  }
  using QVRCountedBase::detach;
  using QVRCountedBase::getReferent;
};

static_assert(sizeof(QVRCountedBase) == sizeof(void*) && !std::is_polymorphic_v<QVRCountedBase>);
static_assert(!std::is_constructible_v<QVRCountedBase, QVRCountedObject*> &&
              !std::is_destructible_v<QVRCountedBase> &&
              !std::is_copy_assignable_v<QVRCountedBase> &&
              !std::is_move_assignable_v<QVRCountedBase>);
static_assert(std::is_nothrow_destructible_v<Handle> &&
              std::is_nothrow_move_constructible_v<Handle> &&
              std::is_nothrow_move_assignable_v<Handle>);
static_assert(std::is_convertible_v<Handle, bool>);

template <class T>
concept Opens = requires(T& handle) {
  handle.detach();
}
|| requires(T& handle) { handle.getReferent(); }
|| requires(T& handle, QVRCountedObject* object) { handle.transfer(object); };
static_assert(!Opens<QVRCountedBase>);

TEST(QVRCountedBaseTest, OfNullIsEmpty) {
  Handle handle(nullptr);
  EXPECT_FALSE(handle);
  EXPECT_EQ(handle.getReferent(), nullptr);

  handle.detach();
  const Handle copy(handle);
  const Handle moved(std::move(handle));

  EXPECT_FALSE(copy);
  EXPECT_FALSE(moved);
}

TEST(QVRCountedBaseTest, HoldsOneReferenceWhileItPoints) {
  int ends = 0;
  auto* const object = new CountedProbe(ends);
  {
    const Handle handle(object);
    EXPECT_TRUE(handle);
    EXPECT_EQ(handle.getReferent(), object);
    EXPECT_EQ(object->getReferences(), 1u);
    {
      const Handle copy(handle);
      EXPECT_EQ(copy.getReferent(), object);
      EXPECT_EQ(object->getReferences(), 2u);
    }
    EXPECT_EQ(object->getReferences(), 1u);
    EXPECT_EQ(ends, 0);
  }
  EXPECT_EQ(ends, 1);
}

TEST(QVRCountedBaseTest, LastOfTwoToDetachDeletes) {
  int ends = 0;
  auto* const object = new CountedProbe(ends);
  Handle first(object);
  Handle second(object);
  EXPECT_TRUE(object->isShared());

  first.detach();
  EXPECT_FALSE(first);
  EXPECT_TRUE(object->isReferenced());
  EXPECT_FALSE(object->isShared());

  first.detach();
  EXPECT_EQ(ends, 0) << "an empty handle has nothing to let go";

  second.detach();
  EXPECT_EQ(ends, 1);
}

TEST(QVRCountedBaseTest, AssignmentLetsGoOfTheOldBeforeItCountsTheNew) {
  for (const bool fromHandle : {false, true}) {
    auto* const next = new CountedProbe([] {}, 4);
    unsigned int countAtEnd = 0;
    Handle handle(new CountedProbe([&] { countAtEnd = next->getReferences(); }));
    const Handle source(next);

    if (fromHandle) {
      handle = source;
    } else {
      handle = next;
    }

    EXPECT_EQ(countAtEnd, 5u);
    EXPECT_EQ(next->getReferences(), 6u);
    EXPECT_EQ(handle.getReferent(), next);
    for (int i = 0; i < 4; ++i) next->removeReference();
  }
}

TEST(QVRCountedBaseTest, AssigningNullLetsGo) {
  int ends = 0;
  Handle handle(new CountedProbe(ends));
  handle = static_cast<const QVRCountedObject*>(nullptr);
  EXPECT_FALSE(handle);
  EXPECT_EQ(ends, 1);

  handle = new CountedProbe(ends);
  handle = Handle();
  EXPECT_FALSE(handle);
  EXPECT_EQ(ends, 2);
}

/// Acts on a handle whose object has count 1, then 0: any reference that comes or goes
/// would end the object in one of the two.
void expectNoTraffic(const std::function<void(Handle&, QVRCountedObject*)>& act) {
  for (const unsigned int initial : {0U, kOneBelowZero}) {
    int ends = 0;
    auto* const object = new CountedProbe(ends, initial);
    {
      Handle handle(object);

      act(handle, object);

      EXPECT_EQ(ends, 0);
      ASSERT_EQ(object->getReferences(), initial + 1);
    }
    if (ends == 0) delete object;
    EXPECT_EQ(ends, 1);
  }
}

TEST(QVRCountedBaseTest, AssigningWhatItHoldsCountsNothing) {
  expectNoTraffic([](Handle& handle, QVRCountedObject* object) {
    handle = object;
    EXPECT_EQ(handle.getReferent(), object);
  });
  expectNoTraffic([](Handle& handle, QVRCountedObject* object) {
    handle = *&handle;
    EXPECT_EQ(handle.getReferent(), object);
  });
}

TEST(QVRCountedBaseTest, MovingCountsNothingAndEmptiesTheSource) {
  expectNoTraffic([](Handle& handle, QVRCountedObject* object) {
    Handle taken(std::move(handle));
    EXPECT_FALSE(handle);
    EXPECT_EQ(taken.getReferent(), object);

    handle = std::move(taken);
    EXPECT_FALSE(taken);
    EXPECT_EQ(handle.getReferent(), object);
  });
}

TEST(QVRCountedBaseTest, MovedOntoItselfKeepsWhatItHolds) {
  expectNoTraffic([](Handle& handle, QVRCountedObject* object) {
    handle = std::move(*&handle);
    EXPECT_EQ(handle.getReferent(), object);
  });
}

TEST(QVRCountedBaseTest, MoveLetsGoOfTheOld) {
  int ends = 0;
  Handle target(new CountedProbe(ends));
  Handle source(new CountedProbe);

  target = std::move(source);
  EXPECT_EQ(ends, 1);
  EXPECT_FALSE(source);
  EXPECT_EQ(target.getReferent()->getReferences(), 1u);

  target = std::move(source);
  EXPECT_FALSE(target) << "moved from an empty one";
}

TEST(QVRCountedBaseTest, MoveBetweenTwoOfOneObjectLetsGoOfOneReference) {
  auto* const object = new CountedProbe;
  Handle target(object);
  Handle source(object);

  target = std::move(source);

  EXPECT_EQ(target.getReferent(), object);
  EXPECT_FALSE(source);
  EXPECT_EQ(object->getReferences(), 1u);
}

struct Node : CountedProbe {
  using CountedProbe::CountedProbe;
  Handle next;
};

TEST(QVRCountedBaseTest, HeadOfAListMovesOnToItsNext) {
  int ends = 0;
  Handle head;
  for (int i = 0; i < 3; ++i) {
    auto* const node = new Node(ends);
    node->next = std::move(head);
    head = node;
  }
  for (int gone = 1; gone <= 3; ++gone) {
    // The source is part of the object that goes.
    head = std::move(static_cast<Node*>(head.getReferent())->next);

    EXPECT_EQ(ends, gone);
    EXPECT_EQ(head, gone < 3);
  }
}

TEST(QVRCountedBaseTest, ComparesByTheAddressOfTheObject) {
  const Handle empty;
  const Handle first(new CountedProbe);
  const Handle same(first);
  const Handle other(new CountedProbe);
  const QVRCountedObject* const object = first.getReferent();

  EXPECT_TRUE(first == object);
  EXPECT_FALSE(first != object);
  EXPECT_FALSE(other == object);
  EXPECT_TRUE(other != object);
  EXPECT_TRUE(empty == nullptr);
  EXPECT_TRUE(first != nullptr);

  EXPECT_TRUE(first == same);
  EXPECT_FALSE(first != same);
  EXPECT_FALSE(first == other);
  EXPECT_TRUE(first != other);
  EXPECT_TRUE(empty == Handle());

  EXPECT_FALSE(first < same);
  EXPECT_NE(first < other, other < first);
  EXPECT_TRUE(empty < first);
  EXPECT_EQ(first < other, std::less<>()(object, other.getReferent()));
}

TEST(QVRCountedBaseTest, IsAKeyOfOrderedContainers) {
  const Handle first(new CountedProbe);
  const Handle other(new CountedProbe);

  std::map<Handle, int> numbers{{first, 1}, {other, 2}, {Handle(first), 3}};

  EXPECT_EQ(numbers.size(), 2u);
  EXPECT_EQ(numbers[first], 1);
  EXPECT_EQ(numbers[other], 2);
}

struct Throwing : QVRCountedObject {
  ~Throwing() noexcept(false) override { throw 1; }
};

TEST(QVRCountedBaseDeathTest, DestructorThatThrowsEndsTheProcess) {
  EXPECT_DEATH({ Handle handle(new Throwing); }, "");
  EXPECT_DEATH(Handle(new Throwing).detach(), "");
  EXPECT_DEATH(Handle(new Throwing) = Handle(), "");
}

}  // namespace
