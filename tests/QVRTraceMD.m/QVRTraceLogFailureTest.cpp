// What holds in a trace log while something fails, and which code runs marked.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <new>
#include <stdexcept>
#include <string>
#include <thread>

#include "QVRRecursiveLock.h"
#include "QVRSystem/internal/QVRThreadState.h"
#include "QVRTraceCall.h"
#include "QVRTraceLog.h"
#include "support/AllocationRefuser.h"
#include "support/TraceRecorder.h"

struct QVRTraceLogTestAccess {
  static QVRSysFastMutexLock& classMutex() { return QVRTraceLog::ClassMutex; }
};

namespace {

using qvr::internal::RecursiveLock;
using qvr::internal::RecursiveLockStorage;

bool isLineLockFree() {
  bool isFree = false;
  std::thread([&] {
    QVRSysFastMutexLock& mutex = QVRTraceLogTestAccess::classMutex();
    RecursiveLock lock(*static_cast<RecursiveLockStorage*>(mutex.getNativeLock()));
    isFree = lock.tryAcquire();
    lock.release();
  }).join();
  return isFree;
}

std::uint32_t marks() { return qvr::internal::threadState.shortSections; }

struct ThrowingOperand {
  friend std::ostream& operator<<(std::ostream&, ThrowingOperand) {
    throw std::runtime_error("operand");
  }
};

struct MarkOperand {
  friend std::ostream& operator<<(std::ostream& out, MarkOperand) { return out << marks(); }
};

TEST(QVRTraceLogFailureTest, ConstructorFailsWhole) {
  EXPECT_GT(refuseEachAllocation(
                [] { const QVRTraceLog log(std::string(40, 'n'), QVRTraceLevelDebug, "%m"); }),
            0u);
}

TEST(QVRTraceLogFailureTest, FormatStaysWhereANewOneCannotBeKept) {
  QVRTraceLog log("Test", QVRTraceLevelDebug, "%m");
  const std::string longer(100, 'x');

  refuseEachAllocation([&] { log.SetFormat(longer); }, [&] { EXPECT_EQ(log.GetFormat(), "%m"); });

  EXPECT_EQ(log.GetFormat(), longer);
}

TEST(QVRTraceLogFailureTest, HeaderThatCannotBeComposedLeavesTheLockHeldAndTheLineAsItWas) {
  const TraceRecorder recorder;
  const std::string file(2000, 'f');
  QVRTraceLog log("Test", QVRTraceLevelDebug, "%n%F%m" + std::string(100, 'x'));

  log.acquireLock();
  log.write(QVRTraceLevelError, "text ");
  const std::size_t refused =
      refuseEachAllocation([&] { log.write(QVRTraceLevelFatal, file.c_str(), 1); },
                           [&] { EXPECT_FALSE(isLineLockFree()); });
  log.releaseLock();

  EXPECT_GE(refused, 2u);
  EXPECT_EQ(recorder.only(), "text Test " + file + " Fatal" + std::string(100, 'x'));
  EXPECT_TRUE(isLineLockFree());
}

TEST(QVRTraceLogFailureTest, ReplacingDefaultFormatFailsWhole) {
  const TraceRecorder recorder;
  QVRTraceLog log("Test", QVRTraceLevelDebug, "DefaultFormat");

  log.acquireLock();
  refuseEachAllocation([&] { log.write(QVRTraceLevelFatal, "file", 1); });
  log.releaseLock();

  EXPECT_EQ(log.GetFormat(), "%n(%p) %f(%l) %m");
  EXPECT_EQ(recorder.only().substr(0, 6), "Test (");
}

TEST(QVRTraceLogFailureTest, LineThatCannotGrowIsCutAndTheNextOneIsWhole) {
  const TraceRecorder recorder;
  QVRTraceLog log("Test", QVRTraceLevelDebug, "");
  const std::string text(2000, 'x');

  log.acquireLock();
  std::ostream& out = log.write(QVRTraceLevelError, "short");
  {
    const AllocationRefuser refuser(1);
    out << text;
  }
  EXPECT_TRUE(out.bad());
  log.releaseLock();
  log.acquireLock();
  log.write(QVRTraceLevelError, text.c_str());
  log.releaseLock();

  EXPECT_EQ(recorder.lines(), (std::vector<std::string>{"short", text}));
}

TEST(QVRTraceLogFailureTest, LineInsideALineThatCannotBeBegunTakesNoLock) {
  const TraceRecorder recorder;
  QVRTraceLog log("Test", QVRTraceLevelDebug, "");

  log.acquireLock();
  log.write(QVRTraceLevelError, "outer");
  const std::size_t refused = refuseEachAllocation([&] { log.acquireLock(); });
  log.releaseLock();
  EXPECT_FALSE(isLineLockFree());
  log.releaseLock();

  EXPECT_GT(refused, 0u);
  EXPECT_TRUE(isLineLockFree());
  EXPECT_EQ(recorder.lines().back(), "outer");
}

TEST(QVRTraceLogFailureTest, OperandThatThrowsLeavesTheLockHeldUntilTheLineIsEnded) {
  const TraceRecorder recorder;
  QVRTraceLog log("Test", QVRTraceLevelDebug, "");

  log.acquireLock();
  EXPECT_THROW(log.write(QVRTraceLevelError, "before ") << ThrowingOperand(), std::runtime_error);
  EXPECT_FALSE(isLineLockFree());
  log.releaseLock();

  EXPECT_TRUE(isLineLockFree());
  EXPECT_EQ(recorder.only(), "before ");
}

TEST(QVRTraceLogFailureTest, WriterThatThrowsLeavesTheLockFree) {
  TraceRecorder recorder;
  recorder.onLine([] { throw std::runtime_error("writer"); });
  QVRTraceLog log("Test", QVRTraceLevelError, "");

  log.acquireLock();
  log.write(QVRTraceLevelError, "text");
  EXPECT_THROW(log.releaseLock(), std::runtime_error);
  EXPECT_TRUE(isLineLockFree());

  EXPECT_THROW(QVRTraceCall(log, "function"), std::runtime_error);
  EXPECT_TRUE(isLineLockFree());
}

TEST(QVRTraceLogFailureTest, CallThatCannotCopyItsNameWritesNothing) {
  const TraceRecorder recorder;
  QVRTraceLog log("Test", QVRTraceLevelError, "");

  {
    const AllocationRefuser refuser(1);
    EXPECT_THROW(QVRTraceCall(log, "function"), std::bad_alloc);
  }

  EXPECT_TRUE(isLineLockFree());
  EXPECT_TRUE(recorder.lines().empty());
}

TEST(QVRTraceLogFailureTest, CallersCodeRunsOutsideShortSections) {
  TraceRecorder recorder;
  std::uint32_t marksInWriter = 99;
  recorder.onLine([&] { marksInWriter = marks(); });
  QVRTraceLog log("Test", QVRTraceLevelError, "%t");

  log.acquireLock();
  EXPECT_EQ(marks(), 0u);
  log.write(QVRTraceLevelError, "") << MarkOperand();
  log.releaseLock();
  EXPECT_EQ(recorder.only(), "0");
  EXPECT_EQ(marksInWriter, 0u);
  EXPECT_EQ(marks(), 0u);

  marksInWriter = 99;
  { const QVRTraceCall call(log, "function"); }
  EXPECT_EQ(marksInWriter, 0u);
  EXPECT_EQ(marks(), 0u);
}

// A heap of a caller's that waits would keep its thread from being stopped.
TEST(QVRTraceLogFailureTest, CallersHeapRunsOutsideShortSections) {
  const TraceRecorder recorder;
  QVRTraceLog log("Test", QVRTraceLevelDebug, "%m");
  std::size_t allocations = 0;
  const AllocationObserver observer([&](std::size_t) {
    ++allocations;
    EXPECT_EQ(marks(), 0u);
  });
  const std::string longFormat(100, 'f');
  const std::string longText(5000, 'x');

  log.SetFormat(longFormat);
  EXPECT_EQ(log.GetFormat(), longFormat);
  log.acquireLock();
  log.write(QVRTraceLevelError, "file", 1);
  log.write(QVRTraceLevelError, longText.c_str());
  log.acquireLock();
  log.write(QVRTraceLevelError, "inner");
  log.releaseLock();
  log.releaseLock();

  EXPECT_GE(allocations, 5u);
  EXPECT_EQ(recorder.lines().back(), longFormat + longText);
}

TEST(QVRTraceLogFailureTest, WriterThatThrowsLeavesTheMarksEven) {
  TraceRecorder recorder;
  recorder.onLine([] { throw std::runtime_error("writer"); });
  QVRTraceLog log("Test", QVRTraceLevelError, "");

  EXPECT_THROW(QVRTraceCall(log, "function"), std::runtime_error);

  EXPECT_EQ(marks(), 0u);
}

// The sanitizers' own threads do not survive a fork.
#if !defined(__SANITIZE_THREAD__)
TEST(QVRTraceLogFailureTest, ForkedChildTracesThoughAnotherThreadWasTracing) {
  std::atomic<bool> stop = false;
  QVRTraceLog log("Test", QVRTraceLevelDebug, "");
  std::thread writer([&] {
    while (!stop) {
      log.acquireLock();
      log.write(QVRTraceLevelDebug, "file", 1) << "a line";
      log.releaseLock();
      QVRSystemTrace.SetFormat(QVRSystemTrace.GetFormat());
    }
  });

  for (int i = 0; i < 20; ++i) {
    const pid_t pid = fork();
    if (pid == 0) {
      alarm(60);
      const TraceRecorder recorder;
      log.acquireLock();
      log.write(QVRTraceLevelError, "in the child");
      log.releaseLock();
      QVRSystemTrace.SetFormat("child");
      _exit(recorder.lines() == std::vector<std::string>{"in the child"} ? 0 : 1);
    }
    int status = -1;
    waitpid(pid, &status, 0);
    EXPECT_EQ(status, 0);
  }
  stop = true;
  writer.join();
}
#endif

}  // namespace
