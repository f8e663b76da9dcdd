// The queue: what is put is got once and in order, who waits, what a stop does, and what
// items that throw leave behind.
#include "QVRSysPCQueue.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <numeric>
#include <random>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "QVRSysLockGuard.h"
#include "support/AllocationRefuser.h"
#include "support/AssertRecorder.h"
#include "support/CommandedThread.h"
#include "support/MutualExclusion.h"
#include "support/TestSeed.h"

namespace {

/// A queue whose lock tests can hold.
template <class T>
class TestedQueue : public QVRSysPCQueue<T> {
 public:
  using QVRSysPCQueue<T>::QVRSysPCQueue;
  using QVRSysMonitor::acquire;
  using QVRSysMonitor::monitor;

  void awaitEmpty() {
    const QVRSysLockGuard guard(monitor());
    while (this->count() != 0) this->roomAvailable_.wait();
  }
};

template <class T>
std::vector<T> takeAll(QVRSysPCQueue<T>& queue) {
  std::vector<T> taken;
  while (queue.hasItems()) {
    T item{};
    EXPECT_TRUE(queue.get(item));
    taken.push_back(std::move(item));
  }
  return taken;
}

std::vector<int> sequence(int from, int to) {
  std::vector<int> numbers(static_cast<std::size_t>(to - from));
  std::iota(numbers.begin(), numbers.end(), from);
  return numbers;
}

/// Nothing is reported unless a test says so.
class QVRSysPCQueueTest : public testing::Test {
 protected:
  ~QVRSysPCQueueTest() override { EXPECT_EQ(asserts_.all(), expectedReports_); }

  AssertRecorder asserts_;
  std::vector<AssertRecord> expectedReports_;
};

TEST_F(QVRSysPCQueueTest, ANewOneIsEmptyAndHasRoom) {
  for (const std::size_t capacity : {0u, 1u, 1024u}) {
    const QVRSysPCQueue<int> queue(capacity);

    EXPECT_EQ(queue.getCapacity(), capacity);
    EXPECT_EQ(queue.count(), 0u);
    EXPECT_FALSE(queue.hasItems());
    EXPECT_TRUE(queue.hasRoom());
  }
}

TEST_F(QVRSysPCQueueTest, HasNoCapacityUnlessToldOtherwise) {
  EXPECT_EQ(QVRSysPCQueue<int>().getCapacity(), 0u);
}

TEST_F(QVRSysPCQueueTest, GivesItemsInTheOrderInWhichTheyWerePut) {
  constexpr int kItems = 5000;
  QVRSysPCQueue<int> queue;

  for (int i = 0; i < kItems; ++i) {
    EXPECT_TRUE(queue.put(i));
    EXPECT_EQ(queue.count(), static_cast<std::size_t>(i + 1));
    EXPECT_TRUE(queue.hasItems());
  }

  EXPECT_EQ(takeAll(queue), sequence(0, kItems));
  EXPECT_EQ(queue.count(), 0u);
}

TEST_F(QVRSysPCQueueTest, WithoutACapacityAPutNeverWaits) {
  constexpr int kItems = 100'000;
  QVRSysPCQueue<int> queue;

  for (int i = 0; i < kItems; ++i) EXPECT_TRUE(queue.put(i) && queue.hasRoom());
}

TEST_F(QVRSysPCQueueTest, APutIntoAFullQueueWaitsUntilAGetHasRemovedAnItem) {
  QVRSysPCQueue<int> queue(2);
  CommandedThread producer;
  queue.put(1);
  queue.put(2);
  EXPECT_FALSE(queue.hasRoom());

  producer.start([&] { EXPECT_TRUE(queue.put(3)); });
  EXPECT_TRUE(producer.sleeps());
  EXPECT_EQ(queue.count(), 2u);

  int first = 0;
  EXPECT_TRUE(queue.get(first));
  producer.finish();
  EXPECT_EQ(first, 1);
  EXPECT_EQ(takeAll(queue), sequence(2, 4));
}

TEST_F(QVRSysPCQueueTest, AGetFromAnEmptyQueueWaitsUntilAPut) {
  QVRSysPCQueue<int> queue;
  CommandedThread consumer;
  int item = 0;
  consumer.start([&] { EXPECT_TRUE(queue.get(item)); });
  EXPECT_TRUE(consumer.sleeps());

  queue.put(7);

  consumer.finish();
  EXPECT_EQ(item, 7);
  EXPECT_EQ(queue.count(), 0u);
}

TEST_F(QVRSysPCQueueTest, AnItemGoesToTheOneThatHasWaitedLongest) {
  QVRSysPCQueue<int> queue;
  CommandedThread consumers[3];
  int items[3] = {};
  for (int i = 0; i < 3; ++i) {
    consumers[i].start([&queue, &item = items[i]] { EXPECT_TRUE(queue.get(item)); });
    EXPECT_TRUE(consumers[i].sleeps());
  }

  for (int i = 0; i < 3; ++i) {
    queue.put(i + 1);
    consumers[i].finish();
    EXPECT_EQ(items[i], i + 1);
    for (int later = i + 1; later < 3; ++later) EXPECT_TRUE(consumers[later].sleeps());
  }
}

TEST_F(QVRSysPCQueueTest, OnlyASignalHasAWaitingProducerLookAtTheCapacityAgain) {
  QVRSysPCQueue<int> queue(1);
  CommandedThread producer;
  queue.put(1);
  producer.start([&] { EXPECT_TRUE(queue.put(2)); });
  EXPECT_TRUE(producer.sleeps());

  queue.setCapacity(0);
  EXPECT_TRUE(queue.hasRoom());
  EXPECT_TRUE(producer.sleeps());

  int item = 0;
  queue.get(item);
  producer.finish();
  EXPECT_EQ(queue.count(), 1u);
}

TEST_F(QVRSysPCQueueTest, ACapacityBelowTheNumberOfItemsKeepsThem) {
  QVRSysPCQueue<int> queue;
  for (int i = 0; i < 5; ++i) queue.put(i);

  queue.setCapacity(2);

  EXPECT_EQ(queue.getCapacity(), 2u);
  EXPECT_FALSE(queue.hasRoom());
  EXPECT_EQ(takeAll(queue), sequence(0, 5));
  EXPECT_TRUE(queue.hasRoom());
}

TEST_F(QVRSysPCQueueTest, AStoppedOneTakesAndGivesNothingAndKeepsItsItems) {
  QVRSysPCQueue<std::string> queue(5);
  queue.put("kept");
  std::string given = "given";
  std::string variable = "left alone";

  queue.stop();

  EXPECT_FALSE(queue.put(std::move(given)));
  EXPECT_FALSE(queue.put(std::as_const(given)));
  EXPECT_FALSE(queue.get(variable));
  EXPECT_EQ(given, "given");
  EXPECT_EQ(variable, "left alone");
  EXPECT_FALSE(queue.hasItems());
  EXPECT_FALSE(queue.hasRoom());
  EXPECT_EQ(queue.count(), 1u);

  queue.restart();
  EXPECT_EQ(takeAll(queue), std::vector<std::string>{"kept"});
}

TEST_F(QVRSysPCQueueTest, AStopEndsEveryWait) {
  QVRSysPCQueue<std::string> empty;
  QVRSysPCQueue<std::string> full(1);
  full.put("first");
  CommandedThread threads[4];
  std::string items[4] = {"a", "b", "c", "d"};
  for (int i = 0; i < 4; ++i) {
    threads[i].start(
        [&, i] { EXPECT_FALSE(i % 2 == 0 ? empty.get(items[i]) : full.put(std::move(items[i]))); });
    EXPECT_TRUE(threads[i].sleeps());
  }

  empty.stop();
  full.stop();

  for (CommandedThread& thread : threads) thread.finish();
  EXPECT_EQ(std::vector<std::string>(items, items + 4),
            (std::vector<std::string>{"a", "b", "c", "d"}));
  EXPECT_EQ(full.count(), 1u);
}

TEST_F(QVRSysPCQueueTest, AStopEndsEveryWaitThoughARestartFollowsAtOnce) {
  TestedQueue<int> queue(1);
  CommandedThread consumer;
  CommandedThread producer;
  int item = 0;
  consumer.start([&] { EXPECT_FALSE(queue.get(item)); });
  EXPECT_TRUE(consumer.sleeps());
  {
    const QVRSysLockGuard guard(queue.monitor());
    queue.stop();
    queue.restart();
    queue.put(1);
  }
  consumer.finish();
  producer.start([&] { EXPECT_FALSE(queue.put(2)); });
  EXPECT_TRUE(producer.sleeps());
  {
    const QVRSysLockGuard guard(queue.monitor());
    queue.stop();
    queue.restart();
    queue.get(item);
  }
  producer.finish();

  EXPECT_EQ(queue.count(), 0u);
  EXPECT_TRUE(queue.put(3) && queue.get(item));
}

TEST_F(QVRSysPCQueueTest, ARepeatedStopOrRestartChangesNothing) {
  QVRSysPCQueue<int> queue;
  int item = 0;
  queue.restart();
  EXPECT_TRUE(queue.put(1));

  queue.stop();
  queue.stop();
  queue.restart();
  EXPECT_TRUE(queue.hasItems());

  queue.restart();
  EXPECT_TRUE(queue.get(item));
}

TEST_F(QVRSysPCQueueTest, ClearRemovesEveryItemAndSignalsOnce) {
  QVRSysPCQueue<int> queue(2);
  CommandedThread producers[2];
  queue.put(1);
  queue.put(2);
  for (CommandedThread& producer : producers) {
    producer.start([&] { EXPECT_TRUE(queue.put(3)); });
    EXPECT_TRUE(producer.sleeps());
  }

  queue.clear();

  producers[0].finish();
  EXPECT_TRUE(producers[1].sleeps()) << "there is room, but it was signalled once";
  EXPECT_EQ(queue.count(), 1u);
  queue.clear();
  producers[1].finish();
}

TEST_F(QVRSysPCQueueTest, ClearWorksWhileStoppedAndWhileEmpty) {
  QVRSysPCQueue<int> queue;
  queue.clear();
  queue.put(1);
  queue.stop();
  queue.clear();

  EXPECT_EQ(queue.count(), 0u);
  queue.restart();
  EXPECT_TRUE(queue.put(2));
  EXPECT_EQ(takeAll(queue), sequence(2, 3));
}

TEST_F(QVRSysPCQueueTest, WhoHoldsTheLockMayUseItAndKeepsOthersOut) {
  TestedQueue<int> queue(2);
  CommandedThread other;
  int item = 0;
  {
    const QVRSysLockGuard guard(queue.monitor());
    other.start([&] { queue.put(2); });
    EXPECT_TRUE(other.sleeps());
    EXPECT_TRUE(queue.put(1) && queue.hasItems() && queue.hasRoom());
    EXPECT_EQ(queue.count(), 1u);
    EXPECT_EQ(queue.getCapacity(), 2u);
    EXPECT_TRUE(queue.get(item));
    queue.setCapacity(1);
    queue.clear();
    queue.stop();
    queue.restart();
    EXPECT_TRUE(other.sleeps());
  }
  other.finish();
  EXPECT_EQ(takeAll(queue), sequence(2, 3));
}

TEST_F(QVRSysPCQueueTest, WhoHoldsTheLockKeepsThoseOutWhoGet) {
  TestedQueue<int> queue;
  CommandedThread other;
  int item = 0;
  queue.put(1);
  {
    const QVRSysLockGuard guard(queue.monitor());
    other.start([&] { queue.get(item); });
    EXPECT_TRUE(other.sleeps());
    EXPECT_EQ(queue.count(), 1u);
  }
  other.finish();
  EXPECT_EQ(item, 1);
}

TEST_F(QVRSysPCQueueTest, EachGetTellsWhoeverWaitsForRoom) {
  TestedQueue<int> queue;
  CommandedThread waiter;
  int item = 0;
  queue.put(1);
  queue.put(2);
  waiter.start([&] { queue.awaitEmpty(); });
  EXPECT_TRUE(waiter.sleeps());

  queue.get(item);
  EXPECT_TRUE(waiter.sleeps());
  queue.get(item);

  waiter.finish();
}

TEST_F(QVRSysPCQueueTest, TheEndOfAThreadThatHeldTheLockIsReportedOnce) {
  TestedQueue<int> queue;
  std::thread([&] { queue.acquire(); }).join();

  expectedReports_ = {{"Assertion", "result == ((((DWORD )0x00000000L) ) + 0 )",
                       "QVRSystem/QVRThreadsMD.m/src/QVRSysMutexLock", 74}};

  EXPECT_TRUE(queue.put(1));

  EXPECT_EQ(asserts_.all(), expectedReports_);
  int item = 0;
  EXPECT_TRUE(queue.get(item) && queue.put(2));
}

TEST_F(QVRSysPCQueueTest, WhoGotTheLastItemMayDestroyIt) {
  constexpr int kRounds = 2000;
  std::atomic<QVRSysPCQueue<int>*> shared = nullptr;
  std::thread producer([&] {
    for (int round = 0; round < kRounds; ++round) {
      QVRSysPCQueue<int>* queue = nullptr;
      while ((queue = shared.exchange(nullptr)) == nullptr) std::this_thread::yield();
      queue->put(round);
    }
  });

  for (int round = 0; round < kRounds; ++round) {
    const auto queue = std::make_unique<QVRSysPCQueue<int>>();
    shared = queue.get();
    int item = -1;
    EXPECT_TRUE(queue->get(item));
    EXPECT_EQ(item, round);
  }
  producer.join();
}

TEST_F(QVRSysPCQueueTest, HoldsItemsThatCanOnlyBeMoved) {
  QVRSysPCQueue<std::unique_ptr<int>> queue;
  auto item = std::make_unique<int>(5);
  queue.put(std::move(item));
  EXPECT_EQ(item, nullptr);

  EXPECT_TRUE(queue.get(item));

  EXPECT_EQ(*item, 5);
}

// ---- Items that notice what is done to them ----

struct Refused : std::runtime_error {
  Refused() : runtime_error("refused") {}
};

/// Copies and moves that throw when told to.
struct Touchy {
  static inline std::atomic<int> copiesUntilRefusal = -1;  // of any kind; negative: none is refused
  static inline std::atomic<int> alive = 0;

  explicit Touchy(int number = 0) : value(number) { ++alive; }
  Touchy(const Touchy& other) : value(other.value) {
    refuseWhenTold();
    ++alive;
  }
  Touchy(Touchy&& other) : value(other.value) {
    refuseWhenTold();
    other.value = -1;
    ++alive;
  }
  Touchy& operator=(const Touchy& other) {
    refuseWhenTold();
    value = other.value;
    return *this;
  }
  Touchy& operator=(Touchy&& other) {
    refuseWhenTold();
    value = std::exchange(other.value, -1);
    return *this;
  }
  ~Touchy() { --alive; }

  bool operator==(const Touchy& other) const { return value == other.value; }

  int value;

 private:
  static void refuseWhenTold() {
    if (copiesUntilRefusal >= 0 && copiesUntilRefusal-- == 0) throw Refused();
  }
};

std::vector<int> valuesIn(QVRSysPCQueue<Touchy>& queue) {
  std::vector<int> values;
  for (const Touchy& item : takeAll(queue)) values.push_back(item.value);
  return values;
}

class QVRSysPCQueueOfTouchyItems : public QVRSysPCQueueTest {
 protected:
  QVRSysPCQueueOfTouchyItems() {
    Touchy::copiesUntilRefusal = -1;
    for (int i = 0; i < 3; ++i) queue_.put(Touchy(i));
  }
  ~QVRSysPCQueueOfTouchyItems() noexcept override { Touchy::copiesUntilRefusal = -1; }

  QVRSysPCQueue<Touchy> queue_;
};

TEST_F(QVRSysPCQueueOfTouchyItems, APutThatThrowsChangesNothing) {
  Touchy item(3);
  for (const bool moves : {false, true}) {
    Touchy::copiesUntilRefusal = 0;
    EXPECT_THROW(moves ? queue_.put(std::move(item)) : queue_.put(item), Refused);

    EXPECT_EQ(item.value, 3);
    EXPECT_EQ(queue_.count(), 3u);
  }
  CommandedThread other;
  other.run([&] { EXPECT_TRUE(queue_.put(item)); });

  EXPECT_EQ(valuesIn(queue_), sequence(0, 4));
}

TEST_F(QVRSysPCQueueOfTouchyItems, AGetThatThrowsChangesNothing) {
  Touchy::copiesUntilRefusal = 0;
  Touchy item(9);
  EXPECT_THROW(queue_.get(item), Refused);

  EXPECT_EQ(queue_.count(), 3u);
  CommandedThread other;
  other.run([&] { EXPECT_TRUE(queue_.get(item)); });
  EXPECT_EQ(item.value, 0);
  EXPECT_EQ(valuesIn(queue_), sequence(1, 3));
}

TEST_F(QVRSysPCQueueOfTouchyItems, EveryItemIsDestroyedOnce) {
  const int before = Touchy::alive;
  {
    QVRSysPCQueue<Touchy> queue;
    for (int i = 0; i < 1000; ++i) queue.put(Touchy(i));
    Touchy taken;
    for (int i = 0; i < 500; ++i) queue.get(taken);
    EXPECT_EQ(Touchy::alive, before + 501);
    queue.clear();
    EXPECT_EQ(Touchy::alive, before + 1);
    for (int i = 0; i < 1000; ++i) queue.put(Touchy(i));
  }
  EXPECT_EQ(Touchy::alive, before);
}

// What a thread was woken for and could not take is another's.
TEST_F(QVRSysPCQueueOfTouchyItems, AGetThatThrowsLeavesTheItemToTheNextThatWaits) {
  QVRSysPCQueue<Touchy> queue;
  CommandedThread consumers[2];
  Touchy items[2];
  consumers[0].start([&] { EXPECT_THROW(queue.get(items[0]), Refused); });
  EXPECT_TRUE(consumers[0].sleeps());
  consumers[1].start([&] { EXPECT_TRUE(queue.get(items[1])); });
  EXPECT_TRUE(consumers[1].sleeps());

  Touchy::copiesUntilRefusal = 1;  // the first is the put's
  queue.put(Touchy(5));

  for (CommandedThread& consumer : consumers) consumer.finish();
  EXPECT_EQ(items[1].value, 5);
  EXPECT_EQ(queue.count(), 0u);
}

TEST_F(QVRSysPCQueueOfTouchyItems, APutThatThrowsLeavesTheRoomToTheNextThatWaits) {
  QVRSysPCQueue<Touchy> queue(1);
  CommandedThread producers[2];
  queue.put(Touchy(0));
  producers[0].start([&] { EXPECT_THROW(queue.put(Touchy(1)), Refused); });
  EXPECT_TRUE(producers[0].sleeps());
  producers[1].start([&] { EXPECT_TRUE(queue.put(Touchy(2))); });
  EXPECT_TRUE(producers[1].sleeps());

  Touchy::copiesUntilRefusal = 1;  // the first is the get's
  Touchy item;
  queue.get(item);

  for (CommandedThread& producer : producers) producer.finish();
  EXPECT_EQ(valuesIn(queue), sequence(2, 3));
}

/// Whose destructor throws where it holds a number below 0, once all are made.
struct Bursting {
  explicit Bursting(int number) : value(number) {}
  Bursting(const Bursting&) = default;
  Bursting& operator=(const Bursting&) = default;
  ~Bursting() noexcept(false) {
    if (!isArmed) return;
    destroyed.push_back(value);
    if (value < 0) throw std::runtime_error(std::to_string(value));
  }

  static inline bool isArmed = false;
  static inline std::vector<int> destroyed;
  int value;
};

/// Fills the queue and arms the items for a scope.
class BurstingItems {
 public:
  BurstingItems(QVRSysPCQueue<Bursting>& queue, std::vector<int> values) {
    for (const int value : values) queue.put(Bursting(value));
    Bursting::destroyed.clear();
    Bursting::isArmed = true;
  }
  ~BurstingItems() { Bursting::isArmed = false; }
};

template <class Action>
std::string messageOf(Action action) {
  try {
    action();
  } catch (const std::runtime_error& failure) {
    return failure.what();
  }
  return "none";
}

TEST_F(QVRSysPCQueueTest, ClearRemovesItemsWhoseDestructorsThrowLikeTheOthers) {
  QVRSysPCQueue<Bursting> queue;
  const BurstingItems items(queue, {1, -2, 3, -4, 5});

  EXPECT_EQ(messageOf([&] { queue.clear(); }), "-4");

  EXPECT_EQ(Bursting::destroyed, (std::vector<int>{1, -2, 3, -4, 5}));
  EXPECT_EQ(queue.count(), 0u);
  CommandedThread other;
  other.run([&] { EXPECT_TRUE(queue.hasRoom()); });
}

TEST_F(QVRSysPCQueueTest, ItsDestructorThrowsWhatItemsThrow) {
  auto* const queue = new QVRSysPCQueue<Bursting>;
  const BurstingItems items(*queue, {1, -2, 3});

  EXPECT_EQ(messageOf([&] { delete queue; }), "-2");

  EXPECT_EQ(Bursting::destroyed, (std::vector<int>{1, -2, 3}));
}

/// Runs an action when a value goes.
struct Parting {
  Parting() = default;
  explicit Parting(std::function<void()> action) : farewell(std::move(action)) {}
  Parting(Parting&& other) noexcept : farewell(std::exchange(other.farewell, nullptr)) {}
  Parting& operator=(Parting&& other) noexcept {
    std::swap(farewell, other.farewell);
    return *this;
  }
  ~Parting() {
    if (farewell) farewell();
  }

  std::function<void()> farewell;
};

TEST_F(QVRSysPCQueueTest, WhatAGetReplacesGoesWithTheLockGivenBack) {
  QVRSysPCQueue<Parting> queue;
  CommandedThread other;
  bool gone = false;
  queue.put(Parting());
  {
    Parting item([&] {
      other.run([&] { EXPECT_EQ(queue.count(), 0u); });  // waits for the lock
      gone = true;
    });
    EXPECT_TRUE(queue.get(item));
  }
  EXPECT_TRUE(gone);
}

TEST_F(QVRSysPCQueueTest, ItemsMayUseItWhileClearRemovesThem) {
  QVRSysPCQueue<Parting> queue;
  std::vector<std::size_t> counts;
  for (int i = 0; i < 3; ++i) {
    queue.put(Parting([&] {
      counts.push_back(queue.count());
      queue.put(Parting());
    }));
  }

  queue.clear();

  EXPECT_EQ(counts, (std::vector<std::size_t>{0, 1, 2}));
  EXPECT_EQ(queue.count(), 3u);
}

/// Counts how often it is moved.
struct Moved {
  Moved() = default;
  Moved(Moved&&) noexcept { ++moves; }
  Moved& operator=(Moved&&) noexcept {
    ++moves;
    return *this;
  }
  static inline int moves = 0;
};

TEST_F(QVRSysPCQueueTest, TakingTheFirstOfAMillionTouchesNoOther) {
  QVRSysPCQueue<Moved> queue;
  Moved item;
  for (int i = 0; i < 1'000'000; ++i) queue.put(Moved());

  for (int i = 0; i < 100; ++i) {
    Moved::moves = 0;
    queue.get(item);
    EXPECT_LE(Moved::moves, 2);
  }
}

TEST_F(QVRSysPCQueueTest, AShortQueueNeedsNoMoreMemoryOnceItHasSome) {
  QVRSysPCQueue<int> queue;
  int item = 0;
  const auto passThrough = [&] {
    for (int round = 0; round < 1000; ++round) {
      for (int i = 0; i < 100; ++i) queue.put(i);
      for (int i = 0; i < 100; ++i) queue.get(item);
    }
  };
  passThrough();

  const AllocationRefuser counter(0);
  passThrough();

  EXPECT_EQ(counter.count(), 0u);
}

TEST_F(QVRSysPCQueueTest, APutThatGetsNoMemoryChangesNothing) {
  constexpr int kItems = 3000;
  QVRSysPCQueue<int> queue;
  int next = 0;

  const std::size_t refused = refuseEachAllocation([&] {
    while (next < kItems) {
      queue.put(next);
      ++next;
    }
  });

  EXPECT_GT(refused, 1u);
  EXPECT_EQ(takeAll(queue), sequence(0, kItems));
}

// ---- Many threads ----

struct Numbered {
  int producer;
  int number;
};

/// What consumers got, by producer, in the order in which each of them got it.
class Received {
 public:
  explicit Received(int producers) : last_(static_cast<std::size_t>(producers), -1) {}

  /// Of one consumer: the items of a producer come in their order.
  void note(const Numbered& item) {
    int& last = last_[static_cast<std::size_t>(item.producer)];
    EXPECT_LT(last, item.number);
    last = item.number;
  }

 private:
  std::vector<int> last_;
};

TEST_F(QVRSysPCQueueTest, EachItemArrivesOnceAndThoseOfAProducerInOrder) {
  for (const int sides : {1, 2, 8, 32}) {
    for (const std::size_t capacity : {0u, 1u, 2u, 64u}) {
      SCOPED_TRACE(std::to_string(sides) + " a side, capacity " + std::to_string(capacity));
      const int share = 6400 / sides;
      QVRSysPCQueue<Numbered> queue(capacity);
      std::vector<std::atomic<int>> arrivals(static_cast<std::size_t>(sides * share));
      runTogether(2 * sides, [&](int self) {
        if (self < sides) {
          for (int i = 0; i < share; ++i) EXPECT_TRUE(queue.put(Numbered{self, i}));
          return;
        }
        Received received(sides);
        for (int i = 0; i < share; ++i) {
          Numbered item{};
          EXPECT_TRUE(queue.get(item));
          received.note(item);
          ++arrivals[static_cast<std::size_t>(item.producer * share + item.number)];
        }
      });

      for (const auto& arrived : arrivals) EXPECT_EQ(arrived.load(), 1);
      EXPECT_EQ(queue.count(), 0u);
    }
  }
}

TEST_F(QVRSysPCQueueTest, StopsAndRestartsAtRandomMomentsLoseNothing) {
  constexpr int kShare = 500;
  const unsigned seed = testSeed();
  for (const int sides : {1, 3, 16}) {
    SCOPED_TRACE(sides);
    QVRSysPCQueue<Numbered> queue(4);
    std::vector<std::atomic<int>> arrivals(static_cast<std::size_t>(sides * kShare));
    std::atomic<int> working = 2 * sides;
    runTogether(2 * sides + 1, [&](int self) {
      if (self == 2 * sides) {
        std::mt19937 random(seed);
        while (working != 0) {
          queue.stop();
          for (unsigned i = random() % 8; i > 0; --i) std::this_thread::yield();
          queue.restart();
          for (unsigned i = random() % 64; i > 0; --i) std::this_thread::yield();
        }
        return;
      }
      for (int i = 0; i < kShare; ++i) {
        Numbered item{self, i};
        const auto once = [&] { return self < sides ? queue.put(item) : queue.get(item); };
        while (!once()) std::this_thread::yield();
        if (self >= sides) {
          ++arrivals[static_cast<std::size_t>(item.producer * kShare + item.number)];
        }
      }
      --working;
    });

    for (const auto& arrived : arrivals) EXPECT_EQ(arrived.load(), 1);
    EXPECT_EQ(queue.count(), 0u);
  }
}

}  // namespace
