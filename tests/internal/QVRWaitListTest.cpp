// The list of waiting threads: who is taken off, in which order, and who wakes.
#include "QVRSystem/internal/QVRWaitList.h"

#include <gtest/gtest.h>

#include <array>
#include <deque>
#include <memory>
#include <mutex>
#include <random>
#include <vector>

#include "support/CommandedThread.h"
#include "support/SignalStorm.h"
#include "support/TestSeed.h"

namespace {

using qvr::internal::Waiter;
using qvr::internal::WaitList;
using qvr::internal::WaitListStorage;

TEST(QVRWaitListTest, AnEmptyListHasNobody) {
  WaitListStorage storage = nullptr;
  WaitList list(storage);

  EXPECT_TRUE(list.isEmpty());
  EXPECT_EQ(list.takeFirst(), nullptr);
  EXPECT_EQ(list.takeAll(), nullptr);
  WaitList::wakeAll(nullptr);
  EXPECT_TRUE(list.isEmpty());
}

TEST(QVRWaitListTest, TheLongestWaitingIsTakenFirst) {
  WaitListStorage storage = nullptr;
  WaitList list(storage);
  std::array<Waiter, 3> waiters;
  for (Waiter& waiter : waiters) list.append(waiter);

  for (Waiter& waiter : waiters) {
    EXPECT_FALSE(list.isEmpty());
    EXPECT_EQ(list.takeFirst(), &waiter);
  }

  EXPECT_TRUE(list.isEmpty());
}

TEST(QVRWaitListTest, TheListLivesInItsStorage) {
  WaitListStorage storage = nullptr;
  Waiter waiter;
  WaitList(storage).append(waiter);

  EXPECT_FALSE(WaitList(storage).isEmpty());
  EXPECT_EQ(WaitList(storage).takeFirst(), &waiter);
}

TEST(QVRWaitListTest, TakeAllLeavesAnEmptyListThatLaterWaitersJoin) {
  WaitListStorage storage = nullptr;
  WaitList list(storage);
  std::array<Waiter, 3> waiters;
  for (Waiter& waiter : waiters) list.append(waiter);
  Waiter late;

  Waiter* const taken = list.takeAll();
  EXPECT_EQ(taken, &waiters[0]);
  EXPECT_TRUE(list.isEmpty());
  list.append(late);
  WaitList::wakeAll(taken);

  for (Waiter& waiter : waiters) waiter.sleep();  // all are awake: returns at once
  EXPECT_EQ(list.takeFirst(), &late);
  EXPECT_EQ(list.takeFirst(), nullptr);
}

TEST(QVRWaitListTest, KeepsTheOrderOfArrivalUnderAnySequence) {
  const unsigned seed = testSeed();
  std::mt19937 random(seed);
  WaitListStorage storage = nullptr;
  WaitList list(storage);
  std::deque<std::unique_ptr<Waiter>> model;

  for (int step = 0; step < 20'000; ++step) {
    switch (random() % 8) {
      default:
        model.push_back(std::make_unique<Waiter>());
        list.append(*model.back());
        break;
      case 4:
      case 5:
      case 6:
        ASSERT_EQ(list.takeFirst(), model.empty() ? nullptr : model.front().get()) << step;
        if (!model.empty()) model.pop_front();
        break;
      case 7:
        if (random() % 8 != 0) break;
        ASSERT_EQ(list.takeAll(), model.empty() ? nullptr : model.front().get()) << step;
        model.clear();
    }
    ASSERT_EQ(list.isEmpty(), model.empty()) << step;
  }
}

TEST(QVRWaitListTest, AThreadThatIsWokenBeforeItSleepsDoesNotSleep) {
  Waiter waiter;

  waiter.wake();

  waiter.sleep();
}

TEST(QVRWaitListTest, AThreadSleepsUntilItIsWoken) {
  Waiter waiter;
  CommandedThread thread;
  int result = 0;

  thread.start([&] {
    waiter.sleep();
    result *= 2;
  });
  EXPECT_TRUE(thread.sleeps());
  result = 21;
  waiter.wake();
  thread.finish();

  EXPECT_EQ(result, 42) << "what was written before the wake-up is seen";
}

TEST(QVRWaitListTest, SignalsOfTheSystemWakeNobody) {
  Waiter waiter;
  CommandedThread thread;
  thread.start([&] { waiter.sleep(); });
  EXPECT_TRUE(thread.sleeps());

  expectToSleepThroughSignals(thread);

  waiter.wake();
  thread.finish();
}

TEST(QVRWaitListTest, AllAreWokenThoughEachIsGoneAtOnce) {
  std::mutex mutex;
  WaitListStorage storage = nullptr;
  WaitList list(storage);
  std::vector<CommandedThread> threads(16);
  for (CommandedThread& thread : threads) {
    thread.start([&] {
      Waiter self;  // on the stack that the thread leaves when it wakes
      {
        const std::lock_guard guard(mutex);
        list.append(self);
      }
      self.sleep();
    });
    EXPECT_TRUE(thread.sleeps());
  }

  Waiter* taken = nullptr;
  {
    const std::lock_guard guard(mutex);
    taken = list.takeAll();
  }
  WaitList::wakeAll(taken);

  for (CommandedThread& thread : threads) thread.finish();
}

}  // namespace
