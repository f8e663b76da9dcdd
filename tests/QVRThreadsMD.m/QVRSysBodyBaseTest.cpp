// Objects that lock themselves and are shared.
#include "QVRSysBodyBase.h"

#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <type_traits>

#include "QVRCountedPointer.h"
#include "QVRObjectMD.m/DynamicObjectAccess.h"
#include "QVRSysLockGuard.h"
#include "QVRSysMutexLockReports.h"
#include "support/MutualExclusion.h"

namespace {

static_assert(std::is_base_of_v<QVRSysMonitor, QVRSysBodyBase> &&
              std::is_base_of_v<QVRCountedObject, QVRSysBodyBase> &&
              sizeof(QVRSysBodyBase) == sizeof(QVRSysMonitor) + sizeof(QVRCountedObject));
static_assert(std::has_virtual_destructor_v<QVRSysBodyBase> &&
              !std::is_nothrow_destructible_v<QVRSysBodyBase>);

/// A body as modules write them, which can be looked into.
class Stock : public QVRSysBodyBase {
 public:
  explicit Stock(std::string* record = nullptr) : record_(record) {}
  ~Stock() noexcept override {
    if (record_ != nullptr) *record_ += "ended";
  }
  Stock(const Stock&) = default;
  Stock& operator=(const Stock&) = default;

  void add(long more) {
    const QVRSysLockGuard guard(monitor());
    count_ += more;
  }
  long count() const {
    const QVRSysLockGuard guard(monitor());
    return count_;
  }

  using QVRSysMonitor::acquire;
  using QVRSysMonitor::release;

 private:
  long count_ = 0;
  std::string* record_;
};

TEST(QVRSysBodyBaseTest, IsAMonitorFirst) {
  Stock stock;
  EXPECT_EQ(static_cast<void*>(static_cast<QVRSysMonitor*>(&stock)), &stock);
}

TEST(QVRSysBodyBaseTest, HasNoOwnerAtFirst) {
  const QVRSysBodyBase body;
  EXPECT_EQ(body.getReferences(), 0u);
  EXPECT_EQ(body.getClassName(), "QVRCountedObject");
}

TEST(QVRSysBodyBaseTest, LocksItself) {
  const QVRCountedPointer<Stock> stock(new Stock);

  runTogether(4, [&](int) {
    const QVRCountedPointer<Stock> own = stock;
    for (int i = 0; i < 1000; ++i) own->add(1);
  });

  EXPECT_EQ(stock->count(), 4000);
  EXPECT_EQ(stock->getReferences(), 1u);
}

TEST(QVRSysBodyBaseTest, EndsWholeWithItsLastReference) {
  std::string record;
  QVRCountedPointer<QVRCountedObject> counted(new Stock(&record));

  counted.detach();

  EXPECT_EQ(record, "ended");
}

TEST(QVRSysBodyBaseTest, CopyHasTheCountButAFreeLockOfItsOwn) {
  Stock stock;
  stock.addReference();
  stock.addReference();
  stock.acquire();

  Stock copy(stock);

  EXPECT_EQ(copy.getReferences(), 2u);
  std::thread([&] { copy.add(1); }).join();
  EXPECT_EQ(copy.count(), 1);
  EXPECT_EQ(giveBackAll(copy), 0);
  EXPECT_EQ(giveBackAll(stock), 1);
}

TEST(QVRSysBodyBaseTest, AssignmentLeavesCountAndLockAlone) {
  Stock stock;
  Stock other;
  stock.addReference();
  stock.acquire();
  other.acquire();
  other.acquire();

  EXPECT_EQ(&(stock = other), &stock);

  EXPECT_EQ(stock.getReferences(), 1u);
  EXPECT_EQ(giveBackAll(stock), 1);
  EXPECT_EQ(giveBackAll(other), 2);
}

TEST(QVRSysBodyBaseTest, AssignmentTakesOverThatNobodyOrphanedIt) {
  struct Orphan : Stock {
    using Stock::orphanObject;
  } orphan;
  orphan.orphanObject();
  const Orphan other;

  orphan = static_cast<const Orphan&>(orphan);
  EXPECT_TRUE(QVRDynamicObjectTestAccess::isOrphaned(orphan)) << "by itself";
  orphan = other;
  EXPECT_FALSE(QVRDynamicObjectTestAccess::isOrphaned(orphan));
}

}  // namespace
