#include "QVRPoolAllocator.h"

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <new>
#include <string_view>
#include <utility>

#include "QVRAssert.h"
#include "QVRSystem/internal/QVRAtomic.h"
#include "QVRSystem/internal/QVRFork.h"

using qvr::internal::AtomicRef;
using qvr::internal::ForkLock;
using qvr::internal::ForkRank;
using qvr::internal::RecursiveLock;
using qvr::internal::RecursiveLockStorage;

namespace {

// What callers see.
constexpr char kSource[] = "QVRSystem/QVRSystemUtilsMD.m/src/QVRPoolAllocator";
constexpr int kBucketIndexLine = 59;

// The first size that no bucket serves.
constexpr std::size_t kSizeLimit = 7681;

// Buckets come in ranges of equal steps. Bucket i of a range serves sizes up to
// above + (i - firstIndex + 1) * step.
struct BucketRange {
  std::size_t firstIndex;
  std::size_t above;
  std::size_t step;
};
constexpr BucketRange kSmall{0, 0, 16};
constexpr BucketRange kMedium{32, 512, 32};
constexpr BucketRange kLarge{64, 1536, 64};
constexpr BucketRange kLargest{96, 3584, 128};

constexpr std::size_t indexIn(const BucketRange& range, std::size_t size) {
  return (size - range.above - 1) / range.step + range.firstIndex;
}

constexpr std::size_t sizeIn(const BucketRange& range, std::size_t index) {
  return range.above + (index - range.firstIndex + 1) * range.step;
}

constinit QVRPoolAllocator* global = nullptr;
QVRSysFastMutexLock creationLock{QVRStaticObject{}};
const ForkLock forkCreationLock(ForkRank::PoolCreation, creationLock.getNativeLock());

// The pool is being made, by the holder of the creation lock. A new-handler that wants
// to compact it is told that there is none, rather than led to make it once more.
class Creation {
 public:
  Creation() {
    if (std::exchange(inProgress, true)) throw std::bad_alloc();
  }
  ~Creation() { inProgress = false; }

  Creation(const Creation&) = delete;
  Creation& operator=(const Creation&) = delete;

 private:
  static inline bool inProgress QVR_GUARDED_BY(creationLock) = false;
};

RecursiveLock nativeLockOf(const QVRSysFastMutexLock& lock) {
  return RecursiveLock(*static_cast<RecursiveLockStorage*>(lock.getNativeLock()));
}

void compactGlobal() { QVRPoolAllocator::Global().compact(); }

// Letter case of ASCII, whatever the locale.
bool equalsIgnoringCase(std::string_view text, std::string_view lowerCase) {
  return std::equal(text.begin(), text.end(), lowerCase.begin(), lowerCase.end(),
                    [](char a, char b) { return a == b || (a >= 'A' && a <= 'Z' && a + 32 == b); });
}

}  // namespace

// The creation lock guards which buckets the process-wide pool has.
struct QVRPoolAllocator::ForkedBuckets {
  static const ForkLock locks;

  static void forEach(const ForkLock::Action& action) {
    if (global == nullptr) return;
    for (const QVRBlockAllocator* bucket : global->buckets_) {
      action(nativeLockOf(bucket->lock_));
    }
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

void* QVRPoolAllocator::allocate(std::size_t size) {
  return serves(size) ? buckets_[GetBucketIndex(size)]->allocate() : ::operator new(size);
}

void QVRPoolAllocator::deallocate(void* memory, std::size_t size) {
  if (serves(size)) {
    buckets_[GetBucketIndex(size)]->deallocate(memory);
  } else {
    ::operator delete(memory);
  }
}

void QVRPoolAllocator::compact() {
  for (QVRBlockAllocator* bucket : buckets_) bucket->compact();
}

void QVRPoolAllocator::dump(std::ostream& out) const {
  for (const QVRBlockAllocator* bucket : buckets_) bucket->dump(out);
}

QVRPoolAllocator& QVRPoolAllocator::Global() {
  // Pairs with the store in CreateGlobal().
  QVRPoolAllocator* const pool =
      AtomicRef<QVRPoolAllocator*>(global).load(std::memory_order_acquire);
  return pool != nullptr ? *pool : CreateGlobal();
}

QVRPoolAllocator& QVRPoolAllocator::CreateGlobal() {
  const QVRSysFastMutexLock::LockGuard guard(creationLock);
  if (global == nullptr) {
    const Creation creation;
    AtomicRef<QVRPoolAllocator*>(global).store(new QVRPoolAllocator, std::memory_order_release);
    // Without room for the handler the memory stays with the process to its end.
    std::atexit(&compactGlobal);
  }
  return *global;
}

bool QVRPoolAllocator::IsSwitchedOff() {
  const char* const setting = std::getenv("QVRPoolAllocator");
  return setting != nullptr && equalsIgnoringCase(setting, "off");
}

bool QVRPoolAllocator::serves(std::size_t size) const noexcept {
  return enabled_ && size < kSizeLimit;
}

std::size_t QVRPoolAllocator::GetBucketIndex(std::size_t size) noexcept {
  if (size == 0) return 0;
  if (size <= kMedium.above) return indexIn(kSmall, size);
  if (size <= kLarge.above) return indexIn(kMedium, size);
  if (size <= kLargest.above) return indexIn(kLarge, size);
  return indexIn(kLargest, size);
}

std::size_t QVRPoolAllocator::GetBucketSize(std::size_t index) {
  if (index < kMedium.firstIndex) return sizeIn(kSmall, index);
  if (index < kLarge.firstIndex) return sizeIn(kMedium, index);
  if (index < kLargest.firstIndex) return sizeIn(kLarge, index);
  if (index < kBuckets) return sizeIn(kLargest, index);
  QVRReportAssert("Program error", "Invalid Bucket Index", kSource, kBucketIndexLine);
  return kSizeLimit;
}
