// Libraries that are shared by their paths.
#include "QVRDynamicLibrary.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <type_traits>
#include <utility>

#include "DynamicModules.h"
#include "QVRDynamicSymbol.h"
#include "QVREOpenFailed.h"
#include "support/CommandedThread.h"
#include "support/ExpectFailure.h"

namespace {

static_assert(std::is_nothrow_move_constructible_v<QVRDynamicLibrary> &&
              std::is_nothrow_move_assignable_v<QVRDynamicLibrary> &&
              std::is_nothrow_destructible_v<QVRDynamicLibrary> &&
              std::has_virtual_destructor_v<QVRDynamicLibrary>);
static_assert(!std::is_polymorphic_v<QVRDynamicLibraryHandle> &&
              sizeof(QVRDynamicLibraryHandle) == sizeof(void*));

/// A body whose monitor a test can hold, with what it shows to derived classes.
class Body : public QVRDynamicLibraryImpl {
 public:
  using QVRDynamicLibraryImpl::_close;
  using QVRDynamicLibraryImpl::_getHandle;
  using QVRDynamicLibraryImpl::_getPath;
  using QVRDynamicLibraryImpl::_isOpen;
  using QVRDynamicLibraryImpl::_open;
  using QVRDynamicLibraryImpl::QVRDynamicLibraryImpl;
  using QVRSysMonitor::acquire;
  using QVRSysMonitor::release;
};

class QVRDynamicLibraryTest : public testing::Test {
 protected:
  QVRDynamicLibraryImpl* found() const {
    return bodyOf(QVRDynamicLibrary::getLibrary(module_.path()));
  }

  const ModuleCopy module_;
};

TEST_F(QVRDynamicLibraryTest, IsEmptyWithoutABody) {
  EXPECT_FALSE(QVRDynamicLibrary().isValid());
  EXPECT_FALSE(QVRDynamicLibrary(nullptr).isValid());
  EXPECT_FALSE(QVRDynamicLibraryHandle().isValid());
}

TEST_F(QVRDynamicLibraryTest, IsMadeOpen) {
  const QVRDynamicLibrary library(module_.path());

  EXPECT_TRUE(library.isOpen());
  EXPECT_EQ(library.getPath(), module_.path());
  EXPECT_EQ(bodyOf(library)->getClassName(), "QVRCountedObject");
}

TEST_F(QVRDynamicLibraryTest, OnePathIsOneBody) {
  const QVRDynamicLibrary first = QVRDynamicLibrary::getLibrary(module_.path());
  const QVRDynamicLibrary second = QVRDynamicLibrary::getLibrary(module_.path());

  EXPECT_EQ(bodyOf(first), bodyOf(second));
  EXPECT_EQ(bodyOf(first)->getReferences(), 2u);
}

TEST_F(QVRDynamicLibraryTest, PathsAreComparedByTheirBytes) {
  const TemporaryDirectory directory;
  for (const char* name : {"lib.so", "LIB.so"}) {
    std::filesystem::copy_file(QVR_LOADED_MODULE, directory / name);
  }
  const std::string paths[] = {directory / "lib.so", directory / "LIB.so", directory / "./lib.so",
                               directory.path() + "\\lib.so"};
  QVRDynamicLibrary libraries[std::size(paths)];
  for (std::size_t i = 0; i < std::size(paths); ++i) {
    libraries[i] = QVRDynamicLibrary::getLibrary(paths[i]);
    EXPECT_EQ(libraries[i].getPath(), paths[i]);
    for (std::size_t j = 0; j < i; ++j) EXPECT_NE(bodyOf(libraries[i]), bodyOf(libraries[j]));
  }
}

TEST_F(QVRDynamicLibraryTest, ConstructorMakesASecondBodyThatTheTableNamesFromThenOn) {
  const QVRDynamicLibrary first = QVRDynamicLibrary::getLibrary(module_.path());
  const QVRDynamicLibrary second(module_.path());

  EXPECT_NE(bodyOf(second), bodyOf(first));
  EXPECT_EQ(found(), bodyOf(second));
  EXPECT_EQ(bodyOf(first)->getReferences(), 1u);
}

TEST_F(QVRDynamicLibraryTest, BodyThatDiesTakesItsPathOutOfTheTableWhicheverBodyThatNames) {
  QVRDynamicLibrary first = QVRDynamicLibrary::getLibrary(module_.path());
  const QVRDynamicLibrary second(module_.path());

  first = nullptr;

  const QVRDynamicLibrary third = QVRDynamicLibrary::getLibrary(module_.path());
  EXPECT_NE(bodyOf(third), bodyOf(second));
  EXPECT_EQ(found(), bodyOf(third));
}

TEST_F(QVRDynamicLibraryTest, BodyThatNobodyHoldsIsNotShared) {
  auto* const unheld = new QVRDynamicLibraryImpl(module_.path());
  const QVRDynamicLibrary library = QVRDynamicLibrary::getLibrary(module_.path());

  EXPECT_NE(bodyOf(library), unheld);
  EXPECT_EQ(unheld->getReferences(), 0u);
  EXPECT_EQ(found(), bodyOf(library));
  delete unheld;
}

TEST_F(QVRDynamicLibraryTest, BodyOutlivesASymbolThatItDoesNotHaveThoughNobodyHoldsIt) {
  auto* const unheld = new QVRDynamicLibraryImpl(module_.path());

  expectFailure<QVREOpenFailed>([&] { unheld->getSymbol("absent"); }, kNoSymbol, kLoaderSource);

  EXPECT_EQ(unheld->getReferences(), 0u);
  EXPECT_TRUE(unheld->isOpen());
  delete unheld;
}

TEST_F(QVRDynamicLibraryTest, HandlesAssignEachOtherAndBodies) {
  QVRDynamicLibrary library(module_.path());
  QVRDynamicLibraryImpl* const body = bodyOf(library);
  QVRDynamicLibrary other;

  EXPECT_EQ(&(other = library), &other);
  EXPECT_EQ(bodyOf(other), body);
  other = static_cast<const QVRDynamicLibrary&>(other);
  other = body;
  EXPECT_EQ(body->getReferences(), 2u);
  QVRDynamicLibraryHandle handle(other);
  EXPECT_EQ(&(handle = body), &handle);
  EXPECT_EQ(body->getReferences(), 3u);
  other = std::move(library);
  EXPECT_FALSE(library.isValid());
  EXPECT_EQ(body->getReferences(), 2u);
}

TEST_F(QVRDynamicLibraryTest, ClosingUnloadsNothing) {
  QVRDynamicLibrary library(module_.path());
  const Open<QVRDynamicSymbol> symbol = library.getSymbol("add");
  void* const address = symbol.body()->getImpl();

  library.close();

  EXPECT_FALSE(library.isOpen());
  EXPECT_EQ(symbol.body()->getImpl(), address);
  EXPECT_EQ(callSymbol<int(int, int)>(address, 2, 3), 5);
  EXPECT_EQ(found(), bodyOf(library)) << "closed or not";
  EXPECT_FALSE(library.isOpen());
}

TEST_F(QVRDynamicLibraryTest, SymbolThatIsKnownLeavesAClosedLibraryClosedAndANewOneOpensIt) {
  QVRDynamicLibrary library(module_.path());
  const QVRDynamicSymbol known = library.getSymbol("add");
  library.close();

  EXPECT_EQ(library.getSymbol("add"), known);
  EXPECT_FALSE(library.isOpen());
  const QVRDynamicSymbol unknown = library.getSymbol("count");
  EXPECT_TRUE(library.isOpen());
}

TEST_F(QVRDynamicLibraryTest, OpeningOnceMoreIsANewLoad) {
  QVRDynamicLibrary library(module_.path());
  const QVROSLibraryHandle before = library.getOSLibraryHandle();

  library.open();
  EXPECT_EQ(library.getOSLibraryHandle(), before) << "open already";
  library.close();
  library.open();

  EXPECT_TRUE(library.isOpen());
  EXPECT_NE(library.getOSLibraryHandle(), before);
}

TEST_F(QVRDynamicLibraryTest, AskingForTheSystemsLibraryOpensIt) {
  QVRDynamicLibrary library(module_.path());
  library.close();

  EXPECT_NE(library.getOSLibraryHandle().getOSSymbol("add"), nullptr);
  EXPECT_TRUE(library.isOpen());
}

TEST_F(QVRDynamicLibraryTest, DerivedBodiesReachTheSameWithoutTheMonitor) {
  Body body(module_.path());
  EXPECT_EQ(body._getPath(), module_.path());
  body._close();
  EXPECT_FALSE(body._isOpen());
  body._open();
  EXPECT_TRUE(body._isOpen());
  body._close();
  EXPECT_TRUE(body._getHandle().isValid());
  EXPECT_TRUE(body._isOpen());
}

TEST_F(QVRDynamicLibraryTest, OperationsWaitForWhoeverHasTheMonitorAndLookUpsDoNot) {
  Body body(module_.path());
  const QVRDynamicLibrary library(&body);
  body.addReference();  // the test's
  CommandedThread other;
  const std::function<void()> waiting[] = {[&] { body.open(); }, [&] { body.close(); },
                                           [&] { body.isOpen(); }, [&] { body.getPath(); },
                                           [&] { body.getHandle(); }};
  for (const auto& operation : waiting) {
    body.acquire();
    other.start(operation);
    EXPECT_TRUE(other.sleeps());
    body.release();
    other.finish();
  }

  const QVRDynamicSymbol symbol = body.getSymbol("add");
  body.acquire();
  other.run([&] {
    EXPECT_EQ(body.getSymbol("add"), symbol);
    EXPECT_EQ(found(), &body);
  });
  body.release();
}

TEST_F(QVRDynamicLibraryTest, SymbolCanBeAskedForAtOnce) {
  EXPECT_TRUE(QVRDynamicLibrary(module_.path(), "add").isOpen());

  expectFailure<QVREOpenFailed>([&] { QVRDynamicLibrary(module_.path(), "absent"); }, kNoSymbol,
                                kLoaderSource, kNoSymbolLine);
  expectFailure<QVREOpenFailed>([&] { QVRDynamicLibrary("/absent", "add"); }, kNotLoaded,
                                kLoaderSource, kNotLoadedLine);
}

TEST_F(QVRDynamicLibraryTest, FailedLoadLeavesTheTableAsItWas) {
  const TemporaryDirectory directory;
  const std::string path = directory / "late.so";
  const auto fails = [&](auto action) {
    expectFailure<QVREOpenFailed>(action, kNotLoaded, kLoaderSource, kNotLoadedLine);
  };
  fails([&] { QVRDynamicLibrary::getLibrary(path); });
  fails([&] { const QVRDynamicLibrary library(path); });

  std::filesystem::copy_file(QVR_LOADED_MODULE, path);

  const QVRDynamicLibrary library = QVRDynamicLibrary::getLibrary(path);
  EXPECT_EQ(bodyOf(library), bodyOf(QVRDynamicLibrary::getLibrary(path)));
}

// The system knows a library that it has loaded by its path too.
TEST_F(QVRDynamicLibraryTest, LibraryUnpackedAnewUnderItsPathIsTheOneThatWasLoadedFirst) {
  void* build = nullptr;
  {
    const QVRDynamicLibrary library = QVRDynamicLibrary::getLibrary(module_.path());
    build = bodyOf(library.getSymbol("build"))->getImpl();
  }
  std::filesystem::remove(module_.path());
  std::filesystem::copy_file(QVR_LATER_MODULE, module_.path());

  const QVRDynamicLibrary library = QVRDynamicLibrary::getLibrary(module_.path());

  EXPECT_EQ(bodyOf(library.getSymbol("build"))->getImpl(), build);
  EXPECT_EQ(callSymbol<int()>(build), 1);
  expectFailure<QVREOpenFailed>([&] { library.getSymbol("laterOnly"); }, kNoSymbol, kLoaderSource);

  const ModuleCopy elsewhere(QVR_LATER_MODULE);
  const QVRDynamicSymbol later(elsewhere.path(), "build");
  EXPECT_EQ(callSymbol<int()>(bodyOf(later)->getImpl()), 2);
}

}  // namespace
