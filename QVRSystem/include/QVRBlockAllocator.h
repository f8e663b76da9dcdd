// Memory in blocks of one size.
#pragma once

#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <memory>
#include <vector>

#include "QVRSysFastMutexLock.h"
#include "QVRSystemExport.h"
#include "QVRThreadAnnotations.h"

namespace qvr::internal {
class SegmentIndex;
}  // namespace qvr::internal

/// Hands out blocks of one size, carved from segments of at most 255 blocks.
///
/// A request is served by the segment that served the last one, or else by the oldest
/// with a free block, or else by a new one; within a segment, the block that was
/// freed last comes first. Blocks carry no header: the first byte of a free one is
/// the index of the next. Memory goes back to the heap only through compact().
///
/// Segments come from the global `operator new`. In builds for AddressSanitizer free
/// blocks are poisoned, and in builds for Valgrind marked as not accessible.
///
/// @par Thread safety
/// Any thread may call any operation but dump().
/// @par Cost
/// allocate() and deallocate() are constant on average, however many segments
/// there are; compact() is linear in their number.
class QVRSYSTEM_API QVRBlockAllocator {
 public:
  /// @param blockSize bytes per block, not 0. A segment holds
  ///   131072 / blockSize blocks, at most 255; 4 where the quotient is 0.
  /// @throws std::bad_alloc.
  explicit QVRBlockAllocator(std::size_t blockSize);

  /// Frees all segments, even those with blocks in use.
  ~QVRBlockAllocator();

  QVRBlockAllocator(const QVRBlockAllocator&) = delete;
  QVRBlockAllocator& operator=(const QVRBlockAllocator&) = delete;

  /// @return a block, the caller's until deallocate(); never null.
  /// @throws std::bad_alloc if the heap refuses a segment, or its bytes cannot be
  ///   counted; nothing changes.
  void* allocate();

  /// Takes back a block of this allocator; ignores null. A foreign block is
  /// reported ("Program error", "Deallocation segment not found", line 401) and left
  /// alone. Needs no memory.
  void deallocate(void* block);

  /// Gives every wholly free segment back to the heap.
  void compact();

  /// Writes sizes and use, one line per segment. Takes no lock: no other
  /// thread may use the allocator meanwhile.
  void dump(std::ostream& out) const QVR_NO_THREAD_SAFETY_ANALYSIS;

 private:
  friend class QVRPoolAllocator;  // of whose global one a fork takes all locks

  struct Segment {
    unsigned char* begin;
    unsigned char* end;
    std::uint8_t total;
    std::uint8_t free;
    std::uint8_t firstFree;
  };

  Segment* findFreeSegment() QVR_REQUIRES(lock_);
  Segment* findUsedSegment(unsigned char* block) QVR_REQUIRES(lock_);
  Segment* addSegment() QVR_REQUIRES(lock_);
  void enter(const Segment& segment) QVR_REQUIRES(lock_);
  std::size_t numberOf(const Segment& segment) const QVR_REQUIRES(lock_);
  bool tryDeallocate(unsigned char* block);
  static void freeStorage(const Segment& segment);

  const std::size_t blockSize_;
  const std::size_t blockCount_;  // per segment
  std::vector<Segment> segments_ QVR_GUARDED_BY(lock_);
  // Where a block lies, and which segments have room: derived from segments_, and
  // guarded as they are.
  const std::unique_ptr<qvr::internal::SegmentIndex> index_;
  // Where the last call was served; null while there are no segments.
  Segment* allocationSegment_ QVR_GUARDED_BY(lock_) = nullptr;
  Segment* deallocationSegment_ QVR_GUARDED_BY(lock_) = nullptr;
  QVRSysFastMutexLock lock_;
};
