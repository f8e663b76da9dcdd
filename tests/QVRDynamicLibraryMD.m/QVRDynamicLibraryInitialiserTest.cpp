// What the initialiser of a module may do while the module is being loaded.
#include <gtest/gtest.h>

#include <string>
#include <thread>

#include "DynamicModules.h"
#include "support/CommandedThread.h"

namespace {

class QVRDynamicLibraryInitialiserTest : public testing::Test {
 protected:
  const ModuleCopy module_;
  const ModuleCopy other_;
};

TEST_F(QVRDynamicLibraryInitialiserTest, OpensLibrariesAndSymbols) {
  int runs = 0;
  QVRDynamicSymbol inner;
  const ModuleInitialiser initialiser([&] {
    if (runs++ != 0) return;  // the other module's
    inner = QVRDynamicLibrary::getLibrary(other_.path()).getSymbol("add");
  });

  const QVRDynamicLibrary library = QVRDynamicLibrary::getLibrary(module_.path());

  EXPECT_EQ(runs, 2);
  EXPECT_TRUE(library.isOpen());
  EXPECT_EQ(inner, QVRDynamicLibrary::getLibrary(other_.path()).getSymbol("add"));
}

TEST_F(QVRDynamicLibraryInitialiserTest, OpensTheLibraryThatIsBeingLoaded) {
  QVRDynamicLibrary inner;
  const ModuleInitialiser initialiser(
      [&] { inner = QVRDynamicLibrary::getLibrary(module_.path()); });

  const QVRDynamicLibrary outer = QVRDynamicLibrary::getLibrary(module_.path());

  EXPECT_EQ(outer, inner);
  EXPECT_EQ(QVRDynamicLibrary::getLibrary(module_.path()), outer);
  EXPECT_EQ(bodyOf(outer)->getReferences(), 2u);
}

TEST_F(QVRDynamicLibraryInitialiserTest, LetsGoOfTheLibraryThatIsBeingLoaded) {
  const ModuleInitialiser initialiser(
      [&] { QVRDynamicLibrary::getLibrary(module_.path()).getSymbol("add"); });

  const QVRDynamicLibrary library = QVRDynamicLibrary::getLibrary(module_.path());

  EXPECT_EQ(QVRDynamicLibrary::getLibrary(module_.path()), library);
}

TEST_F(QVRDynamicLibraryInitialiserTest, MakesALibraryOfItsPath) {
  QVRDynamicLibrary inner;
  const ModuleInitialiser initialiser([&] { inner = QVRDynamicLibrary(module_.path()); });

  const QVRDynamicLibrary outer(module_.path());

  EXPECT_NE(outer, inner);
  EXPECT_EQ(QVRDynamicLibrary::getLibrary(module_.path()), outer) << "the last to register";
}

TEST_F(QVRDynamicLibraryInitialiserTest, WaitsForAThreadThatUsesWhatIsOpen) {
  QVRDynamicLibrary library = QVRDynamicLibrary::getLibrary(other_.path());
  const QVRDynamicSymbol symbol = library.getSymbol("add");
  bool same = false;
  CommandedThread worker;
  const ModuleInitialiser initialiser([&] {
    worker.run([&] {
      same = QVRDynamicLibrary::getLibrary(other_.path()) == library &&
             library.getSymbol("add") == symbol;
      library.close();
    });
  });

  QVRDynamicLibrary::getLibrary(module_.path());

  EXPECT_TRUE(same);
  EXPECT_FALSE(library.isOpen());
}

// The thread that asks for a symbol waits for the system's own lock until the module is
// there. Meanwhile the module's initialiser asks for one in the same library.
TEST_F(QVRDynamicLibraryInitialiserTest, UsesALibraryInWhichAnotherThreadWaitsForASymbol) {
  const QVRDynamicLibrary library = QVRDynamicLibrary::getLibrary(other_.path());
  QVRDynamicSymbol inner;
  CommandedThread worker;
  const ModuleInitialiser initialiser([&] {
    worker.start([&] { library.getSymbol("count"); });
    EXPECT_TRUE(worker.sleeps());
    inner = library.getSymbol("add");
  });

  QVRDynamicLibrary::getLibrary(module_.path());

  worker.finish();
  EXPECT_TRUE(inner.isValid());
}

}  // namespace
