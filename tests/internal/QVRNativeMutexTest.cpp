// The mutex beneath QVRSysMutexLock: who holds it, how often, and what is left of
// one that is closed while held.
#include "QVRSystem/internal/QVRNativeMutex.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdint>
#include <limits>
#include <thread>
#include <utility>

#include "QVRSystem/internal/QVRThreadState.h"
#include "support/CommandedThread.h"
#include "support/EndingThreads.h"
#include "support/PlatformPlan.h"

namespace qvr::internal {

struct NativeMutexTestAccess {
  static void setDepth(NativeMutex& mutex, std::uint32_t depth) { mutex.depth_ = depth; }
  static std::uint32_t depth(const NativeMutex& mutex) { return mutex.depth_; }
  static std::uint64_t holder(const NativeMutex& mutex) { return mutex.holder_; }
};

}  // namespace qvr::internal

namespace {

using qvr::internal::currentThreadSerial;
using qvr::internal::NativeMutex;
using qvr::internal::NativeMutexTestAccess;
using Acquired = NativeMutex::Acquired;

/// A mutex for a test, which closes what is left of it.
class QVRNativeMutexTest : public testing::Test {
 protected:
  QVRNativeMutexTest() { EXPECT_EQ(NativeMutex::create(mutex_), 0); }
  ~QVRNativeMutexTest() override {
    if (mutex_ != nullptr) NativeMutex::close(mutex_);
  }

  NativeMutex* mutex_ = nullptr;
};

TEST_F(QVRNativeMutexTest, ReleaseTellsWhetherTheCallerHeldIt) {
  EXPECT_FALSE(NativeMutex::release(mutex_));

  EXPECT_EQ(NativeMutex::acquire(mutex_), Acquired::kFromNobody);
  EXPECT_EQ(NativeMutex::acquire(mutex_), Acquired::kFromNobody);
  std::thread([&] { EXPECT_FALSE(NativeMutex::release(mutex_)); }).join();
  EXPECT_TRUE(NativeMutex::release(mutex_));
  EXPECT_TRUE(NativeMutex::release(mutex_));
  EXPECT_FALSE(NativeMutex::release(mutex_));
}

TEST_F(QVRNativeMutexTest, KnowsItsHolderByTheSerialNumber) {
  EXPECT_EQ(NativeMutexTestAccess::holder(*mutex_), 0u);

  NativeMutex::acquire(mutex_);
  EXPECT_EQ(NativeMutexTestAccess::holder(*mutex_), currentThreadSerial());

  NativeMutex::release(mutex_);
  EXPECT_EQ(NativeMutexTestAccess::holder(*mutex_), 0u);
}

TEST_F(QVRNativeMutexTest, NestsPastTheLargestSignedNumber) {
  constexpr std::uint32_t kDeep = std::numeric_limits<std::int32_t>::max();
  NativeMutex::acquire(mutex_);
  NativeMutexTestAccess::setDepth(*mutex_, kDeep - 1);  // counting it out takes minutes

  for (int i = 0; i < 2; ++i) EXPECT_EQ(NativeMutex::acquire(mutex_), Acquired::kFromNobody);
  EXPECT_EQ(NativeMutexTestAccess::depth(*mutex_), kDeep + 1);
  for (int i = 0; i < 2; ++i) EXPECT_TRUE(NativeMutex::release(mutex_));

  EXPECT_EQ(NativeMutexTestAccess::depth(*mutex_), kDeep - 1);
  std::thread([&] { EXPECT_FALSE(NativeMutex::release(mutex_)); }).join();
  NativeMutexTestAccess::setDepth(*mutex_, 1);
  EXPECT_TRUE(NativeMutex::release(mutex_));
  EXPECT_FALSE(NativeMutex::release(mutex_));
}

TEST_F(QVRNativeMutexTest, TakenFromAThreadThatEndedItIsHeldOnce) {
  for (const ThreadEnding& ending : threadEndings()) {
    ending.run([&] {
      for (int i = 0; i < 3; ++i) NativeMutex::acquire(mutex_);
    });

    EXPECT_EQ(NativeMutex::acquire(mutex_), Acquired::kFromEndedHolder) << ending.name;
    EXPECT_EQ(NativeMutexTestAccess::depth(*mutex_), 1u) << ending.name;
    EXPECT_TRUE(NativeMutex::release(mutex_)) << ending.name;
    EXPECT_EQ(NativeMutex::acquire(mutex_), Acquired::kFromNobody) << ending.name;
    EXPECT_TRUE(NativeMutex::release(mutex_)) << ending.name;
  }
}

TEST_F(QVRNativeMutexTest, HolderThatCannotGiveItBackStillHoldsIt) {
  NativeMutex::acquire(mutex_);
  {
    const PlatformPlan plan("releaseMutex", EPERM);
    EXPECT_FALSE(NativeMutex::release(mutex_));
  }

  EXPECT_EQ(NativeMutexTestAccess::holder(*mutex_), currentThreadSerial());
  EXPECT_TRUE(NativeMutex::release(mutex_));
}

TEST_F(QVRNativeMutexTest, RefusedCreationMakesNothing) {
  for (const int error : {EAGAIN, ENOMEM}) {
    const PlatformPlan plan("createMutex", error);
    NativeMutex* made = nullptr;

    EXPECT_EQ(NativeMutex::create(made), error);
    EXPECT_EQ(made, nullptr);
  }
}

TEST_F(QVRNativeMutexTest, FailedWaitHoldsNothing) {
  const PlatformPlan plan("waitMutex", EINVAL);

  EXPECT_EQ(NativeMutex::acquire(mutex_), Acquired::kNot);

  EXPECT_FALSE(NativeMutex::release(mutex_));
}

TEST_F(QVRNativeMutexTest, ClosesWhoeverHoldsIt) {
  EXPECT_TRUE(NativeMutex::close(std::exchange(mutex_, nullptr))) << "nobody";

  NativeMutex::create(mutex_);
  NativeMutex::acquire(mutex_);
  NativeMutex::acquire(mutex_);
  EXPECT_TRUE(NativeMutex::close(std::exchange(mutex_, nullptr))) << "the caller";

  NativeMutex::create(mutex_);
  std::thread([&] { NativeMutex::acquire(mutex_); }).join();
  EXPECT_TRUE(NativeMutex::close(std::exchange(mutex_, nullptr))) << "a thread that ended";

  NativeMutex::create(mutex_);
  CommandedThread other;
  other.run([&] { NativeMutex::acquire(mutex_); });
  EXPECT_TRUE(NativeMutex::close(std::exchange(mutex_, nullptr))) << "another thread";
}

TEST_F(QVRNativeMutexTest, FailedCloseIsTold) {
  const PlatformPlan plan("closeMutex", EINVAL, 1);

  EXPECT_FALSE(NativeMutex::close(std::exchange(mutex_, nullptr)));
}

TEST_F(QVRNativeMutexTest, EveryOperationOnNoneFails) {
  EXPECT_EQ(NativeMutex::acquire(nullptr), Acquired::kNot);
  EXPECT_FALSE(NativeMutex::release(nullptr));
  EXPECT_FALSE(NativeMutex::close(nullptr));
}

}  // namespace
