// What the system is asked for, and what it refuses.
#include <gtest/gtest.h>

#include <cerrno>
#include <new>
#include <string>

#include "DynamicModules.h"
#include "QVREInternalError.h"
#include "QVREOpenFailed.h"
#include "support/AllocationRefuser.h"
#include "support/ExpectFailure.h"
#include "support/PlatformPlan.h"

namespace {

constexpr char kMutexSource[] = "QVRSystem/QVRThreadsMD.m/src/QVRSysMutexLock";

/// Refuses each allocation of `operation` in turn, a monitor's included, which is a failure
/// of its own.
template <class Operation, class AfterRefusal>
std::size_t refuseEach(Operation operation, AfterRefusal afterRefusal) {
  return refuseEachAllocation(
      [&] {
        try {
          operation();
        } catch (const QVREInternalError&) {
          throw std::bad_alloc();
        }
      },
      afterRefusal);
}

class QVRDynamicLibraryFailureTest : public testing::Test {
 protected:
  const ModuleCopy module_;
};

TEST_F(QVRDynamicLibraryFailureTest, SymbolIsResolvedOnceAndLibraryLoadedOnce) {
  const PlatformPlan loads("loadLibrary", 0);
  const PlatformPlan looks("findSymbol", 0);
  const QVRDynamicLibrary library = QVRDynamicLibrary::getLibrary(module_.path());
  const QVRDynamicSymbol symbol = library.getSymbol("add");

  EXPECT_EQ(QVRDynamicSymbol(module_.path(), "add"), symbol);
  EXPECT_EQ(loads.calls(), 1u);
  EXPECT_EQ(looks.calls(), 1u);
}

TEST_F(QVRDynamicLibraryFailureTest, SymbolThatNobodyHeldAnyMoreIsResolvedAgain) {
  const QVRDynamicLibrary library = QVRDynamicLibrary::getLibrary(module_.path());
  const PlatformPlan looks("findSymbol", 0);

  library.getSymbol("add");
  library.getSymbol("add");

  EXPECT_EQ(looks.calls(), 2u);
}

TEST_F(QVRDynamicLibraryFailureTest, EveryLibraryOfItsOwnIsALoad) {
  const PlatformPlan loads("loadLibrary", 0);

  QVRDynamicLibrary first(module_.path());
  const QVRDynamicLibrary second(module_.path(), "add");
  EXPECT_EQ(loads.calls(), 2u);
  first.close();
  first.close();
  first.open();
  first.open();
  EXPECT_EQ(loads.calls(), 3u);
}

TEST_F(QVRDynamicLibraryFailureTest, RefusedLoadLeavesTheLibraryClosed) {
  QVRDynamicLibrary library = QVRDynamicLibrary::getLibrary(module_.path());
  library.close();
  const PlatformPlan plan("loadLibrary", ELIBACC);
  const auto fails = [](auto action) {
    expectFailure<QVREOpenFailed>(action, kNotLoaded, kLoaderSource, kNotLoadedLine);
  };

  fails([&] { library.open(); });
  fails([&] { library.getSymbol("add"); });
  fails([&] { library.getOSLibraryHandle(); });
  EXPECT_FALSE(library.isOpen());
}

TEST_F(QVRDynamicLibraryFailureTest, RefusedLookUpLeavesTheLibraryUsable) {
  const QVRDynamicLibrary library = QVRDynamicLibrary::getLibrary(module_.path());
  {
    const PlatformPlan plan("findSymbol", ENOENT);
    expectFailure<QVREOpenFailed>([&] { library.getSymbol("add"); }, kNoSymbol, kLoaderSource,
                                  kNoSymbolLine);
  }
  EXPECT_EQ(bodyOf(library)->getReferences(), 1u);
  EXPECT_TRUE(library.getSymbol("add").isValid());
}

TEST_F(QVRDynamicLibraryFailureTest, RefusedMonitorIsAnInternalErrorAndNothingIsRegistered) {
  const QVRDynamicLibrary library = QVRDynamicLibrary::getLibrary(module_.path());
  const ModuleCopy other;
  {
    const PlatformPlan plan("createMutex", EAGAIN);
    const auto fails = [](auto action) {
      expectFailure<QVREInternalError>(action, "Mutex Initialization failed", kMutexSource);
    };
    fails([&] { QVRDynamicLibrary::getLibrary(other.path()); });
    fails([&] { const QVRDynamicLibrary second(module_.path()); });
    fails([&] { library.getSymbol("add"); });
  }
  EXPECT_EQ(QVRDynamicLibrary::getLibrary(module_.path()), library);
  EXPECT_EQ(bodyOf(library)->getReferences(), 1u);
}

TEST_F(QVRDynamicLibraryFailureTest, RefusedMemoryLeavesTheTablesAsTheyWere) {
  const QVRDynamicLibrary library = QVRDynamicLibrary::getLibrary(module_.path());
  const ModuleCopy other;
  EXPECT_GT(refuseEach([&] { QVRDynamicLibrary::getLibrary(other.path()); }, [] {}), 2u);
  EXPECT_GT(refuseEach([&] { const QVROSLibraryHandle handle(other.path()); }, [] {}), 1u);

  const auto isAsItWas = [&] {
    EXPECT_EQ(QVRDynamicLibrary::getLibrary(module_.path()), library);
    EXPECT_EQ(bodyOf(library)->getReferences(), 1u);
  };
  EXPECT_GT(refuseEach([&] { library.getSymbol("add"); }, isAsItWas), 0u);
  EXPECT_GT(refuseEach([&] { const QVRDynamicLibrary second(module_.path()); }, isAsItWas), 2u);
}

TEST_F(QVRDynamicLibraryFailureTest, RefusedMemoryLeavesAClosedLibraryClosed) {
  QVRDynamicLibrary library = QVRDynamicLibrary::getLibrary(module_.path());
  library.close();

  EXPECT_GT(refuseEach([&] { library.open(); }, [&] { EXPECT_FALSE(library.isOpen()); }), 1u);
  EXPECT_TRUE(library.isOpen());
}

TEST_F(QVRDynamicLibraryFailureTest, FindingAgainNeedsNoMemory) {
  const QVRDynamicLibrary library = QVRDynamicLibrary::getLibrary(module_.path());
  const QVRDynamicSymbol symbol = library.getSymbol("add");
  const std::string name = "add";
  const AllocationRefuser refuser(1);

  EXPECT_EQ(library.getSymbol(name), symbol);
  EXPECT_EQ(QVRDynamicLibrary::getLibrary(module_.path()), library);

  EXPECT_EQ(refuser.count(), 0u);
}

}  // namespace
