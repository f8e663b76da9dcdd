// Threads that tests suspend and cancel.
#pragma once

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <functional>
#include <memory>
#include <utility>

#include "QVRELogicError.h"
#include "QVRPoolAllocator.h"
#include "QVRSysThreadAttribute.h"
#include "QVRTraceLog.h"
#include "ThreadProbe.h"
#include "support/AddressSanitizer.h"
#include "support/ForkedChild.h"

#ifdef QVR_TEST_SANITIZES_ADDRESSES
#include <sanitizer/lsan_interface.h>

// What a cancelled thread had allocated, or was changing, is lost. For the calling thread.
inline void expectLosses() { __lsan_disable(); }
inline void expectNoMoreLosses() { __lsan_enable(); }
#else
inline void expectLosses() {}
inline void expectNoMoreLosses() {}
#endif

/// A started thread, which is cancelled where a test leaves it.
class StoppedThread {
 public:
  explicit StoppedThread(std::function<void()> function) : body_(makeThread(std::move(function))) {
    body_->start();
  }
  ~StoppedThread() noexcept { body_->cancel(); }

  StoppedThread(const StoppedThread&) = delete;
  StoppedThread& operator=(const StoppedThread&) = delete;

  QVRSysThreadBody* operator->() const { return body_.get(); }

  /// Waits until the thread sleeps in the kernel.
  void awaitSleep() const { ::awaitSleep(body_->getThreadId()); }

 private:
  const ThreadPointer body_;
};

/// A thread that comes to the end of a function, which a test waits for.
class FinishingThread {
 public:
  explicit FinishingThread(std::function<void()> function)
      : thread([this, function = std::move(function)] {
          function();
          isFinished = true;
        }) {}

  std::atomic<bool> isFinished = false;
  StoppedThread thread;
};

/// Uses what all threads need, of the system and of the library: where one of them was
/// stopped with its lock, this never comes back.
inline void expectEverythingToWork() {
  delete[] new char[100'000];
  const std::unique_ptr<FILE, int (*)(FILE*)> file(std::fopen("/dev/null", "w"), &std::fclose);
  EXPECT_GT(std::fprintf(file.get(), "%f %d\n", 1.5, 3), 0);
  std::printf("%s", "");
  EXPECT_THROW(throw QVRELogicError(u"text", "source", 1), QVRELogicError);
  EXPECT_NE(dlopen(nullptr, RTLD_NOW), nullptr);
  QVRSystemTrace.acquireLock();
  QVRSystemTrace.releaseLock();
  auto& pool = QVRPoolAllocator::Global();
  pool.deallocate(pool.allocate(24), 24);
  EXPECT_EQ(exitStatusOfFork([] { return 0; }), 0);
}
