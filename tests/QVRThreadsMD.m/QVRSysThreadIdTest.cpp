// Identifiers as values, what a thread answers about itself, sleeping.
#include "QVRSysThreadId.h"

#include <gtest/gtest.h>
#include <pthread.h>
#include <signal.h>
#include <sys/syscall.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <fstream>
#include <iomanip>
#include <sstream>
#include <string>
#include <thread>

#include "support/ForkedChild.h"

namespace {

unsigned long kernelThreadId() { return static_cast<unsigned long>(syscall(SYS_gettid)); }

/// The kernel's letter for what a process does at present.
char processState(pid_t pid) {
  std::ifstream file("/proc/" + std::to_string(pid) + "/stat");
  const std::string text{std::istreambuf_iterator<char>(file), {}};
  const std::size_t nameEnd = text.rfind(')');
  return nameEnd + 2 < text.size() ? text[nameEnd + 2] : '?';
}

double secondsOf(auto action) {
  const auto start = std::chrono::steady_clock::now();
  action();
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

TEST(QVRSysThreadIdTest, DefaultIsZeroAndNotValid) {
  const QVRSysThreadId id;

  EXPECT_FALSE(id.isValid());
  EXPECT_EQ(id.hash(), 0u);
}

TEST(QVRSysThreadIdTest, MadeFromANumberIsValid) {
  const QVRSysThreadId id = 42ul;

  EXPECT_TRUE(id.isValid());
  EXPECT_EQ(id.hash(), 42u);
  EXPECT_EQ(id.getNativeThreadIdRep(), 42u);
}

TEST(QVRSysThreadIdTest, KeepsTheLow32BitsOfANumber) {
  EXPECT_EQ(QVRSysThreadId(0xFFFFFFFFul).hash(), 0xFFFFFFFFul);
  EXPECT_EQ(QVRSysThreadId(0x100000007ul).hash(), 7u);
}

TEST(QVRSysThreadIdTest, EqualOnlyWhenBothAreValidAndTheNumbersAgree) {
  QVRSysThreadId cleared = 1ul;
  cleared.clear();
  const struct {
    QVRSysThreadId a, b;
    bool equal;
  } cases[] = {{1ul, 1ul, true},      {1ul, 2ul, false},         {1ul, cleared, false},
               {cleared, 1ul, false}, {cleared, cleared, false}, {{}, {}, false}};
  for (const auto& c : cases) {
    EXPECT_EQ(c.a == c.b, c.equal) << c.a << ' ' << c.b;
    EXPECT_EQ(c.a != c.b, !c.equal) << c.a << ' ' << c.b;
  }
}

TEST(QVRSysThreadIdTest, ClearKeepsTheNumber) {
  QVRSysThreadId id = 5ul;

  id.clear();
  EXPECT_FALSE(id.isValid());
  EXPECT_EQ(id.hash(), 5u);
  id.setValid(true);
  EXPECT_TRUE(id == QVRSysThreadId(5ul));
}

TEST(QVRSysThreadIdTest, OrderIgnoresValidity) {
  QVRSysThreadId cleared = 5ul;
  cleared.clear();

  EXPECT_TRUE(cleared < QVRSysThreadId(6ul));
  EXPECT_TRUE(QVRSysThreadId(4ul) < cleared);
  EXPECT_FALSE(cleared < QVRSysThreadId(5ul));
  EXPECT_FALSE(QVRSysThreadId(5ul) < cleared);
}

TEST(QVRSysThreadIdTest, AssignmentTakesNumberAndValidity) {
  QVRSysThreadId id = 5ul;
  QVRSysThreadId cleared = 6ul;
  cleared.clear();

  id = cleared;
  EXPECT_FALSE(id.isValid());
  EXPECT_EQ(id.hash(), 6u);
}

TEST(QVRSysThreadIdTest, NativeNumberCanBeWritten) {
  QVRSysThreadId id;

  id.getNativeThreadIdRep() = 9;
  EXPECT_EQ(id.hash(), 9u);
}

TEST(QVRSysThreadIdTest, StreamsTheNumberInDecimal) {
  std::ostringstream out;
  out << std::hex << QVRSysThreadId(4294967295ul) << ' ' << QVRSysThreadId();

  EXPECT_EQ(out.str(), "4294967295 0");
}

TEST(QVRSysThreadIdTest, StreamsWithinAFieldWidth) {
  std::ostringstream out;
  out << std::setw(6) << std::setfill('*') << QVRSysThreadId(42ul);

  EXPECT_EQ(out.str(), "****42");
}

TEST(QVRSysThreadIdTest, EachThreadAnswersTheKernelsNumber) {
  const QVRSysThreadId own = QVRSysGetThreadId();
  QVRSysThreadId other;
  unsigned long otherByKernel = 0;

  std::thread([&] {
    other = QVRSysGetThreadId();
    otherByKernel = kernelThreadId();
  }).join();

  EXPECT_TRUE(own.isValid());
  EXPECT_EQ(own.hash(), kernelThreadId());
  EXPECT_EQ(other.hash(), otherByKernel);
  EXPECT_TRUE(own != other);
  EXPECT_TRUE(own == QVRSysGetThreadId());
}

TEST(QVRSysThreadIdTest, TheChildOfAForkAnswersItsOwnNumber) {
  const unsigned long inParent = QVRSysGetThreadId().hash();

  EXPECT_EQ(exitStatusOfFork([&] {
              const unsigned long now = QVRSysGetThreadId().hash();
              return now == kernelThreadId() && now != inParent ? 0 : 1;
            }),
            0);
  EXPECT_EQ(QVRSysGetThreadId().hash(), inParent);
}

TEST(QVRSysThreadIdTest, SleepLastsAtLeastItsTime) {
  EXPECT_GE(secondsOf([] { QVRSysThreadSleep(30); }), 0.030);
}

TEST(QVRSysThreadIdTest, SignalsDoNotShortenASleep) {
  struct sigaction ignore = {};
  struct sigaction before;
  ignore.sa_handler = [](int) {};
  sigaction(SIGALRM, &ignore, &before);
  const itimerval everyMillisecond = {{0, 1000}, {0, 1000}};
  setitimer(ITIMER_REAL, &everyMillisecond, nullptr);

  const double slept = secondsOf([] { QVRSysThreadSleep(50); });

  const itimerval never = {};
  setitimer(ITIMER_REAL, &never, nullptr);
  sigaction(SIGALRM, &before, nullptr);
  EXPECT_GE(slept, 0.050);
}

TEST(QVRSysThreadIdTest, ATimeTooLongToCountLastsForEver) {
  for (const unsigned long milliseconds : {~0ul, 0x8000000000000000ul, 0x100000000ul}) {
    const pid_t pid = fork();
    if (pid == 0) {
      QVRSysThreadSleep(milliseconds);
      _exit(1);
    }
    char state = '?';
    while (state != 'S' && state != 'Z') state = processState(pid);

    EXPECT_EQ(state, 'S') << milliseconds << ": it has ended";
    kill(pid, SIGKILL);
    waitpid(pid, nullptr, 0);
  }
}

// AddressSanitizer takes frames that a cancellation has unwound for live ones.
#if !defined(__SANITIZE_ADDRESS__)
TEST(QVRSysThreadIdTest, ASleepingThreadCanBeCancelled) {
  const auto sleep = [](void*) -> void* {
    pthread_cancel(pthread_self());
    QVRSysThreadSleep(~0ul);
    return nullptr;
  };
  pthread_t thread;
  ASSERT_EQ(pthread_create(&thread, nullptr, sleep, nullptr), 0);

  void* result = nullptr;
  pthread_join(thread, &result);

  EXPECT_EQ(result, PTHREAD_CANCELED);
}
#endif

}  // namespace
