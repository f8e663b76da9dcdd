// Handles that share a body.
#include "QVRSysHandleBase.h"

#include <gtest/gtest.h>

#include <set>
#include <string>
#include <type_traits>
#include <utility>

namespace {

/// A body that tells of its end.
class Body : public QVRSysBodyBase {
 public:
  explicit Body(std::string& record) : record_(record) {}
  ~Body() noexcept override { record_ += "ended "; }

 private:
  std::string& record_;
};

/// A handle as modules write them, and what it inherits.
class Handle : public QVRSysHandleBase {
 public:
  Handle() = default;
  Handle(Body* body) : QVRSysHandleBase(body) {}

  using QVRSysHandleBase::body;
};

static_assert(sizeof(QVRSysHandleBase) == sizeof(void*) &&
              !std::is_polymorphic_v<QVRSysHandleBase> &&
              std::is_base_of_v<QVRCountedBase, QVRSysHandleBase>);
static_assert(!std::is_default_constructible_v<QVRSysHandleBase> &&
              !std::is_constructible_v<QVRSysHandleBase, QVRSysBodyBase*> &&
              !std::is_copy_assignable_v<QVRSysHandleBase> &&
              !std::is_destructible_v<QVRSysHandleBase>);
static_assert(std::is_nothrow_move_constructible_v<Handle> &&
              std::is_nothrow_move_assignable_v<Handle> && std::is_nothrow_destructible_v<Handle>);

class QVRSysHandleBaseTest : public testing::Test {
 protected:
  std::string record_;
};

TEST_F(QVRSysHandleBaseTest, IsEmptyWithoutABody) {
  const Handle empty;
  const Handle ofNull(nullptr);
  for (const Handle* handle : {&empty, &ofNull}) {
    EXPECT_FALSE(handle->isValid());
    EXPECT_FALSE(*handle);
    EXPECT_EQ(handle->body(), nullptr);
  }
  EXPECT_TRUE(empty == ofNull);
}

TEST_F(QVRSysHandleBaseTest, HoldsAReferenceToTheCountedPartOfItsBody) {
  auto* const body = new Body(record_);
  {
    const Handle handle(body);
    EXPECT_TRUE(handle.isValid());
    EXPECT_EQ(handle.body(), body);
    EXPECT_EQ(body->getReferences(), 1u);
    EXPECT_TRUE(handle == static_cast<QVRCountedObject*>(body));
  }
  EXPECT_EQ(record_, "ended ");
}

TEST_F(QVRSysHandleBaseTest, CopiesShareTheBody) {
  Handle handle(new Body(record_));
  Handle assigned;
  assigned = handle;
  const Handle copy(handle);

  EXPECT_EQ(copy.body(), handle.body());
  EXPECT_EQ(assigned.body(), handle.body());
  EXPECT_EQ(handle.body()->getReferences(), 3u);

  handle = static_cast<const Handle&>(handle);
  EXPECT_EQ(handle.body()->getReferences(), 3u);
  handle = Handle();
  assigned = handle;
  EXPECT_EQ(copy.body()->getReferences(), 1u);
  EXPECT_EQ(record_, "");
}

TEST_F(QVRSysHandleBaseTest, MovesLeaveTheSourceEmptyAndTheCountAlone) {
  Handle handle(new Body(record_));
  const QVRSysBodyBase* const body = handle.body();

  Handle moved(std::move(handle));
  EXPECT_FALSE(handle.isValid());
  Handle target(new Body(record_));
  target = std::move(moved);

  EXPECT_FALSE(moved.isValid());
  EXPECT_EQ(target.body(), body);
  EXPECT_EQ(body->getReferences(), 1u);
  EXPECT_EQ(record_, "ended ") << "what the target had";
}

TEST_F(QVRSysHandleBaseTest, ComparesByBody) {
  const Handle first(new Body(record_));
  const Handle second(new Body(record_));
  const Handle alsoFirst(first);

  EXPECT_TRUE(first == alsoFirst);
  EXPECT_TRUE(first != second);
  EXPECT_NE(first < second, second < first);
  EXPECT_FALSE(first < alsoFirst);
  EXPECT_TRUE(Handle() < first);
  EXPECT_EQ((std::set<Handle>{first, second, alsoFirst}).size(), 2u);
}

}  // namespace
