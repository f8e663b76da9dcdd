// Memory for small objects of any size.
#pragma once

#include <array>
#include <cstddef>
#include <iosfwd>
#include <memory>
#include <new>

#include "QVRAtomicAccess.h"
#include "QVRBlockAllocator.h"
#include "QVRSystemExport.h"

/// Hands out memory from 128 block allocators, one for each class of sizes from 16 to
/// 7680 bytes; larger requests go to the general heap. Whoever gives memory back says
/// how much it asked for.
///
/// | bytes asked for | served in steps of |
/// |---|---|
/// | 0 to 512 | 16 |
/// | 513 to 1536 | 32 |
/// | 1537 to 3584 | 64 |
/// | 3585 to 7680 | 128 |
///
/// The environment variable `QVRPoolAllocator`, read when a pool is made, switches it
/// `on` or `off`, in any letter case; another value, or none, leaves it on. One that is
/// off sends every request to the general heap, the global `operator new`.
///
/// @par Thread safety
/// Any thread may call any operation but dump(). The destructor is one thread's, after
/// all other calls.
/// @par Cost
/// As QVRBlockAllocator; each class of sizes has a lock of its own. In the process-wide
/// pool a fork counts as a use, by the thread that forks, of each class in use.
class QVRSYSTEM_API QVRPoolAllocator {
 public:
  /// Makes the block allocators, without any segment.
  /// @throws std::bad_alloc if the heap refuses memory.
  QVRPoolAllocator();

  /// Frees the memory of all blocks, even of those in use; not that of larger requests.
  ~QVRPoolAllocator();

  QVRPoolAllocator(const QVRPoolAllocator&) = delete;
  QVRPoolAllocator& operator=(const QVRPoolAllocator&) = delete;

  /// @param size in bytes, 0 too.
  /// @return memory aligned to 16 bytes, the caller's until deallocate(); never null.
  /// @throws std::bad_alloc if the heap refuses memory; nothing changes.
  void* allocate(std::size_t size) {
    return serves(size) ? buckets_[GetBucketIndex(size)]->allocate() : ::operator new(size);
  }

  /// Takes memory back; ignores null. Throws nothing and needs no memory. What is not
  /// from the size class of `size` is reported as QVRBlockAllocator::deallocate() does.
  /// @param size what allocate() was asked for.
  void deallocate(void* memory, std::size_t size) {
    if (serves(size)) {
      buckets_[GetBucketIndex(size)]->deallocate(memory);
    } else {
      ::operator delete(memory);
    }
  }

  /// Gives what is wholly free in each size class back to the heap. Throws nothing and
  /// needs no memory, so a new-handler may call it.
  void compact();

  /// Writes sizes and use of each size class, as QVRBlockAllocator::dump(). Takes no
  /// lock: no other thread may use the pool meanwhile.
  void dump(std::ostream& out) const;

  /// Whether small requests are served here at all.
  bool isEnabled() const noexcept { return enabled_; }

  /// The pool of the process, made on first use and never destroyed: it serves static
  /// objects of all modules, before their construction and after their destruction.
  /// At exit it is compacted; in the child of a fork it can be used. Any thread may ask.
  /// @throws std::bad_alloc if it cannot be made, or while it is being made to a
  ///   new-handler called for it; the next call tries again.
  static QVRPoolAllocator& Global() {
    // Pairs with the store in Publish().
    QVRPoolAllocator* const pool =
        qvr::internal::AtomicRef<QVRPoolAllocator*>(global_).load(std::memory_order_acquire);
    return pool != nullptr ? *pool : CreateGlobal();
  }

 private:
  friend struct QVRPoolAllocatorTestAccess;

  struct ForkedBuckets;

  static constexpr std::size_t kBuckets = 128;

  // The first size that no bucket serves.
  static constexpr std::size_t kSizeLimit = 7681;

  // Buckets come in ranges of equal steps. Bucket i of a range serves sizes up to
  // above + (i - firstIndex + 1) * step.
  struct BucketRange {
    std::size_t firstIndex;
    std::size_t above;
    std::size_t step;
  };
  static constexpr BucketRange kSmall{0, 0, 16};
  static constexpr BucketRange kMedium{32, 512, 32};
  static constexpr BucketRange kLarge{64, 1536, 64};
  static constexpr BucketRange kLargest{96, 3584, 128};

  static constexpr std::size_t indexIn(const BucketRange& range, std::size_t size) {
    return (size - range.above - 1) / range.step + range.firstIndex;
  }

  // Of a size that a bucket serves.
  static constexpr std::size_t GetBucketIndex(std::size_t size) noexcept {
    if (size == 0) return 0;
    if (size <= kMedium.above) return indexIn(kSmall, size);
    if (size <= kLarge.above) return indexIn(kMedium, size);
    if (size <= kLargest.above) return indexIn(kLarge, size);
    return indexIn(kLargest, size);
  }

  // An index of 128 or more is reported ("Program error", "Invalid Bucket Index", line 59)
  // and answered with 7681.
  static std::size_t GetBucketSize(std::size_t index);
  static QVRPoolAllocator& CreateGlobal();
  static bool Publish(std::unique_ptr<QVRPoolAllocator>& made);
  static bool IsSwitchedOff();

  bool serves(std::size_t size) const noexcept { return enabled_ && size < kSizeLimit; }

  static QVRPoolAllocator* global_;

  std::array<QVRBlockAllocator*, kBuckets> buckets_{};  // owned
  const bool enabled_;
};
