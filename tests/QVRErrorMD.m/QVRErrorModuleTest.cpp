// Exceptions on their way between modules with hidden symbols, loaded locally.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include "QVREFileNotFound.h"
#include "QVREInvalidArgument.h"
#include "QVREOutOfRange.h"

namespace {

class QVRErrorModuleTest : public testing::Test {
 protected:
  void SetUp() override {
    module_ = dlopen(QVR_ERROR_MODULE, RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(module_, nullptr) << dlerror();
  }
  void TearDown() override {
    if (module_ != nullptr) dlclose(module_);
  }

  template <class Function>
  Function* find(const char* name) const {
    return reinterpret_cast<Function*>(dlsym(module_, name));
  }

 private:
  void* module_ = nullptr;
};

TEST_F(QVRErrorModuleTest, IsCaughtByExactClassOutsideTheModule) {
  const auto throwOutOfRange = find<void(int)>("throwOutOfRange");
  ASSERT_NE(throwOutOfRange, nullptr);

  try {
    throwOutOfRange(5);
  } catch (const QVREInvalidArgument&) {
    FAIL() << "caught as another class";
  } catch (const QVREOutOfRange& error) {
    EXPECT_STREQ(error.what(), "Index 5");
    EXPECT_STREQ(error.where(), "QVRErrorModule.cpp(7)");
    return;
  }
  FAIL() << "not thrown";
}

TEST_F(QVRErrorModuleTest, IsCaughtByExactClassInsideTheModule) {
  const auto lineOf = find<int(void (*)())>("lineOfFileNotFound");
  ASSERT_NE(lineOf, nullptr);

  EXPECT_EQ(lineOf([] { throw QVREFileNotFound(u"text", "file.cc", 9); }), 9);
  EXPECT_THROW(lineOf([] { throw QVREOutOfRange(u"text", "file.cc", 9); }), QVREOutOfRange);
}

}  // namespace
