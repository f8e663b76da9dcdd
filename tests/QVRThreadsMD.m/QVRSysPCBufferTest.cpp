// The base of buffers, through one that keeps its items in another order.
#include "QVRSysPCBuffer.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <type_traits>
#include <vector>

#include "QVRSysLockGuard.h"
#include "support/CommandedThread.h"
#include "support/VirtualSlot.h"

namespace {

/// Gives back what came last.
class Pile : public QVRSysPCBuffer {
 public:
  explicit Pile(std::size_t capacity = 0) : QVRSysPCBuffer(capacity) {}

  bool hasItems() const override { return count() != 0; }
  bool hasRoom() const override {
    const QVRSysLockGuard guard(monitor());
    return capacity_ == 0 || items_.size() < capacity_;
  }
  std::size_t count() const override {
    const QVRSysLockGuard guard(monitor());
    return items_.size();
  }
  void clear() override {
    const QVRSysLockGuard guard(monitor());
    items_.clear();
    roomAvailable_.signal();
  }

  void put(int item) {
    const QVRSysLockGuard guard(monitor());
    while (capacity_ != 0 && items_.size() >= capacity_) roomAvailable_.wait();
    items_.push_back(item);
    itemsAvailable_.signal();
  }
  int get() {
    const QVRSysLockGuard guard(monitor());
    while (items_.empty()) itemsAvailable_.wait();
    const int item = items_.back();
    items_.pop_back();
    roomAvailable_.signal();
    return item;
  }

  bool conditionsAreOnItsMutex() {
    return itemsAvailable_.getLock() == &mutex() && roomAvailable_.getLock() == &mutex();
  }

 private:
  std::vector<int> items_;
};

static_assert(std::is_abstract_v<QVRSysPCBuffer> && std::has_virtual_destructor_v<QVRSysPCBuffer> &&
              !std::is_nothrow_destructible_v<QVRSysPCBuffer>);

TEST(QVRSysPCBufferTest, CapacityIs0UnlessGivenAndCanBeChanged) {
  EXPECT_EQ(Pile().getCapacity(), 0u);
  Pile pile(3);
  EXPECT_EQ(pile.getCapacity(), 3u);

  pile.setCapacity(static_cast<std::size_t>(-1));

  EXPECT_EQ(pile.getCapacity(), static_cast<std::size_t>(-1));
}

TEST(QVRSysPCBufferTest, ConditionsAreOnItsMutex) { EXPECT_TRUE(Pile().conditionsAreOnItsMutex()); }

TEST(QVRSysPCBufferTest, ServesProducersAndConsumersOfADerivedBuffer) {
  Pile pile(1);
  CommandedThread producer;
  CommandedThread consumer;
  int got = 0;
  consumer.start([&] { got = pile.get(); });
  EXPECT_TRUE(consumer.sleeps());

  pile.put(1);
  consumer.finish();
  pile.put(2);
  producer.start([&] { pile.put(3); });
  EXPECT_TRUE(producer.sleeps());
  pile.clear();
  producer.finish();

  EXPECT_EQ(got, 1);
  EXPECT_EQ(pile.get(), 3);
}

TEST(QVRSysPCBufferTest, VirtualOperationsStandInTheirOrder) {
  EXPECT_EQ(slotOf(&QVRSysPCBuffer::hasItems), 2u);
  EXPECT_EQ(slotOf(&QVRSysPCBuffer::hasRoom), 3u);
  EXPECT_EQ(slotOf(&QVRSysPCBuffer::count), 4u);
  EXPECT_EQ(slotOf(&QVRSysPCBuffer::clear), 5u);
}

}  // namespace
