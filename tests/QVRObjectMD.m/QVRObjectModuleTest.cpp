// Dynamic classes of modules with hidden symbols that are loaded locally.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <sstream>

#include "PoolUse.h"
#include "QVRCountedPointer.h"

namespace shared {

/// The module has a class of this name too.
class Namesake : public QVRCountedObject {
  QVR_DECLARE_DYNAMIC_CLASS(Namesake);

 public:
  Namesake() = default;
  Namesake(const Namesake& other, CopyMode mode) : QVRCountedObject(other, mode) {}
};
QVR_DEFINE_DYNAMIC_CLASS(Namesake, QVRCountedObject);

}  // namespace shared

namespace {

using CountedPointer = QVRCountedPointer<QVRCountedObject>;

class QVRObjectModuleTest : public testing::Test {
 protected:
  void SetUp() override {
    module_ = dlopen(QVR_OBJECT_MODULE, RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(module_, nullptr) << dlerror();
  }
  void TearDown() override {
    if (module_ != nullptr) dlclose(module_);
  }

  template <class Result, class... Arguments>
  Result call(const char* name, Arguments... arguments) const {
    return reinterpret_cast<Result (*)(Arguments...)>(dlsym(module_, name))(arguments...);
  }
  const QVRClassInfo& record(const char* name) const { return *call<const QVRClassInfo*>(name); }
  bool ask(const char* name, const QVRDynamicObject* object) const {
    return call<bool, const QVRDynamicObject*>(name, object);
  }

 private:
  void* module_ = nullptr;
};

/// One more module, whose class derives from one of the first.
class QVRDerivedModuleTest : public QVRObjectModuleTest {
 protected:
  void SetUp() override {
    QVRObjectModuleTest::SetUp();
    derived_ = dlopen(QVR_DERIVED_MODULE, RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(derived_, nullptr) << dlerror();
  }
  void TearDown() override {
    if (derived_ != nullptr) dlclose(derived_);
    QVRObjectModuleTest::TearDown();
  }

  const QVRClassInfo& manometer() const {
    return *reinterpret_cast<const QVRClassInfo* (*)()>(dlsym(derived_, "manometerRecord"))();
  }

 private:
  void* derived_ = nullptr;
};

CountedPointer make(const QVRClassInfo& info) {
  return dynamic_cast<QVRCountedObject*>(info.createObject());
}

TEST_F(QVRObjectModuleTest, RecordsOfTheModuleDescribeItsClasses) {
  std::ostringstream out;
  out << record("gaugeRecord") << record("instrumentRecord");

  EXPECT_EQ(out.str(),
            "Class: module::Gauge\n"
            "    ObjectSize    = 120\n"
            "    Constructable = Yes\n"
            "    Base 1        = QVRCountedObject\n"
            "Class: module::Instrument\n"
            "    ObjectSize    = 120\n"
            "    Constructable = No\n"
            "    Base 1        = module::Gauge\n");
}

TEST_F(QVRObjectModuleTest, ClassesOfTheModuleAreDerivedFromOurs) {
  for (const char* name : {"gaugeRecord", "instrumentRecord"}) {
    const QVRClassInfo& info = record(name);

    EXPECT_TRUE(info.isDerivedFrom(QVRCountedObject::ClassInfo())) << name;
    EXPECT_TRUE(info.isDerivedFrom(QVRDynamicObject::ClassInfo())) << name;
    EXPECT_FALSE(QVRCountedObject::ClassInfo().isDerivedFrom(info)) << name;
    EXPECT_FALSE(info.isInstanceOf(QVRCountedObject::ClassInfo())) << name;
  }
  EXPECT_TRUE(record("instrumentRecord").isDerivedFrom(record("gaugeRecord")));
  EXPECT_FALSE(record("gaugeRecord").isDerivedFrom(record("instrumentRecord")));
}

TEST_F(QVRObjectModuleTest, RecordOfTheModuleMakesItsObjects) {
  const CountedPointer gauge = make(record("gaugeRecord"));
  ASSERT_NE(gauge, nullptr);

  EXPECT_EQ(gauge->getClassName(), "module::Gauge");
  EXPECT_EQ(gauge->getReferences(), 1u);
  EXPECT_TRUE(gauge->isDerivedFrom(QVRCountedObject::ClassInfo()));
  EXPECT_TRUE(ask("isGauge", gauge.get()));
  EXPECT_TRUE(ask("isCounted", gauge.get()));
}

TEST_F(QVRObjectModuleTest, RecordsServeTheStaticObjectsOfTheModule) {
  const auto* const made = call<const QVRDynamicObject*>("gaugeMadeAtStart");

  EXPECT_STREQ(call<const char*>("gaugeNameAtStart"), "module::Gauge");
  ASSERT_NE(made, nullptr);
  EXPECT_TRUE(ask("isGauge", made));
}

TEST_F(QVRObjectModuleTest, ModuleKnowsOurObjects) {
  const CountedPointer ours = make(QVRCountedObject::ClassInfo());

  EXPECT_TRUE(ask("isCounted", ours.get()));
  EXPECT_FALSE(ask("isGauge", ours.get()));
}

TEST_F(QVRObjectModuleTest, ObjectOfTheModuleLivesInTheOnePool) {
  if (!QVRPoolAllocator::Global().isEnabled()) GTEST_SKIP() << "the pool is switched off";
  const long before = blocksInUse(128);

  CountedPointer gauge = make(record("gaugeRecord"));
  EXPECT_EQ(blocksInUse(128), before + 1);

  gauge = nullptr;
  EXPECT_EQ(blocksInUse(128), before);
}

TEST_F(QVRObjectModuleTest, ClassesOfOneFullNameAreOneClass) {
  const QVRClassInfo& theirs = record("namesakeRecord");
  const QVRClassInfo& ours = shared::Namesake::ClassInfo();

  EXPECT_NE(&theirs, &ours);
  EXPECT_TRUE(theirs.isInstanceOf(ours));
  EXPECT_TRUE(ours.isInstanceOf(theirs));
}

TEST_F(QVRDerivedModuleTest, ClassIsDerivedFromThatOfTheOtherModule) {
  const QVRClassInfo& gauge = record("gaugeRecord");

  EXPECT_EQ(manometer().getClassName(), "derived::Manometer");
  ASSERT_EQ(manometer().getBaseCount(), 1u);
  EXPECT_EQ(&manometer().getBaseInfo(0), &gauge);
  EXPECT_TRUE(manometer().isDerivedFrom(gauge));
  EXPECT_TRUE(manometer().isDerivedFrom(QVRCountedObject::ClassInfo()));
  EXPECT_FALSE(manometer().isDerivedFrom(record("instrumentRecord")));
  EXPECT_FALSE(gauge.isDerivedFrom(manometer()));
}

TEST_F(QVRDerivedModuleTest, RecordMakesObjectsThatTheOtherModuleKnows) {
  const CountedPointer made = make(manometer());
  ASSERT_TRUE(made);

  EXPECT_EQ(&made->getClassInfo(), &manometer());
  EXPECT_TRUE(made->isDerivedFrom(record("gaugeRecord")));
  EXPECT_TRUE(ask("isKindOfGauge", made.get()));
  EXPECT_FALSE(ask("isGauge", made.get()));
  EXPECT_TRUE(ask("isCounted", made.get()));
}

}  // namespace
