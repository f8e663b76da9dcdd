// The readers-writer lock where memory is refused.
#include <gtest/gtest.h>

#include <atomic>
#include <cstddef>
#include <functional>
#include <new>
#include <vector>

#include "QVREInternalError.h"
#include "QVRSystem/internal/QVRThreadState.h"
#include "ReadersWriterLockAccess.h"
#include "support/AllocationRefuser.h"
#include "support/CommandedThread.h"

namespace {

using Access = QVRReadersWriterLockTestAccess;

/// A lock that as many threads hold for reading as there is room for.
class FullLock {
 public:
  static constexpr int kRoom = 8;

  FullLock() {
    for (CommandedThread& reader : readers_) reader.run([this] { lock.acquireRead(); });
  }

  ~FullLock() {
    for (int i = 0; i < held_; ++i) release();
  }

  /// Has one of the readers give back its hold.
  void release() {
    readers_[static_cast<std::size_t>(--held_)].run([this] { lock.release(); });
  }

  void expectUnchanged() {
    EXPECT_EQ(lock.getNestingLevel(), held_);
    EXPECT_FALSE(lock.isLocked());
    EXPECT_EQ(Access::findThread(lock, QVRSysGetThreadId()), -1);
    EXPECT_TRUE(Access::isValid(lock));
  }

  QVRReadersWriterLock lock;

 private:
  std::vector<CommandedThread> readers_{kRoom};
  int held_ = kRoom;
};

/// Looks what each refusal of memory in its scope finds, as a module's own operator new
/// could.
class RefusalWatch {
 public:
  RefusalWatch() noexcept : before_(std::set_new_handler(&look)) {
    refusals_ = 0;
    marks_ = 0;
  }
  ~RefusalWatch() { std::set_new_handler(before_); }

  RefusalWatch(const RefusalWatch&) = delete;
  RefusalWatch& operator=(const RefusalWatch&) = delete;

  void expectNoShortSection() const {
    EXPECT_GT(refusals_, 0u);
    EXPECT_EQ(marks_, 0u);
  }

 private:
  static void look() {
    ++refusals_;
    marks_ += qvr::internal::threadState.shortSections;
    throw std::bad_alloc();
  }

  static inline std::size_t refusals_;
  static inline std::size_t marks_;
  const std::new_handler before_;
};

void expectInternalError(const std::function<void()>& operation) {
  try {
    operation();
    ADD_FAILURE() << "not refused";
  } catch (const QVREInternalError&) {
  }
}

TEST(QVRReadersWriterLockFailureTest, ConstructionNeedsMemory) {
  EXPECT_GT(refuseEachAllocation([] { const QVRReadersWriterLock lock; }), 0u);
}

TEST(QVRReadersWriterLockFailureTest, EightHoldersNeedNone) {
  QVRReadersWriterLock lock;
  std::vector<CommandedThread> threads(8);
  for (CommandedThread& thread : threads) {
    thread.run([&] {
      const AllocationRefuser refuser(0);
      lock.acquireRead();
      lock.acquireRead();
      lock.release();
      EXPECT_EQ(refuser.count(), 0u);
    });
  }

  for (CommandedThread& thread : threads) {
    thread.run([&] {
      const AllocationRefuser refuser(0);
      lock.release();
      EXPECT_EQ(refuser.count(), 0u);
    });
  }
}

TEST(QVRReadersWriterLockFailureTest, AReaderThatIsRefusedMemoryLeavesEverythingAsItWas) {
  FullLock full;

  EXPECT_GT(refuseEachAllocation([&] { full.lock.acquireRead(); }, [&] { full.expectUnchanged(); }),
            0u);

  EXPECT_EQ(full.lock.getNestingLevel(), FullLock::kRoom + 1);
  EXPECT_EQ(Access::findThread(full.lock, QVRSysGetThreadId()), FullLock::kRoom);
  full.lock.release();
  full.expectUnchanged();
}

TEST(QVRReadersWriterLockFailureTest, AWriterThatIsRefusedMemoryDoesNotWait) {
  FullLock full;
  for (std::size_t number = 1; number <= 2; ++number) {
    const AllocationRefuser refuser(number);
    EXPECT_THROW(full.lock.acquireWrite(), std::bad_alloc) << number;
  }

  full.expectUnchanged();
  full.release();
  CommandedThread reader;
  reader.run([&] { full.lock.acquireRead(); });  // behind no writer
  reader.run([&] { full.lock.release(); });
  EXPECT_TRUE(Access::isValid(full.lock));
}

TEST(QVRReadersWriterLockFailureTest, RefusalBesideAWaitingWriterDelaysNobody) {
  FullLock full;
  CommandedThread writer;
  CommandedThread refused;
  writer.start([&] { full.lock.acquireWrite(); });
  EXPECT_TRUE(writer.sleeps());

  // Room for the ninth was doubled; what is beyond must be refused.
  std::vector<CommandedThread> waiting(FullLock::kRoom - 1);
  for (CommandedThread& reader : waiting) {
    reader.start([&] { full.lock.acquireRead(); });
    EXPECT_TRUE(reader.sleeps());
  }
  refused.run([&] {
    const AllocationRefuser refuser(1);
    EXPECT_THROW(full.lock.acquireRead(), std::bad_alloc);
  });

  full.expectUnchanged();
  EXPECT_TRUE(writer.sleeps());
  for (int i = 0; i < FullLock::kRoom; ++i) full.release();
  writer.run([&] { full.lock.release(); });
  for (CommandedThread& reader : waiting) reader.run([&] { full.lock.release(); });
  EXPECT_EQ(full.lock.getNestingLevel(), 0);
}

TEST(QVRReadersWriterLockFailureTest, RoomGrowsInLeapsHoweverManyWaitAndIsKept) {
  constexpr std::size_t kThreads = 300;
  QVRReadersWriterLock lock;
  std::vector<CommandedThread> threads(kThreads);
  std::atomic<std::size_t> allocations = 0;
  const auto readInAll = [&] {
    allocations = 0;
    lock.acquireWrite();
    for (CommandedThread& thread : threads) {
      thread.start([&] {
        const AllocationRefuser refuser(0);
        lock.acquireRead();
        allocations += refuser.count();
      });
      EXPECT_TRUE(thread.sleeps());
    }
    lock.release();
    for (CommandedThread& thread : threads) thread.finish();
    for (CommandedThread& thread : threads) thread.run([&] { lock.release(); });
    return allocations.load();
  };

  EXPECT_LT(readInAll(), 32u);
  EXPECT_EQ(readInAll(), 0u) << "a table that was emptied keeps its room";
}

TEST(QVRReadersWriterLockFailureTest, ARefusedUpgradeWithoutMemoryChangesNothingEither) {
  QVRReadersWriterLock lock;
  lock.acquireRead();

  const auto upgrade = [&] { expectInternalError([&] { lock.acquireWrite(); }); };
  refuseEachAllocation(upgrade, [&] {
    EXPECT_EQ(lock.getNestingLevel(), 1);
    EXPECT_TRUE(lock.isReadLocked());
    EXPECT_TRUE(Access::isValid(lock));
  });

  lock.release();
}

TEST(QVRReadersWriterLockFailureTest, TheTableGrowsOutsideOfAShortSection) {
  FullLock full;
  const RefusalWatch watch;

  refuseEachAllocation([&] { full.lock.acquireRead(); });

  watch.expectNoShortSection();
  EXPECT_EQ(qvr::internal::threadState.shortSections, 0u);
  full.lock.release();
}

TEST(QVRReadersWriterLockFailureTest, AnUpgradeIsRefusedOutsideOfAShortSection) {
  QVRReadersWriterLock lock;
  lock.acquireRead();
  const RefusalWatch watch;

  refuseEachAllocation([&] { expectInternalError([&] { lock.acquireWrite(); }); });

  watch.expectNoShortSection();
  lock.release();
}

TEST(QVRReadersWriterLockFailureTest, AStrangerIsRefusedOutsideOfAShortSection) {
  QVRReadersWriterLock lock;
  const RefusalWatch watch;

  refuseEachAllocation([&] { expectInternalError([&] { lock.release(); }); });

  watch.expectNoShortSection();
}

}  // namespace
