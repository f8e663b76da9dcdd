#include "QVRPoolAllocator.h"

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <new>
#include <string_view>
#include <utility>

#include "QVRAssert.h"
#include "QVRSysFastMutexLock.h"
#include "QVRSystem/internal/QVRAtomic.h"
#include "QVRSystem/internal/QVRBiasedLock.h"
#include "QVRSystem/internal/QVRFork.h"
#include "QVRSystem/internal/QVRThreadState.h"

using qvr::internal::AtomicRef;
using qvr::internal::BiasedLock;
using qvr::internal::ForkLock;
using qvr::internal::ForkRank;
using qvr::internal::ShortSection;

namespace {

// What callers see.
constexpr char kSource[] = "QVRSystem/QVRSystemUtilsMD.m/src/QVRPoolAllocator";
constexpr int kBucketIndexLine = 59;

QVRSysFastMutexLock creationLock{QVRStaticObject{}};
const ForkLock forkCreationLock(ForkRank::PoolCreation, creationLock.getNativeLock());

// The calling thread is making the pool. A new-handler that wants to compact it is told
// that there is none, rather than led to make it once more.
class Creation {
 public:
  Creation() {
    if (std::exchange(inProgress, true)) throw std::bad_alloc();
  }
  ~Creation() { inProgress = false; }

  Creation(const Creation&) = delete;
  Creation& operator=(const Creation&) = delete;

 private:
  static inline thread_local bool inProgress = false;
};

void compactGlobal() { QVRPoolAllocator::Global().compact(); }

// Letter case of ASCII, whatever the locale.
bool equalsIgnoringCase(std::string_view text, std::string_view lowerCase) {
  return std::equal(text.begin(), text.end(), lowerCase.begin(), lowerCase.end(),
                    [](char a, char b) { return a == b || (a >= 'A' && a <= 'Z' && a + 32 == b); });
}

}  // namespace

constinit QVRPoolAllocator* QVRPoolAllocator::global_ = nullptr;

// The creation lock guards which buckets the process-wide pool has.
struct [[gnu::visibility("hidden")]] QVRPoolAllocator::ForkedBuckets {
  static const ForkLock locks;

  static void forEach(const ForkLock::Action& action) {
    if (global_ == nullptr) return;
    for (QVRBlockAllocator* bucket : global_->buckets_) action(BiasedLock(bucket->lock_));
  }
};

const ForkLock QVRPoolAllocator::ForkedBuckets::locks(ForkRank::PoolBuckets, &forEach);

QVRPoolAllocator::QVRPoolAllocator() : enabled_(!IsSwitchedOff()) {
  std::array<std::unique_ptr<QVRBlockAllocator>, kBuckets> made;
  for (std::size_t i = 0; i < kBuckets; ++i) {
    made[i] = std::make_unique<QVRBlockAllocator>(GetBucketSize(i));
  }
  for (std::size_t i = 0; i < kBuckets; ++i) buckets_[i] = made[i].release();
}

QVRPoolAllocator::~QVRPoolAllocator() {
  for (const QVRBlockAllocator* bucket : buckets_) delete bucket;
}

void QVRPoolAllocator::compact() {
  for (QVRBlockAllocator* bucket : buckets_) bucket->compact();
}

void QVRPoolAllocator::dump(std::ostream& out) const {
  for (const QVRBlockAllocator* bucket : buckets_) bucket->dump(out);
}

// Made without the lock: whoever answers for the heap may wait for other threads, which
// want the pool. Of those that make it at the same time, all but the first do so in vain.
QVRPoolAllocator& QVRPoolAllocator::CreateGlobal() {
  const Creation creation;
  auto made = std::make_unique<QVRPoolAllocator>();
  // Without room for the handler the memory stays with the process to its end.
  if (Publish(made)) std::atexit(&compactGlobal);
  return *global_;
}

// @return whether there was none before.
bool QVRPoolAllocator::Publish(std::unique_ptr<QVRPoolAllocator>& made) {
  const ShortSection section;
  const QVRSysFastMutexLock::LockGuard guard(creationLock);
  if (global_ != nullptr) return false;
  AtomicRef<QVRPoolAllocator*>(global_).store(made.release(), std::memory_order_release);
  return true;
}

bool QVRPoolAllocator::IsSwitchedOff() {
  const char* const setting = std::getenv("QVRPoolAllocator");
  return setting != nullptr && equalsIgnoringCase(setting, "off");
}

std::size_t QVRPoolAllocator::GetBucketSize(std::size_t index) {
  const auto sizeIn = [index](const BucketRange& range) {
    return range.above + (index - range.firstIndex + 1) * range.step;
  };
  if (index < kMedium.firstIndex) return sizeIn(kSmall);
  if (index < kLarge.firstIndex) return sizeIn(kMedium);
  if (index < kLargest.firstIndex) return sizeIn(kLarge);
  if (index < kBuckets) return sizeIn(kLargest);
  QVRReportAssert("Program error", "Invalid Bucket Index", kSource, kBucketIndexLine);
  return kSizeLimit;
}
