// Memory in blocks of one size.
#pragma once

#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <memory>
#include <vector>

#include "QVRBiasedLockStorage.h"
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
/// Segments come from the global `operator new`, which is called without a lock: whoever
/// answers for the heap, a new-handler for instance, may call any operation but dump() of
/// any allocator, wait for threads that do, and fork. In builds for AddressSanitizer free
/// blocks are poisoned, and in builds for Valgrind marked as not accessible.
///
/// @par Thread safety
/// Any thread may call any operation but dump(). The destructor is one thread's, after
/// all other calls.
/// @par Cost
/// allocate() and deallocate() are constant on average, however many segments
/// there are; compact() is linear in their number, or in the largest that it has been
/// where it frees any. A thread that uses an allocator alone for a time takes the lock without
/// atomic operations. Another one that comes waits some microseconds for that to end, and
/// so do threads at work that take turns: each has it for some hundred operations.
class QVRSYSTEM_API QVRBlockAllocator {
 public:
  /// Makes no segment yet.
  /// @param blockSize bytes per block, not 0: that divides by zero. A segment holds
  ///   131072 / blockSize blocks, at most 255; 4 where the quotient is 0.
  /// @throws std::bad_alloc if the heap refuses memory.
  explicit QVRBlockAllocator(std::size_t blockSize);

  /// Frees all segments, even those with blocks in use.
  ~QVRBlockAllocator();

  QVRBlockAllocator(const QVRBlockAllocator&) = delete;
  QVRBlockAllocator& operator=(const QVRBlockAllocator&) = delete;

  /// @return a block, the caller's until deallocate(); never null. Blocks lie side by
  ///   side: they are aligned to 16 bytes where blockSize is a multiple of 16. What a
  ///   block holds is indeterminate.
  /// @throws std::bad_alloc if a new segment is needed and the heap refuses it, or its
  ///   bytes cannot be counted; nothing changes.
  void* allocate() QVR_NO_THREAD_SAFETY_ANALYSIS;  // takes the lock by its bias

  /// Takes back a block of this allocator; ignores null. A pointer that lies in none of
  /// its segments is reported ("Program error", "Deallocation segment not found",
  /// line 401) and left alone. Throws nothing and needs no memory.
  void deallocate(void* block) QVR_NO_THREAD_SAFETY_ANALYSIS;  // as allocate()

  /// Gives every wholly free segment back to the heap. Then the youngest that is left
  /// serves the next request. Throws nothing and needs no memory.
  void compact();

  /// Writes sizes and use: a line for the allocator, and one for each segment in the
  /// order in which they were made. Takes no lock: no other thread may use the allocator
  /// meanwhile. Throws what the stream throws.
  void dump(std::ostream& out) const QVR_NO_THREAD_SAFETY_ANALYSIS;

 private:
  friend struct QVRBlockAllocatorTestAccess;
  friend class QVRPoolAllocator;  // of whose global one a fork takes all locks

  struct Segment {
    unsigned char* begin;
    std::uint8_t free;  // blocks, of blockCount_
    std::uint8_t firstFree;
  };

  struct Growth;
  struct HeapDelete;
  struct Unused;
  using Storage = std::unique_ptr<unsigned char, HeapDelete>;

  void* allocateSlowly();
  void* allocateElsewhere(std::uint32_t outer);
  void* answer(std::uint32_t outer, void* block);
  void deallocateSlowly(unsigned char* block);
  void deallocateElsewhere(std::uint32_t outer, unsigned char* block);
  unsigned char* take(Segment& segment) const noexcept;
  void putBack(Segment& segment, unsigned char* block) const noexcept;
  bool hasRoom() const QVR_REQUIRES(lock_);
  bool findFreeSegment() QVR_REQUIRES(lock_);
  void* takeBlock() QVR_REQUIRES(lock_);
  void* allocateFromNewSegment();
  Storage newStorage() const;
  void* tryAllocate(Growth& growth);
  bool makeRoom(Growth& growth) QVR_REQUIRES(lock_);
  Segment* findUsedSegment(const unsigned char* block) QVR_REQUIRES(lock_);
  void fetchBlocks() const QVR_REQUIRES(lock_);
  void addSegment(unsigned char* begin) QVR_REQUIRES(lock_);
  Unused* removeUnused();
  void enter(const Segment& segment) QVR_REQUIRES(lock_);
  void noteRoom(const Segment& segment) QVR_REQUIRES(lock_);
  void renewIndex() QVR_REQUIRES(lock_);
  std::size_t numberOf(const Segment& segment) const QVR_REQUIRES(lock_);
  bool holds(const Segment& segment, const unsigned char* block) const noexcept;
  std::size_t blockNumber(const Segment& segment, const unsigned char* block) const noexcept;
  void freeStorage(const Segment& segment) const;

  // Both remembered segments are among the segments, or null while there are none; the
  // index finds every segment, and the first of those that have room.
  bool isValid() const QVR_NO_THREAD_SAFETY_ANALYSIS;

  const std::size_t blockSize_;
  const std::size_t blockCount_;  // per segment
  const std::size_t segmentBytes_;
  const std::size_t reciprocal_;  // of blockSize_; 0 where a division has to do
  std::vector<Segment> segments_ QVR_GUARDED_BY(lock_);
  // Where a block lies, and which segments have room: derived from segments_.
  std::unique_ptr<qvr::internal::SegmentIndex> index_ QVR_GUARDED_BY(lock_)
      QVR_PT_GUARDED_BY(lock_);
  // Where the last call was served; null while there are no segments.
  Segment* allocationSegment_ QVR_GUARDED_BY(lock_) = nullptr;
  Segment* deallocationSegment_ QVR_GUARDED_BY(lock_) = nullptr;
  // Serial of the last thread that found no room; whoever adds a segment is that one.
  std::uint64_t grower_ QVR_GUARDED_BY(lock_) = 0;
  qvr::internal::BiasedLockStorage lock_;
};
