// A module with hidden names that uses the library, from its initialiser on.
#include <gtest/gtest.h>

#include <memory>

#include "DynamicModules.h"
#include "QVREOpenFailed.h"

namespace {

TEST(QVRUsingModuleTest, SharesTheTablesOfTheProgram) {
  const QVRDynamicLibrary module = QVRDynamicLibrary::getLibrary(QVR_USING_MODULE);
  const QVRDynamicLibrary library = QVRDynamicLibrary::getLibrary(QVR_LOADED_MODULE);
  const QVRDynamicSymbol symbol = library.getSymbol("add");

  EXPECT_TRUE(callSymbol<bool(const QVRDynamicSymbol*)>(
      bodyOf(module.getSymbol("sharesSymbol"))->getImpl(), &symbol));
  const std::unique_ptr<QVRDynamicLibrary> made(
      callSymbol<QVRDynamicLibrary*()>(bodyOf(module.getSymbol("makeLibrary"))->getImpl()));
  EXPECT_EQ(*made, library);
}

TEST(QVRUsingModuleTest, FailureIsCaughtAcrossModules) {
  const QVRDynamicSymbol openAbsent(QVR_USING_MODULE, "openAbsent");

  EXPECT_THROW(callSymbol<void()>(bodyOf(openAbsent)->getImpl()), QVREOpenFailed);
}

}  // namespace
