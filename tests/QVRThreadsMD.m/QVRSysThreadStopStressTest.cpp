// Threads that are suspended and cancelled again and again, wherever chance finds them.
//
// QVR_TEST_STOPS says how often each; 100000 takes some ten seconds.
#include <dirent.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <malloc.h>

#include <cstdlib>
#include <cstring>
#include <fstream>
#include <memory>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "QVRAssert.h"
#include "QVRReadersWriterLock.h"
#include "QVRSpinLock.h"
#include "QVRSysCondition.h"
#include "QVRSysCriticalSection.h"
#include "QVRSysFastMutexLock.h"
#include "QVRSysLockGuard.h"
#include "QVRSysMutexLock.h"
#include "QVRSysPCQueue.h"
#include "QVRSysTimedMutexLock.h"
#include "ThreadStopping.h"
#include "support/AddressSanitizer.h"
#include "support/TestSeed.h"

namespace {

#ifdef QVR_TEST_SANITIZES_ADDRESSES
constexpr int kUsualStops = 300;
#else
constexpr int kUsualStops = 20'000;
#endif

int numberOfStops() {
  const char* const given = std::getenv("QVR_TEST_STOPS");
  return given == nullptr ? kUsualStops : std::atoi(given);
}

/// What all threads use: a thread that is cancelled with the mutex leaves it to the others.
struct Shared {
  QVRSysMutexLock mutex;
  QVRSysCondition condition{mutex};
  FILE* const stream = std::fopen("/dev/null", "w");
};

Shared& shared() {
  static auto* const all = new Shared;
  return *all;
}

/// What one thread uses: locks of these kinds stay held when it is cancelled.
struct Owned {
  Owned() {
    EXPECT_EQ(pipe2(pipe, O_CLOEXEC), 0);
    fcntl(pipe[1], F_SETFL, O_NONBLOCK);
    expectLosses();
    queue = new QVRSysPCQueue<int>(4);
    expectNoMoreLosses();
  }
  ~Owned() {
    close(pipe[0]);
    close(pipe[1]);
  }

  int pipe[2];
  QVRSysFastMutexLock fast;
  QVRSysCriticalSection section;
  QVRSysTimedMutexLock timed;
  QVRSpinLock spin;
  QVRSysMutexLock mutex;
  QVRReadersWriterLock readersWriter;
  QVRSysPCQueue<int>* queue;  // half changed, maybe, when its thread is cancelled: left alone
  std::vector<char> from = std::vector<char>(1 << 16);
  std::vector<char> to = std::vector<char>(1 << 16);
};

template <class Lock>
void take(Lock& lock) {
  lock.acquire();
  lock.release();
}

void allocate(std::minstd_rand& random) {
  constexpr std::size_t kSizes[] = {24, 500, 5000, 200'000};
  delete[] new char[kSizes[random() % std::size(kSizes)]];
}

void trace() {
  QVRSystemTrace.acquireLock();
  QVRSystemTrace.write(QVRTraceLevelInfo, __FILE__, __LINE__) << " text " << 1 << '\n';
  QVRSystemTrace.releaseLock();
}

void throwAndCatch() {
  try {
    throw QVRELogicError(u"text", "source", 1);
  } catch (const QVRELogicError&) {
  }
}

void readPipe(Owned& own) {
  char byte = 0;
  if (write(own.pipe[1], &byte, 1) == 1 && read(own.pipe[0], &byte, 1) == 1) return;
}

void usePool() {
  auto& pool = QVRPoolAllocator::Global();
  pool.deallocate(pool.allocate(24), 24);
}

void useQueue(Owned& own) {
  int item = 1;
  own.queue->put(item);
  own.queue->get(item);
}

void waitOrSignal(std::minstd_rand& random) {
  const QVRSysLockGuard guard(shared().mutex);
  if (random() % 4 == 0) {
    shared().condition.wait();
  } else {
    shared().condition.signal();
  }
}

void readAndWrite(QVRReadersWriterLock& lock) {
  lock.acquireRead();
  lock.release();
  take(lock);
}

void takeLocks(Owned& own) {
  take(own.fast);
  take(own.section);
  take(own.timed);
  take(own.spin);
  take(own.mutex);
  take(shared().mutex);
  readAndWrite(own.readersWriter);
}

void doSomething(std::minstd_rand& random, Owned& own) {
  switch (random() % 12) {
    case 0:
      return allocate(random);
    case 1:
      return trace();
    case 2:
      return throwAndCatch();
    case 3:
      std::memcpy(own.to.data(), own.from.data(), own.from.size());
      return;
    case 4:
      return QVRSysThreadSleep(random() % 2);
    case 5:
      return readPipe(own);
    case 6:
      return usePool();
    case 7:
      return useQueue(own);
    case 8:
      return waitOrSignal(random);
    case 9:
      return takeLocks(own);
    case 10:
      std::fprintf(shared().stream, "%f %s\n", 2.5, "text");
      return;
    default:
      dlclose(dlopen(nullptr, RTLD_NOW));
  }
}

/// A thread that does one thing after the other.
class Worker {
 public:
  explicit Worker(unsigned seed) : random_(seed), body_(makeThread([this] { work(); })) {
    body_->start();
  }
  ~Worker() noexcept { body_->cancel(); }

  void suspend() {
    ASSERT_TRUE(body_->suspend());
    body_->resume();
  }
  void cancel() {
    ASSERT_TRUE(body_->cancel());
    EXPECT_EQ(body_->getRunnable()->getReferences(), 2u);
    own_ = std::make_unique<Owned>();
    body_->start();
  }

 private:
  [[noreturn]] void work() {
    expectLosses();
    for (;;) doSomething(random_, *own_);
  }

  std::minstd_rand random_;  // the thread's
  std::unique_ptr<Owned> own_ = std::make_unique<Owned>();
  const ThreadPointer body_;
};

long countIn(const char* directory) {
  long count = 0;
  DIR* const entries = opendir(directory);
  while (readdir(entries) != nullptr) ++count;
  closedir(entries);
  return count;
}

long linesOf(const char* file) {
  std::ifstream in(file);
  long count = 0;
  for (std::string line; std::getline(in, line);) ++count;
  return count;
}

TEST(QVRSysThreadStopStressTest, NothingOfTheLibrarysIsLostHoweverThreadsAreStopped) {
  constexpr unsigned kWorkers = 6;
  constexpr long kMappings = 300;  // of the heap's, which come and go
  const QVRAssertHandler before =
      QVRSetAssertHandler([](const char*, const char*, const char*, int) {});  // abandoned mutexes
  std::minstd_rand random(testSeed());
  // Cancelled threads keep theirs, of which there are more the more processors there are.
  mallopt(M_ARENA_MAX, 8);
  shared();
  expectEverythingToWork();
  const long threads = countIn("/proc/self/task");
  const long descriptors = countIn("/proc/self/fd");
  const long mappings = linesOf("/proc/self/maps");
  const long timers = linesOf("/proc/self/timers");
  {
    std::vector<std::unique_ptr<Worker>> workers;
    for (unsigned i = 0; i < kWorkers; ++i) workers.push_back(std::make_unique<Worker>(random()));
    const int stops = numberOfStops();
    for (int i = 0; i < stops && !testing::Test::HasFatalFailure(); ++i) {
      workers[random() % kWorkers]->suspend();
      workers[random() % kWorkers]->cancel();
    }
  }

  // The system shows a thread a little longer than it can be joined.
  while (countIn("/proc/self/task") != threads) sched_yield();
  EXPECT_EQ(countIn("/proc/self/fd"), descriptors);
  EXPECT_LT(linesOf("/proc/self/maps"), mappings + kMappings);
  EXPECT_EQ(linesOf("/proc/self/timers"), timers);
  take(shared().mutex);
  expectEverythingToWork();
  QVRSetAssertHandler(before);
}

}  // namespace
