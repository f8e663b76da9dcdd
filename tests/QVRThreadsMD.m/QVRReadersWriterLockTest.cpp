// The readers-writer lock: nested holds, the refused upgrade, preference of writers,
// the table of holders; and all of it compared with a plain model.
#include "QVRReadersWriterLock.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <functional>
#include <latch>
#include <limits>
#include <map>
#include <memory>
#include <optional>
#include <ostream>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "QVREInternalError.h"
#include "QVRSysLockGuard.h"
#include "ReadersWriterLockAccess.h"
#include "support/CommandedThread.h"
#include "support/EndingThreads.h"
#include "support/ExpectFailure.h"
#include "support/MutualExclusion.h"
#include "support/SignalStorm.h"
#include "support/TestSeed.h"

namespace {

using Access = QVRReadersWriterLockTestAccess;
using Threads = std::vector<std::unique_ptr<CommandedThread>>;

constexpr char kSource[] = "QVRSystem/QVRThreadsMD.m/src/QVRReadersWriterLock";
constexpr std::int32_t kMostHolds = std::numeric_limits<std::int32_t>::max();

Threads makeThreads(int count) {
  Threads threads(static_cast<std::size_t>(count));
  for (auto& thread : threads) thread = std::make_unique<CommandedThread>();
  return threads;
}

/// Waits for the first of the threads whose action is over.
Threads::iterator firstToFinish(Threads& threads) {
  for (;;) {
    const auto first = std::find_if(threads.begin(), threads.end(),
                                    [](const auto& thread) { return !thread->isBusy(); });
    if (first != threads.end()) return first;
    std::this_thread::yield();
  }
}

void expectUpgradeRefused(QVRReadersWriterLock& lock) {
  expectFailure<QVREInternalError>([&] { lock.acquireWrite(); },
                                   " Cannot acquire a write lock within a read-only transaction",
                                   kSource, 242);
}

void expectNotOwner(QVRReadersWriterLock& lock) {
  expectFailure<QVREInternalError>([&] { lock.release(); }, " Illegal useage; Not Owner ", kSource,
                                   265);
}

/// What the calling thread is told of the lock.
struct View {
  bool locked;
  bool readLocked;
  bool writeLocked;
  int level;

  bool operator==(const View&) const = default;
};

std::ostream& operator<<(std::ostream& out, const View& view) {
  return out << view.locked << view.readLocked << view.writeLocked << ' ' << view.level;
}

View viewOf(const QVRReadersWriterLock& lock) {
  return {lock.isLocked(), lock.isReadLocked(), lock.isWriteLocked(), lock.getNestingLevel()};
}

View viewOfAnother(const QVRReadersWriterLock& lock) {
  View view{};
  std::thread([&] { view = viewOf(lock); }).join();
  return view;
}

/// Each test once with the lock as it comes and once with its table in use from the
/// start and after every look at it.
class QVRReadersWriterLockTest : public testing::TestWithParam<bool> {
 protected:
  QVRReadersWriterLockTest() { view(); }
  ~QVRReadersWriterLockTest() override { EXPECT_TRUE(Access::isValid(lock_)); }

  View view() {
    const View before = viewOf(lock_);
    if (!GetParam()) return before;
    Access::enterTable(lock_);
    const View after = viewOf(lock_);
    EXPECT_EQ(before, after) << "whether the word says it or the table";
    EXPECT_TRUE(Access::isValid(lock_));
    return after;
  }

  QVRReadersWriterLock lock_;
};

std::string paramName(const testing::TestParamInfo<bool>& info) {
  return info.param ? "InItsTable" : "AsItComes";
}

INSTANTIATE_TEST_SUITE_P(, QVRReadersWriterLockTest, testing::Bool(), paramName);

TEST_P(QVRReadersWriterLockTest, IsFreeAtFirst) {
  EXPECT_EQ(view(), (View{false, false, false, 0}));
  EXPECT_EQ(viewOfAnother(lock_), (View{false, false, false, 0}));
}

TEST_P(QVRReadersWriterLockTest, ReadHoldsCountUpwards) {
  for (int holds = 1; holds <= 3; ++holds) {
    lock_.acquireRead();
    EXPECT_EQ(view(), (View{true, true, false, holds}));
    EXPECT_EQ(viewOfAnother(lock_), (View{false, false, false, holds}));
  }

  for (int holds = 2; holds >= 0; --holds) {
    lock_.release();
    EXPECT_EQ(view(), (View{holds > 0, holds > 0, false, holds}));
  }
}

TEST_P(QVRReadersWriterLockTest, WriteHoldsCountDownwards) {
  for (int holds = 1; holds <= 3; ++holds) {
    lock_.acquireWrite();
    EXPECT_EQ(view(), (View{true, true, true, -holds}));
    EXPECT_EQ(viewOfAnother(lock_), (View{false, false, false, -holds}));
  }

  for (int holds = 2; holds >= 0; --holds) {
    lock_.release();
    EXPECT_EQ(view(), (View{holds > 0, holds > 0, holds > 0, -holds}));
  }
}

TEST_P(QVRReadersWriterLockTest, ReadHoldsInsideAWriteHoldAreWriteHolds) {
  lock_.acquireWrite();
  lock_.acquireRead();
  lock_.acquireWrite();
  EXPECT_EQ(view(), (View{true, true, true, -3}));

  for (const int level : {-2, -1, 0}) {
    lock_.release();
    EXPECT_EQ(lock_.getNestingLevel(), level);
  }
  EXPECT_FALSE(lock_.isLocked());
}

TEST_P(QVRReadersWriterLockTest, AsAnInterfaceItIsHeldForWriting) {
  {
    const QVRSysLockGuard guard(lock_);
    EXPECT_EQ(view(), (View{true, true, true, -1}));
  }
  QVRSysIMutexLock& interface = lock_;
  interface.acquire();
  EXPECT_EQ(lock_.getNestingLevel(), -1);
  interface.release();

  EXPECT_EQ(view(), (View{false, false, false, 0}));
}

TEST_P(QVRReadersWriterLockTest, UpgradeIsRefusedAndChangesNothing) {
  for (int holds = 1; holds <= 2; ++holds) {
    lock_.acquireRead();
    expectUpgradeRefused(lock_);
    EXPECT_EQ(view(), (View{true, true, false, holds}));
    EXPECT_TRUE(Access::isValid(lock_));
  }

  lock_.release();
  lock_.release();
  lock_.acquireWrite();
  EXPECT_EQ(lock_.getNestingLevel(), -1) << "free after its read holds";
  lock_.release();
}

TEST_P(QVRReadersWriterLockTest, UpgradeBesideOtherReadersIsRefusedAndDelaysNobody) {
  Threads others = makeThreads(2);
  others[0]->run([&] { lock_.acquireRead(); });
  lock_.acquireRead();

  expectUpgradeRefused(lock_);

  others[1]->run([&] { lock_.acquireRead(); });  // no writer waits
  EXPECT_EQ(lock_.getNestingLevel(), 3);
  for (const auto& other : others) other->run([&] { lock_.release(); });
  lock_.release();
}

TEST_P(QVRReadersWriterLockTest, ReleaseOfAFreeLockIsRefused) {
  expectNotOwner(lock_);

  EXPECT_EQ(view(), (View{false, false, false, 0}));
  lock_.acquireRead();
  lock_.release();
  expectNotOwner(lock_);
  lock_.acquireWrite();
  lock_.release();
  expectNotOwner(lock_);
  EXPECT_EQ(lock_.getNestingLevel(), 0);
}

TEST_P(QVRReadersWriterLockTest, ReleaseByAnotherThreadIsRefusedAndChangesNothing) {
  CommandedThread another;
  lock_.acquireRead();
  another.run([&] { expectNotOwner(lock_); });
  EXPECT_EQ(view(), (View{true, true, false, 1}));
  lock_.release();

  lock_.acquireWrite();
  lock_.acquireRead();
  another.run([&] { expectNotOwner(lock_); });
  EXPECT_EQ(view(), (View{true, true, true, -2}));
  lock_.release();
  lock_.release();
}

TEST_P(QVRReadersWriterLockTest, ReadersHoldItTogether) {
  Threads readers = makeThreads(3);
  for (const auto& reader : readers) reader->run([&] { lock_.acquireRead(); });
  EXPECT_EQ(view(), (View{false, false, false, 3}));

  readers[1]->run([&] { lock_.acquireRead(); });
  EXPECT_EQ(lock_.getNestingLevel(), 4);
  EXPECT_TRUE(Access::isValid(lock_));
  readers[1]->run([&] { lock_.release(); });

  for (const auto& reader : readers) {
    reader->run([&] {
      EXPECT_TRUE(lock_.isReadLocked());
      lock_.release();
      EXPECT_FALSE(lock_.isReadLocked());
    });
  }
  EXPECT_EQ(lock_.getNestingLevel(), 0);
}

TEST_P(QVRReadersWriterLockTest, AWriterKeepsOthersOutUntilItsLastHoldIsGivenBack) {
  Threads others = makeThreads(2);
  lock_.acquireWrite();
  lock_.acquireRead();
  others[0]->start([&] { lock_.acquireRead(); });
  others[1]->start([&] { lock_.acquireRead(); });
  for (const auto& other : others) EXPECT_TRUE(other->sleeps());

  lock_.release();
  for (const auto& other : others) EXPECT_TRUE(other->sleeps());
  EXPECT_EQ(lock_.getNestingLevel(), -1);
  lock_.release();

  for (const auto& other : others) other->finish();
  EXPECT_EQ(lock_.getNestingLevel(), 2);
  for (const auto& other : others) other->run([&] { lock_.release(); });
}

TEST_P(QVRReadersWriterLockTest, ReadersKeepAWriterOutUntilTheLastHasGone) {
  Threads readers = makeThreads(2);
  CommandedThread writer;
  for (const auto& reader : readers) reader->run([&] { lock_.acquireRead(); });
  readers[0]->run([&] { lock_.acquireRead(); });
  writer.start([&] { lock_.acquireWrite(); });
  EXPECT_TRUE(writer.sleeps());

  for (const auto& reader : {&readers[0], &readers[1], &readers[0]}) {
    EXPECT_TRUE(writer.sleeps());
    EXPECT_TRUE(Access::isValid(lock_));
    (*reader)->run([&] { lock_.release(); });
  }

  writer.finish();
  EXPECT_EQ(lock_.getNestingLevel(), -1);
  writer.run([&] { lock_.release(); });
}

TEST_P(QVRReadersWriterLockTest, SignalsOfTheSystemLetNobodyIn) {
  Threads others = makeThreads(2);
  lock_.acquireWrite();
  others[0]->start([&] { lock_.acquireRead(); });
  others[1]->start([&] { lock_.acquireWrite(); });

  for (const auto& other : others) expectToSleepThroughSignals(*other);

  lock_.release();
  others[1]->finish();
  others[1]->run([&] { lock_.release(); });
  others[0]->run([&] { lock_.release(); });
}

TEST_P(QVRReadersWriterLockTest, ANewReaderWaitsBehindAWaitingWriter) {
  Threads readers = makeThreads(2);
  CommandedThread writer;
  CommandedThread late;
  for (const auto& reader : readers) reader->run([&] { lock_.acquireRead(); });
  writer.start([&] { lock_.acquireWrite(); });
  EXPECT_TRUE(writer.sleeps());
  late.start([&] { lock_.acquireRead(); });
  EXPECT_TRUE(late.sleeps());

  for (const auto& reader : readers) reader->run([&] { lock_.release(); });
  writer.finish();
  EXPECT_EQ(lock_.getNestingLevel(), -1);
  EXPECT_TRUE(late.sleeps()) << "until the writer has had the lock";
  writer.run([&] { lock_.release(); });
  late.finish();

  EXPECT_EQ(lock_.getNestingLevel(), 1);
  late.run([&] { lock_.release(); });
}

TEST_P(QVRReadersWriterLockTest, AReaderReadsAgainWhileAWriterWaits) {
  CommandedThread writer;
  lock_.acquireRead();
  writer.start([&] { lock_.acquireWrite(); });
  EXPECT_TRUE(writer.sleeps());

  lock_.acquireRead();
  EXPECT_EQ(lock_.getNestingLevel(), 2);
  expectUpgradeRefused(lock_);
  lock_.release();
  EXPECT_TRUE(writer.sleeps());
  lock_.release();

  writer.finish();
  writer.run([&] { lock_.release(); });
  EXPECT_EQ(lock_.getNestingLevel(), 0);
}

TEST_P(QVRReadersWriterLockTest, WaitingWritersGoOneByOneBeforeWaitingReaders) {
  Threads readers = makeThreads(2);
  Threads writers = makeThreads(3);
  lock_.acquireWrite();
  for (const auto& reader : readers) {
    reader->start([&] { lock_.acquireRead(); });
    EXPECT_TRUE(reader->sleeps());
  }
  for (const auto& writer : writers) {
    writer->start([&] { lock_.acquireWrite(); });
    EXPECT_TRUE(writer->sleeps());
  }

  lock_.release();
  while (!writers.empty()) {
    const auto first = firstToFinish(writers);
    EXPECT_EQ(lock_.getNestingLevel(), -1);
    for (const auto& writer : writers) EXPECT_EQ(writer->sleeps(), writer != *first);
    for (const auto& reader : readers) EXPECT_TRUE(reader->sleeps());
    (*first)->run([&] { lock_.release(); });
    writers.erase(first);
  }

  for (const auto& reader : readers) reader->finish();
  EXPECT_EQ(lock_.getNestingLevel(), 2);
  for (const auto& reader : readers) reader->run([&] { lock_.release(); });
}

TEST_P(QVRReadersWriterLockTest, CountsToTheLargestNumberOfReadHoldsAndBack) {
  lock_.acquireRead();
  Access::setLevel(lock_, kMostHolds - 1);

  lock_.acquireRead();
  EXPECT_EQ(view(), (View{true, true, false, kMostHolds}));
  expectUpgradeRefused(lock_);
  lock_.release();
  EXPECT_EQ(view(), (View{true, true, false, kMostHolds - 1}));

  Access::setLevel(lock_, 1);
  lock_.release();
  EXPECT_EQ(view(), (View{false, false, false, 0}));
}

TEST_P(QVRReadersWriterLockTest, CountsToTheLargestNumberOfWriteHoldsAndBack) {
  lock_.acquireWrite();
  Access::setLevel(lock_, -(kMostHolds - 1));

  lock_.acquireWrite();
  EXPECT_EQ(view(), (View{true, true, true, -kMostHolds}));
  lock_.release();
  lock_.acquireRead();
  EXPECT_EQ(view(), (View{true, true, true, -kMostHolds}));
  lock_.release();
  EXPECT_EQ(view(), (View{true, true, true, -(kMostHolds - 1)}));

  Access::setLevel(lock_, -1);
  lock_.release();
  EXPECT_EQ(view(), (View{false, false, false, 0}));
}

TEST_P(QVRReadersWriterLockTest, AnotherReaderCountsToTheLargestNumberToo) {
  CommandedThread another;
  lock_.acquireRead();
  Access::setLevel(lock_, kMostHolds - 1);

  another.run([&] { lock_.acquireRead(); });
  EXPECT_EQ(view(), (View{true, true, false, kMostHolds}));
  another.run([&] { lock_.release(); });
  EXPECT_EQ(view(), (View{true, true, false, kMostHolds - 1}));

  Access::setLevel(lock_, 1);
  lock_.release();
}

// One past them the counts are of no use any more, but nothing else happens.
TEST_P(QVRReadersWriterLockTest, WrapsPastTheLargestNumberOfHolds) {
  for (const std::int32_t most : {kMostHolds, -kMostHolds - 1}) {
    lock_.acquireWrite();
    Access::setLevel(lock_, most);
    lock_.acquireRead();
    EXPECT_EQ(lock_.getNestingLevel(), most > 0 ? -kMostHolds - 1 : kMostHolds);

    Access::setLevel(lock_, -1);
    lock_.release();
  }
}

TEST(QVRReadersWriterLockTableTest, TakesTheLargestNumbersOfHoldsOverFromTheWord) {
  for (const std::int32_t level : {kMostHolds, -kMostHolds, -kMostHolds - 1}) {
    QVRReadersWriterLock lock;
    lock.acquireWrite();
    Access::setLevel(lock, level);
    Access::enterTable(lock);
    EXPECT_EQ(lock.getNestingLevel(), level);

    lock.release();
    EXPECT_EQ(lock.getNestingLevel(), level > 0 ? level - 1 : level + 1);
    EXPECT_TRUE(lock.isLocked());
    EXPECT_TRUE(Access::isValid(lock));
  }
}

TEST_P(QVRReadersWriterLockTest, StaysHeldForReadingHoweverAReaderEnds) {
  int level = 0;
  for (const ThreadEnding& ending : threadEndings()) {
    SCOPED_TRACE(ending.name);
    lock_.acquireRead();
    ending.run([&] { lock_.acquireRead(); });
    lock_.release();

    EXPECT_EQ(view(), (View{false, false, false, ++level}));
  }
}

TEST_P(QVRReadersWriterLockTest, StaysHeldForWritingHoweverTheWriterEnds) {
  for (const ThreadEnding& ending : threadEndings()) {
    SCOPED_TRACE(ending.name);
    QVRReadersWriterLock lock;
    ending.run([&] {
      lock.acquireWrite();
      lock.acquireRead();
    });

    EXPECT_EQ(viewOf(lock), (View{false, false, false, -2}));
    EXPECT_TRUE(Access::isValid(lock));
  }
}

TEST(QVRReadersWriterLockTableTest, TheFirstFreeEntryIsUsedAgain) {
  QVRReadersWriterLock lock;
  Threads threads = makeThreads(5);
  std::vector<QVRSysThreadId> ids(threads.size());
  const auto enter = [&](std::size_t i) {
    threads[i]->run([&] {
      ids[i] = QVRSysGetThreadId();
      lock.acquireRead();
    });
    return Access::findThread(lock, ids[i]);
  };
  const auto leave = [&](std::size_t i) { threads[i]->run([&] { lock.release(); }); };
  for (std::size_t i = 0; i < 3; ++i) EXPECT_EQ(enter(i), static_cast<int>(i));

  leave(1);
  EXPECT_EQ(Access::findThread(lock, ids[1]), -1);
  leave(0);
  EXPECT_EQ(enter(3), 0);
  EXPECT_EQ(enter(4), 1);
  EXPECT_EQ(enter(1), 3);

  for (const std::size_t i : {1u, 2u, 3u, 4u}) leave(i);
  EXPECT_EQ(enter(2), 0) << "a free lock has an empty table";
  leave(2);
}

TEST(QVRReadersWriterLockTableTest, AnInvalidIdentifierNeverMatches) {
  QVRReadersWriterLock lock;
  lock.acquireRead();
  QVRSysThreadId self = QVRSysGetThreadId();
  self.clear();

  EXPECT_EQ(Access::findThread(lock, QVRSysThreadId()), -1);
  EXPECT_EQ(Access::findThread(lock, self), -1);

  self.setValid(true);
  EXPECT_EQ(Access::findThread(lock, self), 0);
  lock.release();
}

TEST(QVRReadersWriterLockTableTest, HundredsOfReadersHaveTheirEntriesInTheOrderOfFreeOnes) {
  constexpr std::size_t kReaders = 300;
  QVRReadersWriterLock lock;
  Threads threads = makeThreads(kReaders);
  std::vector<QVRSysThreadId> ids(kReaders);
  const auto enter = [&](std::size_t i) {
    threads[i]->run([&] {
      ids[i] = QVRSysGetThreadId();
      lock.acquireRead();
      lock.acquireRead();
    });
    return Access::findThread(lock, ids[i]);
  };
  for (std::size_t i = 0; i < kReaders; ++i) ASSERT_EQ(enter(i), static_cast<int>(i));
  EXPECT_EQ(lock.getNestingLevel(), 2 * static_cast<int>(kReaders));
  EXPECT_EQ(Access::findThread(lock, QVRSysGetThreadId()), -1);
  EXPECT_EQ(Access::findThread(lock, QVRSysThreadId()), -1);
  expectNotOwner(lock);

  for (std::size_t i = 0; i < kReaders; i += 3) {
    threads[i]->run([&] {
      lock.release();
      EXPECT_TRUE(lock.isLocked());
      lock.release();
      EXPECT_FALSE(lock.isLocked());
    });
  }
  EXPECT_TRUE(Access::isValid(lock));
  int place = 0;
  for (std::size_t i = kReaders; i > 0; i -= 3, place += 3) ASSERT_EQ(enter(i - 3), place);

  EXPECT_EQ(lock.getNestingLevel(), 2 * static_cast<int>(kReaders));
  EXPECT_TRUE(Access::isValid(lock));
  for (const auto& thread : threads) {
    thread->run([&] {
      lock.release();
      lock.release();
    });
  }
  EXPECT_EQ(enter(7), 0);
  threads[7]->run([&] {
    lock.release();
    lock.release();
  });
}

TEST(QVRReadersWriterLockTableTest, AWriterWaitsForHundredsOfReaders) {
  QVRReadersWriterLock lock;
  Threads readers = makeThreads(300);
  for (const auto& reader : readers) reader->run([&] { lock.acquireRead(); });
  CommandedThread writer;
  writer.start([&] { lock.acquireWrite(); });
  EXPECT_TRUE(writer.sleeps());

  for (const auto& reader : readers) {
    EXPECT_TRUE(writer.isBusy());
    reader->run([&] { lock.release(); });
  }

  writer.finish();
  EXPECT_EQ(lock.getNestingLevel(), -1);
  writer.run([&] { lock.release(); });
}

/// What the lock should say, and who should wait.
class Model {
 public:
  enum class Kind { kRead, kWrite };

  /// The thread has one more hold, or waits for it.
  void acquire(std::size_t thread, Kind kind) {
    if (holds_.contains(thread)) {
      ++holds_[thread];
    } else if (kind == Kind::kRead ? isWriting_ || waits(Kind::kWrite) : !holds_.empty()) {
      waiting_[thread] = kind;
    } else {
      holds_[thread] = 1;
      isWriting_ = kind == Kind::kWrite;
    }
  }

  bool isUpgrade(std::size_t thread, Kind kind) const {
    return kind == Kind::kWrite && holds_.contains(thread) && !isWriting_;
  }

  void release(std::size_t thread) {
    if (--holds_[thread] > 0) return;
    holds_.erase(thread);
    if (holds_.empty()) isWriting_ = false;
  }

  /// Those of whom the lock lets one go on now, if they write, or else all.
  std::vector<std::size_t> next() const {
    const Kind kind = waits(Kind::kWrite) ? Kind::kWrite : Kind::kRead;
    std::vector<std::size_t> result;
    if (isWriting_ || (kind == Kind::kWrite && !holds_.empty())) return result;
    for (const auto& [thread, waitsFor] : waiting_) {
      if (waitsFor == kind) result.push_back(thread);
    }
    return result;
  }

  bool nextWrites() const { return waits(Kind::kWrite); }

  void grant(std::size_t thread) {
    isWriting_ = waiting_[thread] == Kind::kWrite;
    waiting_.erase(thread);
    holds_[thread] = 1;
  }

  int level() const {
    int sum = 0;
    for (const auto& [thread, holds] : holds_) sum += holds;
    return isWriting_ ? -sum : sum;
  }

  View viewOf(std::size_t thread) const {
    const bool held = holds_.contains(thread);
    return {held, held, held && isWriting_, level()};
  }

  bool isWaiting(std::size_t thread) const { return waiting_.contains(thread); }
  bool isHeldBy(std::size_t thread) const { return holds_.contains(thread); }

 private:
  bool waits(Kind kind) const {
    return std::any_of(waiting_.begin(), waiting_.end(),
                       [kind](const auto& waiter) { return waiter.second == kind; });
  }

  std::map<std::size_t, int> holds_;
  std::map<std::size_t, Kind> waiting_;
  bool isWriting_ = false;
};

/// A lock whose owners are threads that a test directs, beside the model.
class Comparison {
 public:
  explicit Comparison(int threads) : threads_(makeThreads(threads)) {}

  ~Comparison() {
    for (bool held = true; held;) {
      held = false;
      for (std::size_t i = 0; i < threads_.size(); ++i) {
        for (; model_.isHeldBy(i); held = true) {
          release(i);
          settle();
        }
      }
    }
  }

  /// Has a thread that does not wait take a random step, after which everybody does
  /// what the model says.
  void step(std::mt19937& random) {
    const std::size_t thread = random() % threads_.size();
    if (!model_.isWaiting(thread)) {
      const auto choice = random() % 8;
      if (choice == 0) acquire(thread, Model::Kind::kWrite);
      if (choice == 1 || choice == 2) acquire(thread, Model::Kind::kRead);
      if (choice > 2) release(thread);
    }
    settle();
    check(random() % threads_.size());
  }

 private:
  void acquire(std::size_t thread, Model::Kind kind) {
    if (model_.isUpgrade(thread, kind)) {
      return threads_[thread]->run([&] { expectUpgradeRefused(lock_); });
    }
    model_.acquire(thread, kind);
    threads_[thread]->start([this, kind] {
      if (kind == Model::Kind::kRead) {
        lock_.acquireRead();
      } else {
        lock_.acquireWrite();
      }
    });
  }

  void release(std::size_t thread) {
    if (!model_.isHeldBy(thread)) {
      return threads_[thread]->run([&] { expectNotOwner(lock_); });
    }
    model_.release(thread);
    threads_[thread]->run([&] { lock_.release(); });
  }

  // Of several writers any one may have the lock next, of readers all have it.
  void settle() {
    CommandedThread::awaitRest(threads_);
    const bool one = model_.nextWrites();
    for (const std::size_t thread : model_.next()) {
      if (threads_[thread]->isBusy()) continue;
      model_.grant(thread);
      if (one) break;
    }
    EXPECT_TRUE(model_.next().empty()) << "the lock is free for a thread that waits";
    for (std::size_t i = 0; i < threads_.size(); ++i) {
      EXPECT_EQ(threads_[i]->isBusy(), model_.isWaiting(i)) << "thread " << i;
    }
  }

  void check(std::size_t thread) {
    EXPECT_EQ(lock_.getNestingLevel(), model_.level());
    EXPECT_TRUE(Access::isValid(lock_));
    if (model_.isWaiting(thread)) return;
    View view{};
    threads_[thread]->run([&] { view = viewOf(lock_); });
    EXPECT_EQ(view, model_.viewOf(thread)) << "thread " << thread;
  }

  QVRReadersWriterLock lock_;
  Model model_;
  Threads threads_;
};

TEST(QVRReadersWriterLockModelTest, BehavesAsThePlainModelUnderLongRandomSequences) {
  std::mt19937 random(testSeed());
  for (const int threads : {1, 2, 5, 24}) {
    SCOPED_TRACE(threads);
    Comparison comparison(threads);
    for (int step = 0; step < 3000; ++step) {
      SCOPED_TRACE(step);
      comparison.step(random);
      if (testing::Test::HasFailure()) return;
    }
  }
}

/// What threads find while they hold the lock.
class Occupants {
 public:
  void read() {
    ++readers_;
    if (writers_ != 0) ++faults_;
  }
  void endReading() { --readers_; }

  void write() {
    if (writers_++ != 0 || readers_ != 0) ++faults_;
    ++writes_;  // guarded by the lock alone: ThreadSanitizer looks too
  }
  void endWriting() { --writers_; }

  int faults() const { return faults_; }
  long writes() const { return writes_; }

 private:
  std::atomic<int> readers_{0};
  std::atomic<int> writers_{0};
  std::atomic<int> faults_{0};
  long writes_ = 0;
};

TEST(QVRReadersWriterLockThreadsTest, WritersAreAloneAndNoWakeUpIsLost) {
  const unsigned seed = testSeed();
  for (const int threads : {2, 4, 8, 16, 64}) {
    SCOPED_TRACE(threads);
    QVRReadersWriterLock lock;
    Occupants inside;
    std::atomic<long> writes = 0;
    runTogether(threads, [&](int self) {
      std::mt19937 random(seed + static_cast<unsigned>(self));
      for (int round = 0; round < 16'000 / threads; ++round) {
        if (random() % 4 == 0) {
          lock.acquireWrite();
          inside.write();
          ++writes;
          if (random() % 2 == 0) {
            lock.acquireRead();
            lock.release();
          }
          inside.endWriting();
        } else {
          lock.acquireRead();
          inside.read();
          if (random() % 2 == 0) {
            lock.acquireRead();
            lock.release();
          }
          inside.endReading();
        }
        lock.release();
      }
    });

    EXPECT_EQ(inside.faults(), 0);
    EXPECT_EQ(inside.writes(), writes);
    EXPECT_EQ(lock.getNestingLevel(), 0);
    EXPECT_TRUE(Access::isValid(lock));
  }
}

TEST(QVRReadersWriterLockThreadsTest, ReadersAreInsideTogether) {
  for (const int threads : {2, 8, 64}) {
    QVRReadersWriterLock lock;
    std::latch inside(threads);
    runTogether(threads, [&](int) {
      lock.acquireRead();
      inside.arrive_and_wait();  // passes once all of them hold it
      lock.release();
    });
    EXPECT_EQ(lock.getNestingLevel(), 0);
  }
}

// Only its time-out can fail it: a writer that starves waits for ever. That a single
// reader goes past a waiting writer, ANewReaderWaitsBehindAWaitingWriter finds.
TEST(QVRReadersWriterLockThreadsTest, AStreamOfReadersNeverStarvesAWriter) {
  for (const int readers : {2, 8, 63}) {
    QVRReadersWriterLock lock;
    std::atomic<bool> written = false;
    runTogether(readers + 1, [&](int self) {
      if (self == 0) {
        for (int i = 0; i < 100; ++i) {
          lock.acquireWrite();
          lock.release();
        }
        written = true;
      }
      while (!written) {
        lock.acquireRead();
        std::this_thread::yield();  // so that others read meanwhile
        lock.release();
      }
    });
    EXPECT_EQ(lock.getNestingLevel(), 0);
  }
}

TEST(QVRReadersWriterLockThreadsTest, CountsAddUpWhileOthersUseIt) {
  QVRReadersWriterLock lock;
  std::atomic<int> users = 8;
  runTogether(9, [&](int self) {
    if (self == 8) {
      while (users != 0) {
        if (!Access::isValid(lock)) {
          ADD_FAILURE();
          return;
        }
      }
      return;
    }
    for (int round = 0; round < 2000; ++round) {
      if ((round + self) % 8 == 0) {
        lock.acquireWrite();
      } else {
        lock.acquireRead();
      }
      lock.acquireRead();
      lock.release();
      lock.release();
    }
    --users;
  });
  EXPECT_EQ(lock.getNestingLevel(), 0);
}

TEST(QVRReadersWriterLockEndTest, ALockMayGoWhileItIsHeld) {
  QVRReadersWriterLock lock;
  lock.acquireWrite();
  EXPECT_EQ(lock.getNestingLevel(), -1);
}

}  // namespace
