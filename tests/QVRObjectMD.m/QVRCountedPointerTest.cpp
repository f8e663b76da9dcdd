// Typed pointers that share what they point to.
#include "QVRCountedPointer.h"

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <latch>
#include <memory>
#include <set>
#include <string>
#include <thread>
#include <type_traits>
#include <utility>
#include <vector>

#include "CountedProbe.h"

namespace {

class Base : public CountedProbe {
 public:
  using CountedProbe::CountedProbe;
  int number = 1;
};

class Derived : public Base {
 public:
  using Base::Base;
};

struct Named {
  virtual ~Named() = default;
  std::string name = "named";
};

/// Its counted part is not its first base.
class Second : public Named, public Base {
 public:
  using Base::Base;
};

/// Its counted part is a virtual base.
class Virtual : public Named, public virtual Base {
 public:
  explicit Virtual(int& ends) : Base(ends) {}
};

class Unrelated : public QVRCountedObject {};

using BasePointer = QVRCountedPointer<Base>;
using DerivedPointer = QVRCountedPointer<Derived>;
using ConstPointer = QVRCountedPointer<const Base>;

static_assert(sizeof(BasePointer) == sizeof(void*) &&
              sizeof(QVRCountedPointer<Second>) == sizeof(void*) &&
              sizeof(QVRCountedPointer<Virtual>) == sizeof(void*));
static_assert(std::is_base_of_v<QVRCountedBase, BasePointer> &&
              std::is_convertible_v<BasePointer*, QVRCountedBase*>);
static_assert(!std::is_final_v<BasePointer> && !std::is_polymorphic_v<BasePointer>);

static_assert(std::is_nothrow_default_constructible_v<BasePointer> &&
              std::is_nothrow_copy_constructible_v<BasePointer> &&
              std::is_nothrow_move_constructible_v<BasePointer> &&
              std::is_nothrow_copy_assignable_v<BasePointer> &&
              std::is_nothrow_move_assignable_v<BasePointer> &&
              std::is_nothrow_assignable_v<BasePointer&, Base*> &&
              std::is_nothrow_assignable_v<BasePointer&, DerivedPointer> &&
              std::is_nothrow_destructible_v<BasePointer> &&
              std::is_nothrow_swappable_v<BasePointer>);

template <class To, class From>
inline constexpr bool takes = std::is_convertible_v<From, To>&& std::is_assignable_v<To&, From>;
template <class To, class From>
inline constexpr bool refuses =
    !std::is_constructible_v<To, From> && !std::is_assignable_v<To&, From>;

static_assert(takes<BasePointer, Base*> && takes<BasePointer, Derived*> &&
              takes<BasePointer, std::nullptr_t>);
static_assert(takes<BasePointer, const BasePointer&> && takes<BasePointer, BasePointer> &&
              takes<BasePointer, const DerivedPointer&> && takes<BasePointer, DerivedPointer> &&
              takes<BasePointer, QVRCountedPointer<Second>> &&
              takes<BasePointer, QVRCountedPointer<Virtual>>);
static_assert(takes<ConstPointer, BasePointer> && takes<ConstPointer, const DerivedPointer&> &&
              takes<ConstPointer, Base*> && takes<ConstPointer, const Base*>);
static_assert(refuses<BasePointer, ConstPointer> && refuses<BasePointer, const ConstPointer&> &&
              refuses<BasePointer, const Base*>);
static_assert(refuses<DerivedPointer, BasePointer> && refuses<DerivedPointer, const BasePointer&> &&
              refuses<DerivedPointer, Base*> && refuses<DerivedPointer, QVRCountedObject*>);
static_assert(refuses<BasePointer, Unrelated*> &&
              refuses<BasePointer, QVRCountedPointer<Unrelated>> &&
              refuses<BasePointer, const QVRCountedPointer<Unrelated>&> &&
              refuses<BasePointer, std::shared_ptr<Base>> &&
              refuses<BasePointer, std::unique_ptr<Base>> &&
              refuses<BasePointer, const QVRCountedBase&> && refuses<BasePointer, QVRCountedBase> &&
              refuses<BasePointer, bool>);

static_assert(std::is_same_v<decltype(*std::declval<ConstPointer>()), const Base&> &&
              std::is_same_v<decltype(std::declval<BasePointer>().get()), Base*>);

template <class A, class B>
concept IsLess = requires(const A& a, const B& b) {
  a < b;
};
template <class A, class B>
concept HasAnotherOrder = requires(const A& a, const B& b) {
  a > b;
}
|| requires(const A& a, const B& b) { a <= b; }
|| requires(const A& a, const B& b) { a >= b; }
|| requires(const A& a, const B& b) { a <=> b; };
template <class A, class B>
concept AreOrdered = IsLess<A, B> || IsLess<B, A> || HasAnotherOrder<A, B> || HasAnotherOrder<B, A>;
template <class A, class B>
concept AreEqual = requires(const A& a, const B& b) {
  a == b;
}
|| requires(const A& a, const B& b) { b == a; }
|| requires(const A& a, const B& b) { a != b; };

// All of these would compile through the conversion to bool, or the base's `<`.
static_assert(IsLess<BasePointer, BasePointer> && !HasAnotherOrder<BasePointer, BasePointer>);
static_assert(!AreOrdered<BasePointer, DerivedPointer> && !AreOrdered<BasePointer, ConstPointer> &&
              !AreOrdered<BasePointer, QVRCountedPointer<Unrelated>>);
static_assert(!AreOrdered<BasePointer, Base*> && !AreOrdered<BasePointer, std::nullptr_t>);
static_assert(!AreOrdered<BasePointer, int> && !AreOrdered<BasePointer, bool> &&
              !AreOrdered<BasePointer, double>);
static_assert(!HasAnotherOrder<BasePointer, QVRCountedBase> &&
              !HasAnotherOrder<QVRCountedBase, BasePointer> &&
              IsLess<QVRCountedBase, QVRCountedBase> &&
              !HasAnotherOrder<QVRCountedBase, QVRCountedBase>);
static_assert(AreEqual<BasePointer, DerivedPointer> && AreEqual<BasePointer, Base*> &&
              AreEqual<BasePointer, bool>);
static_assert(!AreEqual<BasePointer, int> && !AreEqual<BasePointer, unsigned long> &&
              !AreEqual<BasePointer, double>);

class Incomplete;

/// A class is complete where it is used, not where a pointer to it is declared.
struct Declared {
  QVRCountedPointer<Incomplete> member;
};

TEST(QVRCountedPointerTest, IsEmptyByDefault) {
  const BasePointer empty;
  const BasePointer null = nullptr;
  const Declared declared;

  EXPECT_FALSE(empty);
  EXPECT_EQ(empty.get(), nullptr);
  EXPECT_FALSE(null);
  EXPECT_FALSE(declared.member);
}

TEST(QVRCountedPointerTest, GivesTheObject) {
  auto* const object = new Base;
  const BasePointer pointer = object;

  EXPECT_TRUE(pointer);
  EXPECT_EQ(pointer.get(), object);
  EXPECT_EQ(&*pointer, object);
  EXPECT_EQ(pointer->number, 1);
  EXPECT_EQ(object->getReferences(), 1u);
}

template <class T>
class QVRCountedPointerOfTest : public testing::Test {};
using Pointees = testing::Types<Base, const Base, Second, const Second, Virtual, const Virtual>;
TYPED_TEST_SUITE(QVRCountedPointerOfTest, Pointees);

TYPED_TEST(QVRCountedPointerOfTest, HoldsTheObjectWhereverItsCountedPartIs) {
  int ends = 0;
  TypeParam* const object = new std::remove_const_t<TypeParam>(ends);
  {
    QVRCountedPointer<TypeParam> pointer(object);
    const QVRCountedPointer<TypeParam> copy(pointer);
    EXPECT_EQ(pointer.get(), object);
    EXPECT_EQ(copy.get(), object);
    EXPECT_EQ(copy->number, 1);
    EXPECT_EQ(object->getReferences(), 2u);
    EXPECT_TRUE(pointer == object);

    const QVRCountedPointer<TypeParam> moved(std::move(pointer));
    EXPECT_EQ(moved.get(), object);
    EXPECT_EQ(pointer.get(), nullptr);
    EXPECT_EQ(object->getReferences(), 2u);

    const QVRCountedPointer<const QVRCountedObject> root = moved;
    EXPECT_EQ(root.get(), static_cast<const QVRCountedObject*>(object));

    pointer = object;
    EXPECT_EQ(object->getReferences(), 4u);
  }
  EXPECT_EQ(ends, 1);
}

TEST(QVRCountedPointerTest, ConvertsToAPointerToABase) {
  auto* const object = new Second;
  QVRCountedPointer<Second> second(object);

  BasePointer copied = second;
  EXPECT_EQ(copied.get(), object);
  EXPECT_EQ(object->getReferences(), 2u);

  const BasePointer moved = std::move(second);
  EXPECT_EQ(moved.get(), object);
  EXPECT_FALSE(second);
  EXPECT_EQ(object->getReferences(), 2u);

  second = object;
  copied = nullptr;
  copied = second;
  EXPECT_EQ(copied.get(), object);
  EXPECT_EQ(object->getReferences(), 3u);

  copied = std::move(second);
  EXPECT_FALSE(second);
  EXPECT_EQ(object->getReferences(), 2u);
}

TEST(QVRCountedPointerTest, AssignmentLetsGoOfTheOldBeforeItCountsTheNew) {
  auto* const next = new Derived;
  const DerivedPointer source(next);
  const BasePointer sameClass(next);
  const std::function<void(BasePointer&)> assignments[] = {
      [&](BasePointer& pointer) { pointer = next; },
      [&](BasePointer& pointer) { pointer = sameClass; },
      [&](BasePointer& pointer) { pointer = source; }};
  for (const auto& assign : assignments) {
    unsigned int countAtEnd = 0;
    BasePointer pointer(new Base([&] { countAtEnd = next->getReferences(); }));

    assign(pointer);

    EXPECT_EQ(countAtEnd, 2u);
    EXPECT_EQ(pointer.get(), next);
    EXPECT_EQ(next->getReferences(), 3u);
  }
}

TEST(QVRCountedPointerTest, AssigningNullLetsGo) {
  int ends = 0;
  BasePointer pointer(new Base(ends));
  pointer = nullptr;
  EXPECT_EQ(ends, 1);
  EXPECT_FALSE(pointer);

  pointer = new Base(ends);
  pointer = {};
  EXPECT_EQ(ends, 2);
  EXPECT_FALSE(pointer);

  pointer = new Base(ends);
  pointer = DerivedPointer();
  EXPECT_EQ(ends, 3);

  pointer = new Base(ends);
  pointer.detach();
  EXPECT_EQ(ends, 4);
  EXPECT_FALSE(pointer);
}

TEST(QVRCountedPointerTest, NeitherMovingNorAssigningTheSameCounts) {
  const std::function<void(DerivedPointer&, Derived*)> actions[] = {
      [](DerivedPointer& pointer, Derived* object) { pointer = object; },
      [](DerivedPointer& pointer, Derived*) { pointer = *&pointer; },
      [](DerivedPointer& pointer, Derived*) { pointer = std::move(*&pointer); },
      [](DerivedPointer& pointer, Derived*) {
        DerivedPointer taken(std::move(pointer));
        pointer = std::move(taken);
      },
      [](DerivedPointer& pointer, Derived*) {
        DerivedPointer other;
        std::swap(pointer, other);
        std::swap(pointer, other);
      },
  };
  // A count of 1 tells of a reference that goes before one comes, a count of 0 of one
  // that comes before one goes.
  for (const unsigned int initial : {0U, kOneBelowZero}) {
    for (const auto& act : actions) {
      int ends = 0;
      auto* const object = new Derived(ends, initial);
      {
        DerivedPointer pointer(object);

        act(pointer, object);

        ASSERT_EQ(ends, 0);
        EXPECT_EQ(object->getReferences(), initial + 1);
        EXPECT_EQ(pointer.get(), object);
      }
      if (ends == 0) delete object;
    }
  }
}

TEST(QVRCountedPointerTest, AssigningTheSameFromADerivedPointerCountsNothing) {
  int ends = 0;
  auto* const object = new Derived(ends, kOneBelowZero - 1);
  BasePointer pointer(object);
  DerivedPointer source(object);
  ASSERT_EQ(object->getReferences(), 0u);

  pointer = source;
  ASSERT_EQ(ends, 0);
  EXPECT_EQ(object->getReferences(), 0u);

  pointer.detach();
  source.detach();
  delete object;
}

TEST(QVRCountedPointerTest, MoveBetweenTwoOfOneObjectLetsGoOfOneReference) {
  auto* const object = new Derived;
  BasePointer target(object);
  BasePointer source(object);
  DerivedPointer derived(object);

  target = std::move(source);
  EXPECT_EQ(object->getReferences(), 2u);
  EXPECT_FALSE(source);

  target = std::move(derived);
  EXPECT_EQ(object->getReferences(), 1u);
  EXPECT_FALSE(derived);
  EXPECT_EQ(target.get(), object);
}

struct Node : CountedProbe {
  using CountedProbe::CountedProbe;
  QVRCountedPointer<Node> next;
};

TEST(QVRCountedPointerTest, HeadOfAListMovesOnToItsNext) {
  int ends = 0;
  QVRCountedPointer<Node> head;
  for (int i = 0; i < 3; ++i) {
    auto* const node = new Node(ends);
    node->next = std::move(head);
    head = node;
  }
  for (int gone = 1; gone <= 3; ++gone) {
    head = std::move(head->next);

    EXPECT_EQ(ends, gone);
    EXPECT_EQ(head != nullptr, gone < 3);
  }
}

TEST(QVRCountedPointerTest, ComparesByTheAddressOfTheObject) {
  auto* const object = new Second;
  const QVRCountedPointer<Second> second(object);
  const BasePointer base(object);
  const BasePointer other(new Base);
  const BasePointer empty;
  const Second* const constant = object;
  const QVRCountedBase& handle = base;

  EXPECT_TRUE(base == BasePointer(base) && !(base != BasePointer(base)));
  EXPECT_TRUE(base == second && second == base && !(base != second) && !(second != base));
  EXPECT_TRUE(base != other && !(base == other) && second != other && other != second);

  EXPECT_TRUE(second == object && object == second && !(second != object) && !(object != second));
  EXPECT_TRUE(second == constant && constant == second);
  EXPECT_TRUE(base == object && object == base) << "of another class, at another address";
  EXPECT_TRUE(other != object && object != other && !(other == object) && !(object == other));

  EXPECT_TRUE(empty == nullptr && nullptr == empty && !(empty != nullptr) && !(nullptr != empty));
  EXPECT_TRUE(base != nullptr && nullptr != base && !(base == nullptr) && !(nullptr == base));
  EXPECT_TRUE(empty == BasePointer() && empty == QVRCountedPointer<Unrelated>());

  EXPECT_TRUE(base == handle && handle == base && other != handle && handle != other);
}

TEST(QVRCountedPointerTest, IsOrderedByTheAddressOfTheObject) {
  const BasePointer first(new Base);
  const BasePointer other(new Base);

  EXPECT_FALSE(first < BasePointer(first));
  EXPECT_NE(first < other, other < first);
  EXPECT_EQ(first < other, std::less<>()(first.get(), other.get()));
  EXPECT_TRUE(BasePointer() < first);
  EXPECT_EQ((std::set<BasePointer>{first, other, first}).size(), 2u);
  EXPECT_EQ((std::set<std::pair<BasePointer, int>>{{first, 1}, {other, 1}, {first, 1}}).size(), 2u);
}

/// Has comparisons of its own.
class Judged : public QVRCountedObject {
 public:
  explicit Judged(int value) : rank(value) {}
  const int rank;
};
using JudgedPointer = QVRCountedPointer<Judged>;

bool operator==(const JudgedPointer& a, const JudgedPointer& b) { return a->rank == b->rank; }
bool operator<(const JudgedPointer& a, const JudgedPointer& b) { return a->rank < b->rank; }

TEST(QVRCountedPointerTest, ComparisonsOfOneClassTakePrecedence) {
  const JudgedPointer first(new Judged(1));
  const JudgedPointer second(new Judged(2));
  const JudgedPointer third(new Judged(2));

  EXPECT_TRUE(second == third);
  EXPECT_FALSE(second != third);
  EXPECT_TRUE(first != second);
  EXPECT_TRUE(first < second && !(second < first) && !(second < third) && !(third < second));
  EXPECT_TRUE(second != third.get()) << "the others stay";
}

/// Has comparisons of its own that take their pointers by value.
class Weighed : public QVRCountedObject {
 public:
  explicit Weighed(int value) : weight(value) {}
  const int weight;
};
using WeighedPointer = QVRCountedPointer<Weighed>;

bool operator==(WeighedPointer a, WeighedPointer b) { return a->weight == b->weight; }
bool operator<(WeighedPointer a, WeighedPointer b) { return a->weight < b->weight; }
bool operator>(WeighedPointer a, WeighedPointer b) { return b < a; }

static_assert(!AreOrdered<WeighedPointer, BasePointer>);

TEST(QVRCountedPointerTest, ComparisonsByValueTakePrecedence) {
  const WeighedPointer light(new Weighed(1));
  const WeighedPointer heavy(new Weighed(2));
  const WeighedPointer alike(new Weighed(2));

  EXPECT_TRUE(heavy == alike && !(heavy != alike) && light != heavy);
  EXPECT_TRUE(light < heavy && !(heavy < light) && !(heavy < alike) && !(alike < heavy));
  EXPECT_TRUE(heavy > light && !(light > heavy) && !(heavy > alike));
}

TEST(QVRCountedPointerTest, ContainersMoveIt) {
  int ends = 0;
  auto* const object = new Base(ends, kOneBelowZero);
  {
    // Held at count 0: a copy that comes and goes would end it.
    std::vector<BasePointer> pointers;
    pointers.emplace_back(object);
    for (int i = 0; i < 100; ++i) pointers.emplace_back(new Base(ends));
    pointers.erase(pointers.begin() + 1, pointers.end());

    EXPECT_EQ(ends, 100);
    EXPECT_EQ(object->getReferences(), 0u);
  }
  delete object;
}

TEST(QVRCountedPointerTest, ThreadsShareAnObjectThatGoesOnce) {
  constexpr int kThreads = 64;
  std::atomic<int> ends = 0;
  for (int round = 0; round < 10; ++round) {
    std::latch start(kThreads);
    std::vector<std::jthread> threads;
    BasePointer pointer(new Base([&] { ++ends; }));
    for (int i = 0; i < kThreads; ++i) {
      threads.emplace_back([&start, held = pointer]() mutable {
        start.arrive_and_wait();
        for (int step = 0; step < 100; ++step) {
          BasePointer copy(held);
          held = std::move(copy);
        }
        held = nullptr;
      });
    }
    pointer = nullptr;
    threads.clear();

    EXPECT_EQ(ends, round + 1);
  }
}

}  // namespace
