// When trace calls write, and what they leave behind.
#include "QVRTraceCall.h"

#include <gtest/gtest.h>
#include <pthread.h>
#include <unistd.h>

#include <atomic>
#include <stdexcept>
#include <string>
#include <thread>
#include <type_traits>
#include <vector>

#include "QVRTraceLog.h"
#include "support/ScopedEnvironment.h"
#include "support/TraceRecorder.h"

namespace {

using Lines = std::vector<std::string>;

static_assert(!std::is_copy_constructible_v<QVRTraceCall>);
static_assert(!std::is_copy_assignable_v<QVRTraceCall>);

class QVRTraceCallTest : public testing::Test {
 protected:
  const ScopedEnvironment allLogs_{"QVRDefaultTraceLevel", nullptr};
  const ScopedEnvironment thisLog_{"TestTraceLevel", nullptr};
  TraceRecorder recorder_;
  QVRTraceLog log_{"Test", QVRTraceLevelWarning, "a header "};
};

TEST_F(QVRTraceCallTest, WritesEntryAndExitWithoutHeader) {
  {
    const QVRTraceCall call(log_, "QVROSPath::copy");
    EXPECT_EQ(recorder_.only(), "Entering QVROSPath::copy\n");
  }
  EXPECT_EQ(recorder_.lines(), (Lines{"Entering QVROSPath::copy\n", "Exiting QVROSPath::copy\n"}));
}

TEST_F(QVRTraceCallTest, WritesAtTheLevelOfItsLog) {
  for (int level = 0; level <= 7; ++level) {
    const TraceRecorder recorder;
    log_.setLevel(static_cast<QVRTraceLevel>(level));
    { const QVRTraceCall call(log_, "f"); }
    const bool isEmitted = level >= 1 && level <= 3;
    EXPECT_EQ(recorder.lines().size(), isEmitted ? 2u : 0u) << level;
  }
}

TEST_F(QVRTraceCallTest, EnvironmentSwitchesItOff) {
  const ScopedEnvironment allLogs("QVRDefaultTraceLevel", "None");
  const ScopedEnvironment thisLog("TestTraceLevel", "Error");
  { const QVRTraceCall call(log_, "f"); }
  EXPECT_TRUE(recorder_.lines().empty());
}

TEST_F(QVRTraceCallTest, MadeAtLevelNoneItWritesNoExit) {
  log_.setLevel(QVRTraceLevelNone);
  {
    const QVRTraceCall call(log_, "f");
    log_.setLevel(QVRTraceLevelError);
  }
  EXPECT_TRUE(recorder_.lines().empty());
}

TEST_F(QVRTraceCallTest, LevelNoneAtTheEndWritesNoExit) {
  {
    const QVRTraceCall call(log_, "f");
    log_.setLevel(QVRTraceLevelNone);
  }
  EXPECT_EQ(recorder_.lines(), Lines{"Entering f\n"});
}

TEST_F(QVRTraceCallTest, MadeAtALevelThatShowsNothingItMayStillWriteItsExit) {
  log_.setLevel(QVRTraceLevelCall);
  {
    const QVRTraceCall call(log_, "f");
    log_.setLevel(QVRTraceLevelFatal);
  }
  EXPECT_EQ(recorder_.lines(), Lines{"Exiting f\n"});
}

TEST_F(QVRTraceCallTest, KeepsItsOwnCopyOfTheName) {
  char name[] = "first";
  {
    const QVRTraceCall call(log_, name);
    name[0] = 'X';
  }
  EXPECT_EQ(recorder_.lines().back(), "Exiting first\n");
}

TEST_F(QVRTraceCallTest, NoNameIsTheEmptyText) {
  { const QVRTraceCall call(log_, nullptr); }
  EXPECT_EQ(recorder_.lines(), (Lines{"Entering \n", "Exiting \n"}));
}

TEST_F(QVRTraceCallTest, CallInsideALineIsALineOfItsOwn) {
  log_.acquireLock();
  log_.write(QVRTraceLevelError, "the ") << "line";
  { const QVRTraceCall call(log_, "operand"); }
  log_.releaseLock();

  EXPECT_EQ(recorder_.lines(), (Lines{"Entering operand\n", "Exiting operand\n", "the line"}));
}

TEST_F(QVRTraceCallTest, ExitLetsNoFailureOfTheWriterOut) {
  EXPECT_NO_THROW({
    const QVRTraceCall call(log_, "f");
    recorder_.onLine([] { throw std::runtime_error("log is full"); });
  });
  recorder_.onLine(nullptr);

  // The lock is free for others.
  std::thread([&] { const QVRTraceCall call(log_, "g"); }).join();
  EXPECT_EQ(recorder_.lines().back(), "Exiting g\n");
}

TEST_F(QVRTraceCallTest, ExitKeepsTheExceptionThatIsUnderWay) {
  EXPECT_THROW(
      {
        const QVRTraceCall call(log_, "f");
        recorder_.onLine([] { throw std::runtime_error("log is full"); });
        throw std::logic_error("the function's own");
      },
      std::logic_error);
}

/// What a thread that runs `action` ends with.
void* resultOfThread(void* (*action)(void*)) {
  pthread_t thread;
  void* result = nullptr;
  EXPECT_EQ(pthread_create(&thread, nullptr, action, nullptr), 0);
  pthread_join(thread, &result);
  return result;
}

TEST_F(QVRTraceCallTest, CancellationWaitsUntilTheExitIsWritten) {
  static QVRTraceLog* log;
  log = &log_;
  recorder_.onLine([] { pthread_testcancel(); });

  const auto duringAnException = [](void*) -> void* {
    try {
      const QVRTraceCall call(*log, "throwing");
      pthread_cancel(pthread_self());
      throw std::runtime_error("under way");
    } catch (const std::runtime_error&) {
    }
    pthread_testcancel();
    return nullptr;
  };
  EXPECT_EQ(resultOfThread(duringAnException), PTHREAD_CANCELED);

  const auto inAHandler = [](void*) -> void* {
    try {
      throw std::runtime_error("handled");
    } catch (const std::runtime_error&) {
      const QVRTraceCall call(*log, "handling");
      pthread_cancel(pthread_self());
    }
    pthread_testcancel();
    return nullptr;
  };
  EXPECT_EQ(resultOfThread(inAHandler), PTHREAD_CANCELED);

  EXPECT_EQ(recorder_.lines(), (Lines{"Entering throwing\n", "Exiting throwing\n",
                                      "Entering handling\n", "Exiting handling\n"}));
}

// AddressSanitizer takes frames that unwinding of the platform has left for live ones.
#if !defined(__SANITIZE_ADDRESS__)
TEST_F(QVRTraceCallTest, ThreadEndedByTheWriterOfAnExitLeavesTheLockFree) {
  static QVRTraceLog* log;
  log = &log_;
  static int ended;
  recorder_.onLine([this] {
    if (recorder_.lines().size() == 2) pthread_exit(&ended);
  });

  const auto run = [](void*) -> void* {
    const QVRTraceCall call(*log, "f");
    return nullptr;
  };
  EXPECT_EQ(resultOfThread(run), &ended);
  recorder_.onLine(nullptr);

  log_.acquireLock();
  log_.write(QVRTraceLevelError, "after it");
  log_.releaseLock();
  EXPECT_EQ(recorder_.lines(), (Lines{"Entering f\n", "Exiting f\n", "after it"}));
}
#endif

}  // namespace
