// Functors and runnables of modules with hidden symbols, loaded locally.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <memory>

#include "QVRBlockAllocator.h"
#include "QVRCountedPointer.h"
#include "QVRFunctor0.h"
#include "QVRSysIRunnableBody.h"
#include "QVRSysThreadId.h"

namespace {

class QVRFunctorModuleTest : public testing::Test {
 protected:
  void SetUp() override {
    module_ = dlopen(QVR_FUNCTOR_MODULE, RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(module_, nullptr) << dlerror();
  }
  void TearDown() override {
    if (module_ != nullptr) dlclose(module_);
  }

  template <class Result, class... Arguments>
  Result* make(const char* name, Arguments... arguments) const {
    return reinterpret_cast<Result* (*)(Arguments...)>(dlsym(module_, name))(arguments...);
  }

 private:
  void* module_ = nullptr;
};

void expectEqual(const QVRFunctor0& a, const QVRFunctor0& b) {
  EXPECT_TRUE(a == b);
  EXPECT_TRUE(b == a);
  EXPECT_FALSE(a < b);
  EXPECT_FALSE(b < a);
}

TEST_F(QVRFunctorModuleTest, FunctorsOfOneFunctionAreEqualWhoeverMadeThem) {
  const std::unique_ptr<QVRFunctor0> made(make<QVRFunctor0>("makeYield"));

  expectEqual(*made, QVRMakeFunctor0(&QVRSysThreadYield));
  expectEqual(QVRFunctor0(*made), QVRMakeFunctor0(&QVRSysThreadYield));
}

TEST_F(QVRFunctorModuleTest, FunctorsOfOneMemberAreEqualWhoeverMadeThem) {
  QVRBlockAllocator allocator(16);
  const std::unique_ptr<QVRFunctor0> made(make<QVRFunctor0>("makeCompact", &allocator));
  const QVRFunctor0 own = QVRMakeFunctor0(&allocator, &QVRBlockAllocator::compact);
  const QVRFunctor0 allocate = QVRMakeFunctor0(&allocator, &QVRBlockAllocator::allocate);

  expectEqual(*made, own);
  EXPECT_FALSE(*made == allocate);
  EXPECT_EQ(*made < allocate, own < allocate);
  EXPECT_EQ(allocate < *made, allocate < own);
}

TEST_F(QVRFunctorModuleTest, RunnablesDropWhatTheirModuleThrows) {
  const QVRCountedPointer<QVRSysIRunnableBody> runnable(
      make<QVRSysIRunnableBody>("makeThrowingRunnable"));

  EXPECT_EQ(runnable->run(), nullptr);
  EXPECT_EQ(runnable->getClassName(), "QVRCountedObject");
}

}  // namespace
