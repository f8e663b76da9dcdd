// Children use libraries and symbols, whatever other threads of their parents did with them.
#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

#include "DynamicModules.h"
#include "QVRSysLockGuard.h"
#include "support/AssertRecorder.h"
#include "support/CommandedThread.h"
#include "support/ForkedChild.h"

namespace {

/// A body whose monitor a test can hold.
template <class Base>
class Lockable : public Base {
 public:
  using Base::Base;
  using QVRSysMonitor::acquire;
  using QVRSysMonitor::release;
};

class QVRDynamicLibraryForkTest : public testing::Test {
 protected:
  /// What a child does: everything, with what there is already and with what is new.
  int useAll() {
    bool good = library_.isOpen() && library_.getSymbol("add") == symbol_;
    good = good && bodyOf(symbol_)->getImpl() != nullptr;
    good = good && QVRDynamicLibrary::getLibrary(module_.path()) == library_;
    good = good && library_.getOSLibraryHandle().getOSSymbol("count") != nullptr;
    good = good && library_.getSymbol("build").isValid();
    good = good && QVRDynamicSymbol(other_.path(), "add").isValid();
    library_.close();
    library_.open();
    return good && library_.isOpen() ? 0 : 1;
  }

  const ModuleCopy module_;
  const ModuleCopy other_;
  QVRDynamicLibrary library_ = QVRDynamicLibrary::getLibrary(module_.path());
  const QVRDynamicSymbol symbol_ = library_.getSymbol("add");
};

TEST_F(QVRDynamicLibraryForkTest, ChildUsesWhatOtherThreadsWereUsing) {
  constexpr int kUsers = 3;
  constexpr int kForks = 30;
#if defined(__SANITIZE_THREAD__)
  // The sanitizer's own lock around the system's loader does not survive a fork.
  const QVRDynamicLibrary loadsOnce = QVRDynamicLibrary::getLibrary(other_.path());
#endif
  std::atomic<bool> stop = false;
  std::vector<std::thread> users;
  for (int i = 0; i < kUsers; ++i) {
    users.emplace_back([&, i] {
      while (!stop) {
        library_.getSymbol(i == 0 ? "count" : "add");
        bodyOf(symbol_)->getImpl();
        library_.getOSLibraryHandle();
        QVRDynamicLibrary::getLibrary(other_.path()).getSymbol("add");
        library_.isOpen();
      }
    });
  }

  for (int i = 0; i < kForks; ++i) EXPECT_EQ(exitStatusOfFork([&] { return useAll(); }), 0);

  stop = true;
  for (std::thread& user : users) user.join();
  EXPECT_EQ(useAll(), 0);
}

TEST_F(QVRDynamicLibraryForkTest, ChildUsesThemWhileAnInitialiserRunsInItsParent) {
  const ModuleCopy slow;
  CommandedThread loader;
  std::atomic<bool> isInside = false;
  std::atomic<bool> mayGoOn = false;
  const ModuleInitialiser initialiser([&] {
    if (isInside.exchange(true)) return;  // of the module that the child loads
    mayGoOn.wait(false);
  });
  loader.start([&] { QVRDynamicLibrary::getLibrary(slow.path()); });
  EXPECT_TRUE(loader.sleeps());
  EXPECT_TRUE(isInside);

  EXPECT_EQ(exitStatusOfFork([&] { return useAll(); }), 0);

  mayGoOn = true;
  mayGoOn.notify_all();
  loader.finish();
  EXPECT_EQ(useAll(), 0);
}

TEST_F(QVRDynamicLibraryForkTest, InitialiserForksAndBothGoOn) {
  const ModuleCopy forking;
  int status = -1;
  bool isChild = false;
  const ModuleInitialiser initialiser([&] {
    if (status != -1 || isChild) return;
    status = exitStatusOfFork([&] {
      isChild = true;
      return useAll();
    });
  });

  const QVRDynamicLibrary library = QVRDynamicLibrary::getLibrary(forking.path());

  EXPECT_EQ(status, 0);
  EXPECT_EQ(QVRDynamicLibrary::getLibrary(forking.path()), library);
}

TEST_F(QVRDynamicLibraryForkTest, ChildFindsMonitorsFreeThatOtherThreadsHeld) {
  auto* const library = new Lockable<QVRDynamicLibraryImpl>(module_.path());
  const QVRDynamicLibrary libraryHandle(library);
  auto* const symbol = new Lockable<QVRDynamicSymbolImpl>(libraryHandle, "add");
  const QVRDynamicSymbol symbolHandle(symbol);
  auto* const loader = new Lockable<QVROSLibraryImpl>(module_.path());
  const QVROSLibraryHandle loaderHandle(loader);
  const AssertRecorder asserts;
  CommandedThread holder;
  holder.run([&] {
    library->acquire();
    symbol->acquire();
    symbol->acquire();
    loader->acquire();
  });

  EXPECT_EQ(exitStatusOfFork([&] {
              const bool works = libraryHandle.isOpen() && symbol->getName() == "add" &&
                                 loaderHandle.getOSSymbol("add") == symbol->getImpl();
              return works && asserts.all().empty() ? 0 : 1;
            }),
            0);

  CommandedThread other;
  other.start([&] { libraryHandle.isOpen(); });
  EXPECT_TRUE(other.sleeps()) << "still held in the parent";
  holder.run([&] {
    library->release();
    symbol->release();
    symbol->release();
    loader->release();
  });
  other.finish();
  EXPECT_TRUE(asserts.all().empty());
}

TEST_F(QVRDynamicLibraryForkTest, ChildKeepsTheMonitorThatItsThreadHeld) {
  auto* const body = new Lockable<QVRDynamicLibraryImpl>(module_.path());
  const QVRDynamicLibrary library(body);
  const AssertRecorder asserts;
  body->acquire();
  body->acquire();

  EXPECT_EQ(exitStatusOfFork([&] {
              body->release();
              body->release();
              if (!asserts.all().empty()) return 1;
              body->release();
              return asserts.all().size() == 1 && library.isOpen() ? 0 : 2;
            }),
            0);

  body->release();
  body->release();
  EXPECT_TRUE(asserts.all().empty());
}

}  // namespace
