// Symbols that are shared by their names.
#include "QVRDynamicSymbol.h"

#include <gtest/gtest.h>

#include <string>
#include <type_traits>
#include <utility>

#include "DynamicModules.h"
#include "QVRDynamicFunction0.h"
#include "QVREOpenFailed.h"
#include "support/CommandedThread.h"
#include "support/ExpectFailure.h"

namespace {

static_assert(std::is_nothrow_move_constructible_v<QVRDynamicSymbol> &&
              std::is_nothrow_destructible_v<QVRDynamicSymbol> &&
              std::has_virtual_destructor_v<QVRDynamicSymbolHandle> &&
              sizeof(QVRDynamicFunction0) == sizeof(QVRDynamicSymbolHandle));

/// A handle as modules write them.
class Addition : public QVRDynamicSymbolHandle {
 public:
  using QVRDynamicSymbolHandle::QVRDynamicSymbolHandle;

  int operator()(int a, int b) const {
    return reinterpret_cast<int (*)(int, int)>(body()->getImpl())(a, b);
  }
};

/// A body whose monitor a test can hold, with what it shows to derived classes.
class Body : public QVRDynamicSymbolImpl {
 public:
  using QVRDynamicSymbolImpl::_getImpl;
  using QVRDynamicSymbolImpl::_getLibrary;
  using QVRDynamicSymbolImpl::_getName;
  using QVRDynamicSymbolImpl::QVRDynamicSymbolImpl;
  using QVRSysMonitor::acquire;
  using QVRSysMonitor::release;
};

class QVRDynamicSymbolTest : public testing::Test {
 protected:
  const ModuleCopy module_;
  const QVRDynamicLibrary library_ = QVRDynamicLibrary::getLibrary(module_.path());
};

TEST_F(QVRDynamicSymbolTest, OneNameIsOneBody) {
  const QVRDynamicSymbol first = library_.getSymbol("add");
  const QVRDynamicSymbol second = library_.getSymbol("add");

  EXPECT_EQ(bodyOf(first), bodyOf(second));
  EXPECT_EQ(bodyOf(first)->getReferences(), 2u);
  EXPECT_NE(bodyOf(first), bodyOf(library_.getSymbol("count")));
  EXPECT_EQ(bodyOf(first)->getClassName(), "QVRCountedObject");
}

TEST_F(QVRDynamicSymbolTest, KnowsNameAddressAndLibrary) {
  const QVRDynamicSymbol symbol = library_.getSymbol("add");

  EXPECT_EQ(bodyOf(symbol)->getName(), "add");
  EXPECT_EQ(callSymbol<int(int, int)>(bodyOf(symbol)->getImpl(), 2, 3), 5);
  EXPECT_EQ(bodyOf(symbol)->getLibrary(), library_);
  EXPECT_EQ(symbol.getLibrary(), library_);
  EXPECT_EQ(symbol.getLibrary().getOSLibraryHandle().getOSSymbol("add"), bodyOf(symbol)->getImpl());
}

TEST_F(QVRDynamicSymbolTest, MissingSymbolIsAFailureAndTheLibraryStaysUsable) {
  for (const char* name : {"", "absent", "nothing", "ADD"}) {
    expectFailure<QVREOpenFailed>([&] { library_.getSymbol(name); }, kNoSymbol, kLoaderSource,
                                  kNoSymbolLine);
    expectFailure<QVREOpenFailed>([&] { const QVRDynamicSymbol symbol(module_.path(), name); },
                                  kNoSymbol, kLoaderSource, kNoSymbolLine);
  }
  expectFailure<QVREOpenFailed>([] { const QVRDynamicSymbol symbol("/absent", "add"); }, kNotLoaded,
                                kLoaderSource, kNotLoadedLine);
  EXPECT_TRUE(library_.getSymbol("add").isValid());
}

TEST_F(QVRDynamicSymbolTest, KeepsItsLibrary) {
  QVRDynamicLibrary library(module_.path());
  QVRDynamicLibraryImpl* const body = bodyOf(library);
  QVRDynamicSymbol symbol = library.getSymbol("add");
  EXPECT_EQ(body->getReferences(), 2u);

  library = nullptr;

  EXPECT_EQ(body->getReferences(), 1u);
  EXPECT_EQ(bodyOf(QVRDynamicLibrary::getLibrary(module_.path())), body);
  symbol = nullptr;
  EXPECT_NE(bodyOf(QVRDynamicLibrary::getLibrary(module_.path()).getSymbol("add")), nullptr);
}

TEST_F(QVRDynamicSymbolTest, BodyMadeWithoutTheTableIsNotShared) {
  const QVRDynamicSymbol own(new QVRDynamicSymbolImpl(library_, "add"));
  const QVRDynamicSymbol shared = library_.getSymbol("add");
  EXPECT_NE(bodyOf(own), bodyOf(shared));
  { const QVRDynamicSymbol another(new QVRDynamicSymbolImpl(library_, "add")); }
  EXPECT_EQ(bodyOf(library_.getSymbol("add")), bodyOf(shared)) << "removed by another's end";
}

TEST_F(QVRDynamicSymbolTest, BodyMadeByAPathHasALibraryOfItsOwn) {
  const QVRDynamicSymbol symbol(new QVRDynamicSymbolImpl(module_.path(), "add"));

  EXPECT_NE(symbol.getLibrary(), library_);
  EXPECT_EQ(symbol.getLibrary(), QVRDynamicLibrary::getLibrary(module_.path()));
  expectFailure<QVREOpenFailed>([&] { QVRDynamicSymbolImpl(module_.path(), "absent"); }, kNoSymbol,
                                kLoaderSource);
}

template <class Handle>
class EveryHandle : public QVRDynamicSymbolTest {};
using Handles = testing::Types<QVRDynamicSymbolHandle, QVRDynamicSymbol, QVRDynamicFunction0>;
TYPED_TEST_SUITE(EveryHandle, Handles);

TYPED_TEST(EveryHandle, IsMadeAndAssignedInEachWay) {
  using Handle = Open<TypeParam>;
  const QVRDynamicSymbol symbol = this->library_.getSymbol("count");
  QVRDynamicSymbolImpl* const body = bodyOf(symbol);

  EXPECT_FALSE(TypeParam().isValid());
  TypeParam fromBody(body);
  EXPECT_EQ(Handle(TypeParam(fromBody)).body(), body);
  EXPECT_EQ(Handle(TypeParam(this->library_, "count")).body(), body);
  EXPECT_EQ(Handle(TypeParam(this->module_.path(), "count")).body(), body);
  TypeParam assigned;
  EXPECT_EQ(&(assigned = fromBody), &assigned);
  EXPECT_EQ(body->getReferences(), 3u);
  EXPECT_EQ(&(assigned = body), &assigned);
  EXPECT_EQ(body->getReferences(), 3u);
  assigned = std::move(fromBody);
  EXPECT_FALSE(fromBody.isValid());
  EXPECT_EQ(body->getReferences(), 2u);
}

TEST_F(QVRDynamicSymbolTest, DerivedHandlesCallIt) {
  EXPECT_EQ(Addition(library_, "add")(2, 3), 5);
  EXPECT_EQ(Addition(module_.path(), "add")(20, 30), 50);
}

TEST_F(QVRDynamicSymbolTest, FunctionWithoutArgumentsIsNotCalled) {
  const auto* const counted =
      static_cast<const int*>(bodyOf(library_.getSymbol("counted"))->getImpl());
  const QVRDynamicFunction0 count(library_, "count");

  count();
  QVRDynamicFunction0()();

  EXPECT_EQ(*counted, 0);
}

TEST_F(QVRDynamicSymbolTest, OperationsWaitForWhoeverHasTheMonitor) {
  auto* const body = new Body(library_, "add");
  const QVRDynamicSymbol symbol(body);
  EXPECT_EQ(body->_getName(), "add");
  EXPECT_EQ(body->_getImpl(), body->getImpl());
  EXPECT_EQ(body->_getLibrary(), library_);

  CommandedThread other;
  const std::function<void()> waiting[] = {[&] { body->getImpl(); }, [&] { body->getName(); },
                                           [&] { body->getLibrary(); }};
  for (const auto& operation : waiting) {
    body->acquire();
    other.start(operation);
    EXPECT_TRUE(other.sleeps());
    body->release();
    other.finish();
  }
}

}  // namespace
