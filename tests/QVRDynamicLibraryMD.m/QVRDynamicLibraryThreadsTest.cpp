// Threads that find, make and drop the same libraries and symbols. A table that handed out a
// body that is being destroyed, or has been, shows here: to the sanitizers, or in what the body
// tells.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "DynamicModules.h"
#include "support/MutualExclusion.h"

namespace {

#if defined(__SANITIZE_THREAD__) || defined(__SANITIZE_ADDRESS__)
constexpr int kRounds = 5'000;
#else
constexpr int kRounds = 20'000;
#endif
constexpr int kThreads = 4;

class QVRDynamicLibraryThreadsTest : public testing::Test {
 protected:
  void expectWhole(const QVRDynamicSymbol& symbol) const {
    QVRDynamicSymbolImpl* const body = bodyOf(symbol);
    if (!body->isReferenced() || body->getName() != "add" || body->getImpl() != address_) {
      ADD_FAILURE() << body->getReferences() << ' ' << body->getName();
    }
  }

  void expectWhole(const QVRDynamicLibrary& library) const {
    QVRDynamicLibraryImpl* const body = bodyOf(library);
    if (!body->isReferenced() || body->getPath() != module_.path()) {
      ADD_FAILURE() << body->getReferences() << ' ' << body->getPath();
    }
  }

  const ModuleCopy module_;
  void* const address_ = QVROSLibraryHandle(module_.path()).getOSSymbol("add");
};

TEST_F(QVRDynamicLibraryThreadsTest, SymbolsWhoseLastHandleGoesAreNotHandedOut) {
  const QVRDynamicLibrary library = QVRDynamicLibrary::getLibrary(module_.path());

  runTogether(kThreads, [&](int) {
    for (int round = 0; round < kRounds; ++round) expectWhole(library.getSymbol("add"));
  });

  EXPECT_EQ(bodyOf(library)->getReferences(), 1u);
}

TEST_F(QVRDynamicLibraryThreadsTest, LibrariesWhoseLastHandleGoesAreNotHandedOut) {
  runTogether(kThreads, [&](int) {
    for (int round = 0; round < kRounds / 4; ++round) {
      expectWhole(QVRDynamicLibrary::getLibrary(module_.path()));
    }
  });
}

TEST_F(QVRDynamicLibraryThreadsTest, SymbolsLetGoOfTheirLibraries) {
  runTogether(kThreads, [&](int) {
    for (int round = 0; round < kRounds / 8; ++round) {
      expectWhole(QVRDynamicSymbol(module_.path(), "add"));
    }
  });
}

TEST_F(QVRDynamicLibraryThreadsTest, LibrariesThatTakeEachOthersPlaceAreNotHandedOutLate) {
  runTogether(kThreads, [&](int number) {
    for (int round = 0; round < kRounds / 8; ++round) {
      if (number == 0) {
        expectWhole(QVRDynamicLibrary(module_.path()));
      } else if (number == 1) {
        delete new QVRDynamicLibraryImpl(module_.path());  // never held
      } else {
        expectWhole(QVRDynamicSymbol(module_.path(), "add"));
      }
    }
  });
}

TEST_F(QVRDynamicLibraryThreadsTest, HandlesThatGoFromThreadToThreadShareOneBody) {
  const QVRDynamicLibrary library = QVRDynamicLibrary::getLibrary(module_.path());
  const QVRDynamicSymbol symbol = library.getSymbol("add");

  runTogether(kThreads, [&](int) {
    for (int round = 0; round < kRounds; ++round) {
      if (library.getSymbol("add") != symbol) ADD_FAILURE() << "another symbol";
      if (QVRDynamicLibrary::getLibrary(module_.path()) != library) ADD_FAILURE() << "library";
    }
  });

  EXPECT_EQ(bodyOf(symbol)->getReferences(), 1u);
}

TEST_F(QVRDynamicLibraryThreadsTest, ThreadsThatAskTogetherGetOneBody) {
  constexpr int kTimes = 50;
  for (int i = 0; i < kTimes; ++i) {
    std::vector<QVRDynamicSymbol> found(kThreads);
    runTogether(kThreads, [&](int number) {
      found[static_cast<std::size_t>(number)] = QVRDynamicSymbol(module_.path(), "add");
    });
    for (const QVRDynamicSymbol& symbol : found) EXPECT_EQ(symbol, found[0]);
    EXPECT_EQ(bodyOf(found[0])->getReferences(), static_cast<unsigned int>(kThreads));
  }
}

TEST_F(QVRDynamicLibraryThreadsTest, OneClosesWhileOthersOpen) {
  QVRDynamicLibrary library = QVRDynamicLibrary::getLibrary(module_.path());

  runTogether(kThreads, [&](int number) {
    for (int round = 0; round < kRounds / 8; ++round) {
      if (number == 0) {
        library.close();
      } else if (number == 1) {
        library.open();
      } else {
        expectWhole(library.getSymbol("add"));
      }
    }
  });

  library.open();
  EXPECT_TRUE(library.isOpen());
}

}  // namespace
