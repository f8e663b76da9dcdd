// What functors and their bodies answer, whatever they call.
#include "QVRBaseFunctor.h"

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <type_traits>

#include "QVRFunctor0.h"
#include "RecordingBody.h"
#include "support/VirtualSlot.h"

namespace {

static_assert(sizeof(QVRBaseFunctor) == sizeof(void*) &&
              sizeof(_QVRBaseFunctorBody) == sizeof(void*));
static_assert(std::has_virtual_destructor_v<QVRBaseFunctor> &&
              std::is_nothrow_destructible_v<QVRBaseFunctor>);
static_assert(std::is_abstract_v<_QVRBaseFunctorBody> && std::is_abstract_v<_QVRBaseFunctor0Body> &&
              std::has_virtual_destructor_v<_QVRBaseFunctorBody>);
static_assert(!std::is_nothrow_destructible_v<_QVRBaseFunctorBody> &&
              !std::is_nothrow_destructible_v<_QVRBaseFunctor0Body>);

template <class T>
concept HasOtherOrders = requires(const T& a, const T& b) {
  a > b;
}
|| requires(const T& a, const T& b) { a <= b; }
|| requires(const T& a, const T& b) { a >= b; };
static_assert(!HasOtherOrders<QVRBaseFunctor> && !HasOtherOrders<QVRFunctor0>);

/// Functors for two callees, in their order, and for none.
class QVRBaseFunctorTest : public testing::Test {
 protected:
  int callees_[2] = {};
  std::string record_;
  const QVRFunctor0 empty_{};
  const QVRFunctor0 first_{new RecordingBody(record_, &callees_[0])};
  const QVRFunctor0 second_{new RecordingBody(record_, &callees_[1])};
};

TEST_F(QVRBaseFunctorTest, VirtualOperationsStandInTheirOrder) {
  EXPECT_EQ(slotOf(&QVRBaseFunctor::getBody), 2u) << "behind the destructor's two";

  EXPECT_EQ(slotOf(&_QVRBaseFunctorBody::getCallee), 0u);
  EXPECT_EQ(slotOf(&_QVRBaseFunctorBody::getMember), 1u);
  EXPECT_EQ(slotOf(&_QVRBaseFunctorBody::isEqual), 2u);
  EXPECT_EQ(slotOf(&_QVRBaseFunctorBody::isLess), 3u);
  EXPECT_EQ(slotOf(&_QVRBaseFunctor0Body::invoke), 6u) << "behind the destructor's two";
  EXPECT_EQ(slotOf(&_QVRBaseFunctor0Body::clone), 7u);
}

TEST_F(QVRBaseFunctorTest, IsEmptyByItself) {
  const QVRBaseFunctor functor;

  EXPECT_EQ(functor.getBody(), nullptr);
  EXPECT_FALSE(functor.isValid());
  EXPECT_FALSE(functor);
  EXPECT_EQ(functor.getCallee(), nullptr);
  EXPECT_TRUE(functor == empty_);
}

TEST_F(QVRBaseFunctorTest, AnswersFromItsBody) {
  const QVRBaseFunctor& functor = first_;

  EXPECT_NE(functor.getBody(), nullptr);
  EXPECT_TRUE(functor.isValid());
  EXPECT_TRUE(functor);
  EXPECT_EQ(functor.getCallee(), &callees_[0]);
}

TEST_F(QVRBaseFunctorTest, EqualityIsThatOfTheBodies) {
  const QVRFunctor0 alsoFirst(new RecordingBody(record_, &callees_[0]));

  EXPECT_TRUE(first_ == alsoFirst);
  EXPECT_FALSE(first_ != alsoFirst);
  EXPECT_FALSE(first_ == second_);
  EXPECT_TRUE(first_ != second_);
}

TEST_F(QVRBaseFunctorTest, EmptyOnesAreEqualToEachOtherAlone) {
  EXPECT_TRUE(empty_ == QVRFunctor0());
  EXPECT_FALSE(empty_ == first_);
  EXPECT_FALSE(first_ == empty_);
  const QVRFunctor0 ofNull(new RecordingBody(record_));
  EXPECT_FALSE(empty_ == ofNull) << "a body that names no callee is a body";
}

TEST_F(QVRBaseFunctorTest, OrderIsThatOfTheBodiesBehindTheEmptyOnes) {
  const QVRBaseFunctor* const ascending[] = {&empty_, &first_, &second_};
  for (int a = 0; a < 3; ++a) {
    for (int b = 0; b < 3; ++b) EXPECT_EQ(*ascending[a] < *ascending[b], a < b) << a << b;
  }
}

TEST_F(QVRBaseFunctorTest, AsksTheBodyOfTheLeftOperand) {
  struct Partial : RecordingBody {
    using RecordingBody::RecordingBody;
    bool isEqual(const _QVRBaseFunctorBody&) const override { return true; }
    bool isLess(const _QVRBaseFunctorBody&) const override { return true; }
  };
  const QVRFunctor0 partial(new Partial(record_));

  EXPECT_TRUE(partial == first_);
  EXPECT_FALSE(first_ == partial);
  EXPECT_TRUE(partial < first_);
  EXPECT_TRUE(partial < partial);
}

TEST_F(QVRBaseFunctorTest, KeysOrderedContainers) {
  std::map<QVRFunctor0, int> places{{second_, 2}, {empty_, 0}, {first_, 1}};

  EXPECT_EQ(places.size(), 3u);
  EXPECT_EQ(places.at(first_), 1);
  EXPECT_FALSE(places.begin()->first);
  EXPECT_FALSE(places.emplace(second_, 3).second);
}

}  // namespace
