// Pointers whose release may throw to whoever lets go.
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <type_traits>
#include <utility>
#include <vector>

#include "QVRCountedPointer.h"

namespace {

class Stubborn;
class MoreStubborn;

}  // namespace

template <>
inline constexpr bool QVRReleaseThrows<Stubborn> = true;
template <>
inline constexpr bool QVRReleaseThrows<MoreStubborn> = true;

namespace {

/// Objects of it that live.
int living = 0;

/// Says so when it is destroyed while it is suspended, and is gone all the same.
class Stubborn : public QVRCountedObject {
 public:
  explicit Stubborn(const char* complaint = nullptr) : complaint_(complaint) { ++living; }
  ~Stubborn() noexcept(false) override {
    --living;
    if (complaint_ != nullptr) throw std::runtime_error(complaint_);
  }

  QVRCountedPointer<Stubborn> next;

 private:
  const char* const complaint_;
};

class MoreStubborn : public Stubborn {
 public:
  using Stubborn::Stubborn;
};

using Pointer = QVRCountedPointer<Stubborn>;

static_assert(QVRReleaseThrows<QVRSysThreadBody> && !QVRReleaseThrows<QVRCountedObject>);
static_assert(sizeof(Pointer) == sizeof(void*));
static_assert(!std::is_nothrow_destructible_v<Pointer> &&
              !std::is_nothrow_copy_assignable_v<Pointer> &&
              !std::is_nothrow_move_assignable_v<Pointer> &&
              !std::is_nothrow_assignable_v<Pointer&, Stubborn*> &&
              !noexcept(std::declval<Pointer&>().detach()));
static_assert(!std::is_nothrow_destructible_v<QVRCountedPointer<const Stubborn>> &&
              !std::is_nothrow_destructible_v<QVRCountedPointer<MoreStubborn>>);
static_assert(std::is_nothrow_destructible_v<QVRCountedPointer<QVRCountedObject>>);

/// @return what the action throws.
std::string failureOf(const std::function<void()>& action) {
  try {
    action();
  } catch (const std::runtime_error& error) {
    return error.what();
  }
  return "";
}

class QVRCountedPointerReleaseTest : public testing::Test {
 protected:
  void TearDown() override { EXPECT_EQ(living, 0); }
};

TEST_F(QVRCountedPointerReleaseTest, DestructorReports) {
  EXPECT_EQ(failureOf([] { const Pointer pointer(new Stubborn("suspended")); }), "suspended");
  EXPECT_EQ(living, 0);
}

TEST_F(QVRCountedPointerReleaseTest, DetachReportsAndThePointerIsEmpty) {
  Pointer pointer(new Stubborn("suspended"));

  EXPECT_EQ(failureOf([&] { pointer.detach(); }), "suspended");

  EXPECT_FALSE(pointer);
  EXPECT_EQ(failureOf([&] { pointer.detach(); }), "");
}

TEST_F(QVRCountedPointerReleaseTest, AssignmentReportsAndThePointerIsEmpty) {
  Pointer source(new Stubborn);
  QVRCountedPointer<MoreStubborn> derived(new MoreStubborn);
  const std::function<void(Pointer&)> assignments[] = {
      [&](Pointer& pointer) { pointer = source; }, [&](Pointer& pointer) { pointer = derived; },
      [&](Pointer& pointer) { pointer = source.get(); },
      [&](Pointer& pointer) { pointer = nullptr; }};
  for (const auto& assign : assignments) {
    Pointer pointer(new Stubborn("suspended"));

    EXPECT_EQ(failureOf([&] { assign(pointer); }), "suspended");

    EXPECT_FALSE(pointer);
    EXPECT_EQ(source->getReferences(), 1u);
    EXPECT_EQ(derived->getReferences(), 1u);

    assign(pointer);
    EXPECT_EQ(living, 2) << "it serves on";
  }
}

template <class Source>
class QVRCountedPointerMoveTest : public QVRCountedPointerReleaseTest {};
using Sources = testing::Types<Stubborn, MoreStubborn>;
TYPED_TEST_SUITE(QVRCountedPointerMoveTest, Sources);

TYPED_TEST(QVRCountedPointerMoveTest, ReportsAndLeavesBothEmpty) {
  Pointer pointer(new Stubborn("suspended"));
  QVRCountedPointer<TypeParam> source(new TypeParam);

  EXPECT_EQ(failureOf([&] { pointer = std::move(source); }), "suspended");

  EXPECT_FALSE(pointer);
  EXPECT_FALSE(source);
  EXPECT_EQ(living, 0);
}

TEST_F(QVRCountedPointerReleaseTest, MoveOfALastReferenceThatThrowsTooReportsThat) {
  Pointer pointer(new Stubborn("first"));
  Pointer source(new Stubborn("second"));

  EXPECT_EQ(failureOf([&] { pointer = std::move(source); }), "second");

  EXPECT_FALSE(pointer);
  EXPECT_FALSE(source);
}

TEST_F(QVRCountedPointerReleaseTest, HeadOfAListMovesOnThoughItsOldEndThrows) {
  Pointer head(new Stubborn("first"));
  head->next = new Stubborn;

  // The source is part of the object that goes.
  EXPECT_EQ(failureOf([&] { head = std::move(head->next); }), "first");
  EXPECT_FALSE(head);
  EXPECT_EQ(living, 0);

  head = new Stubborn;
  head->next = new Stubborn;
  head = std::move(head->next);
  EXPECT_TRUE(head);
  EXPECT_EQ(living, 1);
}

TEST_F(QVRCountedPointerReleaseTest, MovesAndSelfAssignmentsCountNothing) {
  Pointer pointer(new Stubborn("suspended"));

  pointer = *&pointer;
  pointer = pointer.get();
  pointer = std::move(*&pointer);
  Pointer taken(std::move(pointer));
  EXPECT_FALSE(pointer);
  pointer = std::move(taken);
  EXPECT_FALSE(taken);
  EXPECT_EQ(pointer->getReferences(), 1u);

  taken = pointer;
  pointer = std::move(taken);
  EXPECT_EQ(pointer->getReferences(), 1u) << "both held one object";

  EXPECT_EQ(failureOf([&] { pointer.detach(); }), "suspended");
}

TEST(QVRCountedPointerReleaseDeathTest, ThrowingThroughAPointerToAnotherClassEndsTheProcess) {
  using Other = QVRCountedPointer<QVRCountedObject>;

  EXPECT_DEATH({ const Other pointer(new Stubborn("suspended")); }, "suspended");
  EXPECT_DEATH(Other(new Stubborn("suspended")).detach(), "suspended");
  EXPECT_DEATH(Other(new Stubborn("suspended")) = nullptr, "suspended");
  EXPECT_DEATH(Other(new Stubborn("suspended")) = Other(), "suspended");
  EXPECT_DEATH(Other(Pointer(new Stubborn("suspended"))).detach(), "suspended");
}

/// What a holder of such a pointer writes.
struct Holder {
  Pointer pointer;
  ~Holder() noexcept {}
};
static_assert(std::is_nothrow_destructible_v<Holder>);

TEST_F(QVRCountedPointerReleaseTest, HolderServesContainersAndThreads) {
  std::vector<Holder> holders(3);
  holders[0].pointer = new Stubborn;
  const auto shared = std::make_shared<Holder>(Holder{new Stubborn});

  std::thread([shared] { EXPECT_EQ(shared->pointer->getReferences(), 1u); }).join();

  EXPECT_EQ(living, 2);
}

}  // namespace
