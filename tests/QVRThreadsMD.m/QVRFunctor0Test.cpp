// Functors that own their bodies, and the bodies for functions and members.
#include "QVRFunctor0.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "RecordingBody.h"
#include "support/AllocationRefuser.h"

namespace {

static_assert(sizeof(QVRFunctor0) == 2 * sizeof(void*));
static_assert(std::is_nothrow_move_constructible_v<QVRFunctor0> &&
              std::is_nothrow_move_assignable_v<QVRFunctor0> &&
              std::is_nothrow_destructible_v<QVRFunctor0>);
static_assert(!std::is_invocable_v<const QVRFunctor0&>);

TEST(QVRFunctor0Test, OwnsItsBody) {
  std::string record;
  auto* const body = new RecordingBody(record);
  {
    QVRFunctor0 functor(body);
    EXPECT_EQ(functor.getBody(), body);
    functor();
    functor();
    EXPECT_EQ(record, "ii");
  }
  EXPECT_EQ(record, "iid");
}

TEST(QVRFunctor0Test, OfNoBodyDoesNothing) {
  QVRFunctor0 functor;
  QVRFunctor0 ofNull(nullptr);
  for (QVRFunctor0* const empty : {&functor, &ofNull}) {
    (*empty)();
    EXPECT_FALSE(*empty);
    EXPECT_EQ(empty->getBody(), nullptr);
    EXPECT_FALSE(QVRFunctor0(*empty));
  }
}

TEST(QVRFunctor0Test, CopyHasAnEqualBodyOfItsOwn) {
  std::string record;
  int callee = 0;
  auto functor = std::make_unique<QVRFunctor0>(new RecordingBody(record, &callee));

  QVRFunctor0 copy(*functor);
  EXPECT_EQ(record, "c");
  EXPECT_NE(copy.getBody(), functor->getBody());
  EXPECT_TRUE(copy == *functor);

  functor.reset();
  copy();
  EXPECT_EQ(record, "cdi");
}

TEST(QVRFunctor0Test, AssignmentDeletesBeforeItClones) {
  std::string record;
  QVRFunctor0 target(new RecordingBody(record));
  const QVRFunctor0 source(new RecordingBody(record));

  EXPECT_EQ(&(target = source), &target);

  EXPECT_EQ(record, "dc");
  EXPECT_NE(target.getBody(), source.getBody());
}

TEST(QVRFunctor0Test, AssignmentToItselfKeepsTheBody) {
  std::string record;
  QVRFunctor0 functor(new RecordingBody(record));
  const _QVRBaseFunctorBody* const body = functor.getBody();

  functor = static_cast<const QVRFunctor0&>(functor);
  functor = static_cast<QVRFunctor0&&>(functor);

  EXPECT_EQ(functor.getBody(), body);
  EXPECT_EQ(record, "");
}

TEST(QVRFunctor0Test, AssignmentFromAnEmptyOneEmpties) {
  std::string record;
  QVRFunctor0 functor(new RecordingBody(record));
  const QVRFunctor0 empty;

  functor = empty;

  EXPECT_FALSE(functor);
  EXPECT_EQ(record, "d");
}

TEST(QVRFunctor0Test, MovesHandTheBodyOver) {
  std::string record;
  QVRFunctor0 first(new RecordingBody(record));
  const _QVRBaseFunctorBody* const body = first.getBody();

  QVRFunctor0 second(std::move(first));
  EXPECT_FALSE(first);
  QVRFunctor0 third(new RecordingBody(record));
  third = std::move(second);

  EXPECT_FALSE(second);
  EXPECT_EQ(third.getBody(), body);
  EXPECT_EQ(record, "d") << "that of the third alone";
}

TEST(QVRFunctor0Test, ExceptionsOfTheCalleeComeThrough) {
  QVRFunctor0 functor = QVRMakeFunctor0(+[] { throw std::runtime_error("the callee's"); });

  EXPECT_THROW(functor(), std::runtime_error);
  EXPECT_THROW(functor(), std::runtime_error) << "it can be called again";
}

/// A body that can be neither cloned nor, before `fails` is false, deleted in peace.
class FailingBody : public _QVRBaseFunctor0Body {
 public:
  explicit FailingBody(const bool& fails) : fails_(fails) {}
  ~FailingBody() noexcept(false) override {
    if (fails_) throw std::runtime_error("cannot end");
  }

  void* getCallee() const override { return nullptr; }
  void* getMember() const override { return nullptr; }
  bool isEqual(const _QVRBaseFunctorBody&) const override { return false; }
  bool isLess(const _QVRBaseFunctorBody&) const override { return false; }
  void invoke() override {}
  FailingBody* clone() const override { throw std::logic_error("cannot clone"); }

 private:
  const bool& fails_;
};

TEST(QVRFunctor0Test, AssignmentThatFailsLeavesItEmpty) {
  std::string record;
  bool fails = false;
  const QVRFunctor0 failing(new FailingBody(fails));
  QVRFunctor0 target(new RecordingBody(record));

  EXPECT_THROW(target = failing, std::logic_error);
  EXPECT_FALSE(target);
  EXPECT_EQ(record, "d");

  target = QVRFunctor0(new FailingBody(fails));
  const QVRFunctor0 source(new RecordingBody(record));
  fails = true;
  EXPECT_THROW(target = source, std::runtime_error) << "the old body's";
  EXPECT_FALSE(target);
  fails = false;
}

TEST(QVRFunctor0DeathTest, BodyThatThrowsAtItsEndEndsTheProcess) {
  const auto dropFailing = [] {
    const bool fails = true;
    { const QVRFunctor0 functor(new FailingBody(fails)); }
  };
  EXPECT_DEATH(dropFailing(), "cannot end");
}

TEST(QVRFunctor0Test, LackOfMemoryComesThrough) {
  int calls = 0;
  struct Counter {
    int& calls;
    void count() { ++calls; }
  } counter{calls};
  const QVRFunctor0 functor = QVRMakeFunctor0(&counter, &Counter::count);
  QVRFunctor0 target;

  EXPECT_EQ(refuseEachAllocation([] { QVRMakeFunctor0(+[] {}); }), 1u);
  EXPECT_EQ(refuseEachAllocation([&] { QVRMakeFunctor0(&counter, &Counter::count); }), 1u);
  EXPECT_EQ(refuseEachAllocation([&] { QVRFunctor0 copy(functor); }), 1u);
  EXPECT_EQ(refuseEachAllocation([&] { target = functor; }, [&] { EXPECT_FALSE(target); }), 1u);

  target();
  EXPECT_EQ(calls, 1);
}

int calls = 0;
void count() { ++calls; }
void countTwice() noexcept { calls += 2; }
int countThrice() { return calls += 3; }
[[nodiscard]] std::unique_ptr<int> countMore() {
  calls += 4;
  return std::make_unique<int>(calls);
}
int& countMost() { return calls += 5; }
[[maybe_unused]] void count(int) { FAIL() << "this one is not without arguments"; }

TEST(QVRMakeFunctor0Test, CallsFreeFunctionsOfAnyResult) {
  calls = 0;

  QVRMakeFunctor0 (&countTwice)();
  EXPECT_EQ(calls, 2);
  QVRMakeFunctor0(countThrice)();
  EXPECT_EQ(calls, 5);
  QVRMakeFunctor0 (&countMore)();
  EXPECT_EQ(calls, 9);
  QVRMakeFunctor0 (&countMost)();
  EXPECT_EQ(calls, 14);
  QVRMakeFunctor0 (&count)();
  EXPECT_EQ(calls, 15) << "the one of the two that has no argument";
}

TEST(QVRMakeFunctor0Test, FreeFunctionIsItsOwnCallee) {
  const QVRFunctor0 functor = QVRMakeFunctor0(&countThrice);

  EXPECT_EQ(functor.getCallee(), reinterpret_cast<void*>(&countThrice));
  EXPECT_EQ(functor.getBody()->getMember(), nullptr);
}

/// Writes down which of its members was called.
struct Recorder {
  virtual ~Recorder() = default;

  void plain() { called = "plain"; }
  void constant() const { called = "constant"; }
  int quiet() noexcept { return called = "quiet", 1; }
  std::string constantQuiet() const noexcept { return called = "constant quiet"; }
  virtual void overridden() { called = "base"; }
  void both() { called = "both"; }
  void both() const { called = "both, constant"; }
  void both(int) { called = "both, with an argument"; }
  Recorder& self() { return called = "self", *this; }

  mutable std::string called;
};

struct Padding {
  virtual ~Padding() = default;
  long padding = 0;
};

struct Derived : Padding, Recorder {
  void overridden() override { called = "derived"; }
  void own() { called = "own"; }
};

TEST(QVRMakeFunctor0Test, CallsMembersOfObjects) {
  Derived object;
  const Derived& constant = object;
  Recorder* const base = &object;

  struct {
    QVRFunctor0 functor;
    const char* called;
    const void* callee;
  } cases[] = {
      {QVRMakeFunctor0(base, &Recorder::plain), "plain", base},
      {QVRMakeFunctor0(base, &Recorder::constant), "constant", base},
      {QVRMakeFunctor0(base, &Recorder::quiet), "quiet", base},
      {QVRMakeFunctor0(base, &Recorder::constantQuiet), "constant quiet", base},
      {QVRMakeFunctor0(base, &Recorder::self), "self", base},
      {QVRMakeFunctor0(base, &Recorder::overridden), "derived", base},
      {QVRMakeFunctor0(base, &Recorder::both), "both", base},
      {QVRMakeFunctor0(&object, &Derived::own), "own", &object},
      {QVRMakeFunctor0(&object, &Derived::overridden), "derived", &object},
      {QVRMakeFunctor0(&object, &Derived::plain), "plain", &object},
      {QVRMakeFunctor0(&object, &Recorder::quiet), "quiet", &object},
      {QVRMakeFunctor0(&object, &Recorder::both), "both", &object},
      {QVRMakeFunctor0(&object, &Recorder::constant), "constant", &object},
      {QVRMakeFunctor0(&constant, &Recorder::constant), "constant", &object},
      {QVRMakeFunctor0(&constant, &Recorder::constantQuiet), "constant quiet", &object},
      {QVRMakeFunctor0(&constant, &Recorder::both), "both, constant", &object},
  };
  for (auto& c : cases) {
    for (QVRFunctor0 functor : {c.functor, QVRFunctor0()}) {
      if (!functor) functor = c.functor;  // by assignment
      object.called.clear();
      functor();
      EXPECT_EQ(object.called, c.called);
      EXPECT_EQ(functor.getCallee(), c.callee) << c.called;
      EXPECT_TRUE(functor == c.functor) << c.called;
    }
  }
}

template <class Object, class Member>
concept CanCall = requires(Object* object, Member member) {
  QVRMakeFunctor0(object, member);
};
static_assert(CanCall<Recorder, decltype(&Recorder::plain)> &&
              !CanCall<const Recorder, decltype(&Recorder::plain)> &&
              !CanCall<const Recorder, decltype(&Recorder::quiet)> &&
              CanCall<const Recorder, decltype(&Recorder::constantQuiet)> &&
              !CanCall<Recorder, decltype(&Derived::own)> &&
              !CanCall<Padding, decltype(&Recorder::constant)> &&
              !CanCall<volatile Recorder, decltype(&Recorder::constant)> &&
              !CanCall<Recorder, decltype(&Recorder::called)> &&
              !CanCall<Recorder, void (Recorder::*)(int)>);

TEST(QVRMakeFunctor0Test, GetMemberIsThePointerThatTheBodyKeeps) {
  Recorder object;
  const QVRFunctor0 functor = QVRMakeFunctor0(&object, &Recorder::plain);
  const QVRFunctor0 copy = functor;

  const auto memberOf = [](const QVRFunctor0& f) {
    return static_cast<void (Recorder::**)()>(f.getBody()->getMember());
  };
  EXPECT_TRUE(*memberOf(functor) == &Recorder::plain);
  EXPECT_TRUE(*memberOf(copy) == &Recorder::plain);
  EXPECT_NE(memberOf(functor), memberOf(copy));
}

TEST(QVRMakeFunctor0Test, FunctorsOfOneCalleeAndFunctionAreEqual) {
  Recorder object;
  const Recorder& constant = object;
  void (*const quiet)() = &countTwice;

  EXPECT_TRUE(QVRMakeFunctor0(&countTwice) == QVRMakeFunctor0(quiet));
  EXPECT_TRUE(QVRMakeFunctor0(&object, &Recorder::plain) ==
              QVRMakeFunctor0(&object, &Recorder::plain));
  EXPECT_TRUE(QVRMakeFunctor0(&object, &Recorder::constant) ==
              QVRMakeFunctor0(&constant, &Recorder::constant));
  EXPECT_FALSE(QVRMakeFunctor0(&object, &Recorder::constant) <
               QVRMakeFunctor0(&constant, &Recorder::constant));
}

/// Whether each functor equals itself alone, and `<` puts all in one strict order.
void expectStrictOrder(std::vector<QVRFunctor0> functors) {
  std::sort(functors.begin(), functors.end());
  for (std::size_t a = 0; a < functors.size(); ++a) {
    for (std::size_t b = 0; b < functors.size(); ++b) {
      EXPECT_EQ(functors[a] == functors[b], a == b) << a << " and " << b;
      EXPECT_EQ(functors[a] < functors[b], a < b) << a << " and " << b;
    }
  }
}

TEST(QVRMakeFunctor0Test, FunctionsOfOneCalleeHaveAFixedOrder) {
  Derived object;
  std::string record;
  int first = 0;

  expectStrictOrder(
      {QVRMakeFunctor0(&object, &Derived::own), QVRMakeFunctor0(&object, &Derived::overridden),
       QVRMakeFunctor0(&object, &Recorder::plain), QVRMakeFunctor0(&object, &Recorder::both),
       QVRMakeFunctor0(static_cast<const Derived*>(&object), &Recorder::both),
       QVRMakeFunctor0(&object, &Recorder::constant), QVRMakeFunctor0(&object, &Recorder::quiet),
       QVRMakeFunctor0(&object, &Recorder::overridden), QVRMakeFunctor0(&object, &Recorder::self),
       QVRMakeFunctor0(&countMost), QVRMakeFunctor0(&countThrice), QVRMakeFunctor0(&countTwice),
       QVRFunctor0(new RecordingBody(record, &first)), QVRFunctor0()});
}

TEST(QVRMakeFunctor0Test, CalleesComeFirstInTheOrder) {
  Recorder objects[2];
  const auto low = QVRMakeFunctor0(&objects[0], &Recorder::plain);
  const auto lowToo = QVRMakeFunctor0(&objects[0], &Recorder::constant);
  const auto high = QVRMakeFunctor0(&objects[1], &Recorder::plain);
  const auto highToo = QVRMakeFunctor0(&objects[1], &Recorder::constant);

  for (const auto* below : {&low, &lowToo}) {
    for (const auto* above : {&high, &highToo}) {
      EXPECT_TRUE(*below < *above);
      EXPECT_FALSE(*above < *below);
      EXPECT_FALSE(*below == *above);
    }
  }
}

TEST(QVRMakeFunctor0Test, MembersOfOneAddressButOtherTypesDiffer) {
  struct Shared {
    void f() {}
  };
  struct Whole : Shared {
    void g() {}
  } whole;
  using Inherited = void (Whole::*)();

  const auto asBase = QVRMakeFunctor0(static_cast<Shared*>(&whole), &Shared::f);
  const auto asDerived = QVRMakeFunctor0(&whole, static_cast<Inherited>(&Shared::f));

  EXPECT_EQ(asBase.getCallee(), asDerived.getCallee());
  EXPECT_FALSE(asBase == asDerived);
  EXPECT_NE(asBase < asDerived, asDerived < asBase);
}

}  // namespace
