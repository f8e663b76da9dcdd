// What classes of runnables inherit.
#include "QVRSysIRunnableBody.h"

#include <gtest/gtest.h>

#include <string>
#include <type_traits>

#include "QVRCountedPointer.h"
#include "support/VirtualSlot.h"

namespace {

static_assert(std::is_abstract_v<QVRSysIRunnableBody> &&
              std::is_base_of_v<QVRCountedObject, QVRSysIRunnableBody> &&
              !std::is_nothrow_destructible_v<QVRSysIRunnableBody>);

/// Writes down what is done with it.
class Work : public QVRSysIRunnableBody {
 public:
  explicit Work(std::string& record) : record_(record) {}
  ~Work() noexcept override { record_ += "ended"; }

  void initialize() override { record_ += "initialized "; }
  void* run() override {
    record_ += "run ";
    return this;
  }
  void finalize() override { record_ += "finalized "; }

 private:
  std::string& record_;
};

TEST(QVRSysIRunnableBodyTest, VirtualOperationsFollowThoseOfTheCountedObject) {
  EXPECT_EQ(slotOf(&QVRSysIRunnableBody::initialize), 11u);
  EXPECT_EQ(slotOf(&QVRSysIRunnableBody::run), 12u);
  EXPECT_EQ(slotOf(&QVRSysIRunnableBody::finalize), 13u);
}

TEST(QVRSysIRunnableBodyTest, LivesAsLongAsSomebodyHoldsIt) {
  std::string record;
  QVRCountedPointer<QVRSysIRunnableBody> work(new Work(record));
  QVRCountedPointer<QVRSysIRunnableBody> shared = work;

  work.detach();
  shared->initialize();
  EXPECT_EQ(shared->run(), shared.get());
  shared->finalize();
  shared.detach();

  EXPECT_EQ(record, "initialized run finalized ended");
}

TEST(QVRSysIRunnableBodyTest, AnswersAsACountedObject) {
  std::string record;
  const Work work(record);

  EXPECT_EQ(work.getClassName(), "QVRCountedObject");
  EXPECT_TRUE(work.isInstanceOf(QVRCountedObject::ClassInfo()));
}

}  // namespace
