// The readers-writer lock.
#include "QVRReadersWriterLock.h"

#include <cstdint>

#include "QVREInternalError.h"
#include "scheduler/LockScenarios.h"
#include "scheduler/QVRScheduler.h"
#include "scheduler/Scenarios.h"

// Looks without the monitor, which a thread may hold: between two steps of the lock both
// are right all the same.
struct QVRReadersWriterLockTestAccess {
  static bool isValid(const QVRReadersWriterLock& lock) { return lock.isValid(); }

  static int nestingLevel(const QVRReadersWriterLock& lock) {
    constexpr std::uint64_t kInTable = ~std::uint64_t{0};
    const std::uint64_t word = lock.word_.load();
    return word == kInTable ? lock.lockCount_
                            : static_cast<std::int32_t>(static_cast<std::uint32_t>(word));
  }
};

namespace {

using namespace qvr::scheduler;

/// A lock, and who should be inside.
class Shared {
 public:
  void read() {
    lock.acquireRead();
    beginReading();
    step();
    endReading();
    lock.release();
  }

  void write() {
    lock.acquireWrite();
    beginWriting();
    step();
    endWriting();
    lock.release();
  }

  void beginReading() {
    ++readers_;
    check();
  }
  void endReading() { --readers_; }

  void beginWriting() {
    ++writers_;
    check();
  }
  void endWriting() { --writers_; }

  /// Whether the lock counts those that are inside.
  bool isCounted() const {
    const int level = QVRReadersWriterLockTestAccess::nestingLevel(lock);
    return writers_ > 0 ? level < 0 : readers_ == 0 || level >= readers_;
  }

  QVRReadersWriterLock lock;

 private:
  void check() const {
    require(writers_ == 0 || (writers_ == 1 && readers_ == 0), "a writer is not alone");
  }

  int readers_ = 0;
  int writers_ = 0;
};

Shared& makeShared(Trial& trial) {
  auto& shared = trial.make<Shared>();
  trial.label(shared.lock, "lock");
  trial.invariant("the table's holds are the lock's",
                  [&shared] { return QVRReadersWriterLockTestAccess::isValid(shared.lock); });
  trial.invariant("whoever is inside is counted", [&shared] { return shared.isCounted(); });
  trial.atEnd([&shared] { require(shared.lock.getNestingLevel() == 0, "the lock is not free"); });
  return shared;
}

const Scenario readersAndWriter("QVRReadersWriterLock/twoReadersAndAWriter", [](Trial& trial) {
  auto& shared = makeShared(trial);
  trial.thread("reader", [&shared] { shared.read(); });
  trial.thread("another", [&shared] { shared.read(); });
  trial.thread("writer", [&shared] { shared.write(); });
});

const Scenario readerAndWriters("QVRReadersWriterLock/aReaderAndTwoWriters", [](Trial& trial) {
  auto& shared = makeShared(trial);
  trial.thread("reader", [&shared] { shared.read(); });
  trial.thread("writer", [&shared] { shared.write(); });
  trial.thread("another", [&shared] { shared.write(); });
});

const Scenario writers("QVRReadersWriterLock/threeWriters", [](Trial& trial) {
  auto& shared = makeShared(trial);
  for (const char* name : {"A", "B", "C"}) {
    trial.thread(name, [&shared] { shared.write(); });
  }
});

const Scenario again("QVRReadersWriterLock/readingAndWritingInTurn", [](Trial& trial) {
  auto& shared = makeShared(trial);
  for (const char* name : {"A", "B"}) {
    trial.thread(name, [&shared] {
      shared.read();
      shared.write();
    });
  }
});

const Scenario recursive("QVRReadersWriterLock/readsAgainWhileAWriterWaits", [](Trial& trial) {
  auto& shared = makeShared(trial);
  trial.thread("reader", [&shared] {
    shared.lock.acquireRead();
    shared.beginReading();
    step();
    shared.read();
    shared.endReading();
    shared.lock.release();
  });
  trial.thread("writer", [&shared] { shared.write(); });
  trial.thread("another", [&shared] { shared.read(); });
});

const Scenario upgrade("QVRReadersWriterLock/upgradeIsRefused", [](Trial& trial) {
  auto& shared = makeShared(trial);
  trial.thread("reader", [&shared] {
    shared.lock.acquireRead();
    shared.beginReading();
    bool refused = false;
    try {
      shared.lock.acquireWrite();
    } catch (const QVREInternalError& error) {
      refused = error.getSrcLine() == 242;
    }
    require(refused, "not refused");
    require(shared.lock.isReadLocked() && !shared.lock.isWriteLocked(), "the hold has changed");
    shared.endReading();
    shared.lock.release();
  });
  trial.thread("writer", [&shared] { shared.write(); });
  trial.thread("another", [&shared] { shared.read(); });
});

const Scenario strangers("QVRReadersWriterLock/releaseByAStranger", [](Trial& trial) {
  auto& shared = makeShared(trial);
  trial.thread("stranger", [&shared] {
    bool refused = false;
    try {
      shared.lock.release();
    } catch (const QVREInternalError& error) {
      refused = error.getSrcLine() == 265;
    }
    require(refused, "not refused");
  });
  trial.thread("writer", [&shared] { shared.write(); });
  trial.thread("reader", [&shared] { shared.read(); });
});

const Scenario nested("QVRReadersWriterLock/holdsInsideAWriteHold", [](Trial& trial) {
  auto& shared = makeShared(trial);
  trial.thread("writer", [&shared] {
    shared.lock.acquireWrite();
    shared.lock.acquireRead();
    shared.lock.acquireWrite();
    require(shared.lock.getNestingLevel() == -3, "not three holds");
    shared.beginWriting();
    shared.lock.release();
    shared.lock.release();
    step();
    shared.endWriting();
    shared.lock.release();
  });
  trial.thread("reader", [&shared] { shared.read(); });
  trial.thread("another", [&shared] { shared.write(); });
});

// Whoever asks is answered about itself, whatever the others do meanwhile.
const Scenario answers("QVRReadersWriterLock/answersAreAboutTheCaller", [](Trial& trial) {
  auto& shared = makeShared(trial);
  trial.thread("reader", [&shared] {
    shared.lock.acquireRead();
    shared.beginReading();
    require(shared.lock.isLocked() && !shared.lock.isWriteLocked(), "no longer a reader");
    require(shared.lock.getNestingLevel() >= 1, "not held for reading");
    shared.endReading();
    shared.lock.release();
  });
  trial.thread("writer", [&shared] {
    shared.lock.acquireWrite();
    shared.beginWriting();
    require(shared.lock.isLocked() && shared.lock.isWriteLocked(), "no longer the writer");
    require(shared.lock.getNestingLevel() == -1, "not held once for writing");
    shared.endWriting();
    shared.lock.release();
  });
  trial.thread("stranger", [&shared] {
    require(!shared.lock.isLocked() && !shared.lock.isWriteLocked(), "a holder without a hold");
  });
});

// A reader that comes while a writer waits has the lock after it, also while others
// read.
const Scenario preference("QVRReadersWriterLock/waitingWriterGoesFirst", [](Trial& trial) {
  auto& shared = makeShared(trial);
  auto& toRelease = trial.make<Gate>();
  auto& writerWaits = trial.make<Gate>();
  auto& written = trial.make<bool>(false);
  trial.thread("reader", [&] {
    shared.lock.acquireRead();
    shared.beginReading();
    toRelease.pass();
    shared.endReading();
    shared.lock.release();
  });
  trial.thread("writer", [&] {
    shared.lock.acquireWrite();
    written = true;
    shared.lock.release();
  });
  trial.thread("late reader", [&] {
    writerWaits.pass();
    shared.lock.acquireRead();
    require(written, "it went past a waiting writer");
    shared.lock.release();
  });
  trial.idleThread("gatekeeper", [&] {
    writerWaits.open();
    step();
    toRelease.open();
  });
});

const Scenario lastUser("QVRReadersWriterLock/destructionByTheLastUser",
                        destroyByLastUser<QVRReadersWriterLock>);

// A writer that has waited until the readers were inside destroys the lock after them.
const Scenario lastWriter("QVRReadersWriterLock/destructionAfterReaders", [](Trial& trial) {
  auto& shared = makeDestructible<QVRReadersWriterLock>(trial);
  auto& toCome = trial.make<int>(2);
  auto& allHaveCome = trial.make<Gate>();
  for (const char* name : {"reader", "another"}) {
    trial.thread(name, [&] {
      shared.lock().acquireRead();
      if (--toCome == 0) allHaveCome.open();
      shared.lock().release();
    });
  }
  trial.thread("destroyer", [&] {
    allHaveCome.pass();
    shared.lock().acquireWrite();
    shared.lock().release();
    shared.destroy();
  });
});

const Scenario crowd("QVRReadersWriterLock/crowd",
                     [](Trial& trial) {
                       auto& shared = makeShared(trial);
                       for (const char* name : {"reader", "another", "third"}) {
                         trial.thread(name, [&shared] {
                           shared.read();
                           shared.read();
                         });
                       }
                       for (const char* name : {"writer", "another one"}) {
                         trial.thread(name, [&shared] { shared.write(); });
                       }
                     },
                     {.preemptions = 0});

}  // namespace
