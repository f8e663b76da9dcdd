// Libraries as the system loads them.
#include "QVROSLibraryHandle.h"

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <string>
#include <type_traits>
#include <utility>

#include "DynamicModules.h"
#include "QVREOpenFailed.h"
#include "support/CancelledThread.h"
#include "support/CommandedThread.h"
#include "support/ExpectFailure.h"

namespace {

using Handle = Open<QVROSLibraryHandle>;

static_assert(sizeof(QVROSLibraryHandle) == sizeof(void*) &&
              !std::is_polymorphic_v<QVROSLibraryHandle> &&
              std::is_nothrow_move_constructible_v<QVROSLibraryHandle> &&
              std::is_nothrow_destructible_v<QVROSLibraryHandle>);

/// A body whose monitor a test can hold.
class Body : public QVROSLibraryImpl {
 public:
  using QVROSLibraryImpl::QVROSLibraryImpl;
  using QVRSysMonitor::acquire;
  using QVRSysMonitor::release;
};

TEST(QVROSLibraryHandleTest, IsEmptyWithoutABody) {
  EXPECT_FALSE(QVROSLibraryHandle().isValid());
  EXPECT_FALSE(QVROSLibraryHandle(static_cast<QVROSLibraryImpl*>(nullptr)).isValid());
}

TEST(QVROSLibraryHandleTest, FindsWhatTheLibraryExports) {
  const QVROSLibraryHandle library(QVR_LOADED_MODULE);

  EXPECT_NE(library.getOSLibrary(), nullptr);
  EXPECT_EQ(callSymbol<int(int, int)>(library.getOSSymbol("add"), 2, 3), 5);
}

TEST(QVROSLibraryHandleTest, BackslashesSeparateToo) {
  std::string path = QVR_LOADED_MODULE;
  for (char& c : path) c = c == '/' ? '\\' : c;

  EXPECT_EQ(QVROSLibraryHandle(path).getOSLibrary(),
            QVROSLibraryHandle(QVR_LOADED_MODULE).getOSLibrary());
}

TEST(QVROSLibraryHandleTest, PathWithoutSeparatorIsSearchedFor) {
  EXPECT_NE(QVROSLibraryHandle("libc.so.6").getOSSymbol("printf"), nullptr);
}

TEST(QVROSLibraryHandleTest, WhatCannotBeLoadedIsAFailure) {
  const TemporaryDirectory directory;
  const struct {
    const char* what;
    std::string path;
  } cases[] = {
      {"no path", ""},
      {"a path that ends early", std::string(QVR_LOADED_MODULE) + '\0' + "more"},
      {"nothing there", directory / "absent.so"},
      {"a directory", directory.path()},
      {"no library", directory.makeFile("text.so", "no library")},
      {"an empty file", directory.makeFile("empty.so")},
      {"a library that needs one that is absent", QVR_DEPENDENT_MODULE},
      {"a library with a symbol that nobody has", QVR_UNRESOLVED_MODULE},
      {"a name without its extension",
       std::string(QVR_LOADED_MODULE).substr(0, std::string(QVR_LOADED_MODULE).size() - 3)},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    expectFailure<QVREOpenFailed>([&] { const QVROSLibraryHandle handle(c.path); }, kNotLoaded,
                                  kLoaderSource, kNotLoadedLine);
  }
}

TEST(QVROSLibraryHandleTest, WhatIsNotExportedIsAFailureAndTheLibraryStaysUsable) {
  const QVROSLibraryHandle library(QVR_LOADED_MODULE);
  const struct {
    const char* what;
    std::string name;
  } cases[] = {
      {"no name", ""},
      {"no such name", "subtract"},
      {"a name in another letter case", "Add"},
      {"a name that ends early", std::string("add") + '\0' + "more"},
      {"a null address", "nothing"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    expectFailure<QVREOpenFailed>([&] { library.getOSSymbol(c.name); }, kNoSymbol, kLoaderSource,
                                  kNoSymbolLine);
    EXPECT_NE(library.getOSSymbol("add"), nullptr);
  }
}

TEST(QVROSLibraryHandleTest, OnePathTwiceIsTwoBodiesAndLettingGoUnloadsNothing) {
  int* counted = nullptr;
  void* count = nullptr;
  {
    const Handle first(QVR_LOADED_MODULE);
    const Handle second(QVR_LOADED_MODULE);
    EXPECT_NE(first.body(), second.body());
    counted = static_cast<int*>(first.getOSSymbol("counted"));
    count = second.getOSSymbol("count");
  }

  const int before = *counted;
  callSymbol<void()>(count);

  EXPECT_EQ(*counted, before + 1);
}

TEST(QVROSLibraryHandleTest, NamesAreNotOfferedToOthers) {
  const QVROSLibraryHandle library(QVR_LOADED_MODULE);

  EXPECT_EQ(dlsym(RTLD_DEFAULT, "counted"), nullptr);
}

TEST(QVROSLibraryHandleTest, BodyLivesAsLongAsItsHandles) {
  Handle handle(QVR_LOADED_MODULE);
  QVROSLibraryImpl* const body = handle.body();
  EXPECT_EQ(body->getReferences(), 1u);
  EXPECT_EQ(body->getClassName(), "QVRCountedObject");

  Handle copy(handle);
  EXPECT_EQ(body->getReferences(), 2u);
  handle = QVROSLibraryHandle();
  EXPECT_EQ(body->getReferences(), 1u);
  const QVROSLibraryHandle moved(std::move(copy));
  EXPECT_EQ(body->getReferences(), 1u);
}

TEST(QVROSLibraryHandleTest, AssignsABodyUnlessItHasIt) {
  Handle handle(QVR_LOADED_MODULE);
  QVROSLibraryImpl* const body = handle.body();
  static_cast<QVROSLibraryHandle&>(handle) = body;
  EXPECT_EQ(body->getReferences(), 1u);

  auto* const other = new QVROSLibraryImpl(QVR_LOADED_MODULE);
  QVROSLibraryHandle& assigned = static_cast<QVROSLibraryHandle&>(handle) = other;
  EXPECT_EQ(&assigned, &handle);
  EXPECT_EQ(handle.body(), other);
  EXPECT_EQ(other->getReferences(), 1u);
}

TEST(QVROSLibraryHandleTest, OperationsWaitForWhoeverHasTheMonitor) {
  Body body(QVR_LOADED_MODULE);
  body.acquire();

  CommandedThread other;
  other.start([&] { body.getOSLibrary(); });
  EXPECT_TRUE(other.sleeps());
  body.release();
  other.finish();

  body.acquire();
  other.start([&] { body.getOSSymbol("add"); });
  EXPECT_TRUE(other.sleeps());
  body.release();
}

TEST(QVROSLibraryHandleTest, CancellationWaitsUntilTheModuleIsInitialised) {
  const ModuleCopy module;
  const ModuleInitialiser initialiser([] { pthread_testcancel(); });

  EXPECT_TRUE(finishesThoughCancelled([&] { const QVROSLibraryHandle library(module.path()); }));
}

}  // namespace
