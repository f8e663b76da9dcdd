#include "QVRBlockAllocator.h"

#include <algorithm>
#include <memory>
#include <new>
#include <ostream>
#include <string>
#include <utility>

#include "QVRAssert.h"
#include "QVRFreeBlock.h"
#include "QVRSegmentIndex.h"
#include "QVRSystem/internal/QVRBiasedLock.h"
#include "QVRSystem/internal/QVRThreadState.h"

using qvr::internal::BiasedLock;
using qvr::internal::BiasedLockGuard;
using qvr::internal::currentThreadSerial;
using qvr::internal::markFree;
using qvr::internal::markNew;
using qvr::internal::markUsable;
using qvr::internal::SegmentIndex;
using qvr::internal::ShortSection;

namespace {

// What callers see.
constexpr char kSource[] = "QVRSystem/QVRSystemUtilsMD.m/src/QVRBlockAllocator";
constexpr int kForeignBlockLine = 401;

constexpr std::size_t kSegmentBytes = 131072;
constexpr std::size_t kMostBlocks = 255;        // the index of a block is one byte
constexpr std::size_t kBlocksOfTheLargest = 4;  // of sizes above that of a segment
constexpr std::size_t kReservedSegments = 8;

std::size_t blocksPerSegment(std::size_t blockSize) {
  const std::size_t count = std::min(kSegmentBytes / blockSize, kMostBlocks);
  return count != 0 ? count : kBlocksOfTheLargest;
}

// With the reciprocal of a block's size, rounded up, a multiplication tells in which
// block an offset within a segment lies: the product exceeds the exact one by less than
// kSegmentBytes squared, and so by less than what carries it to the next number,
// (1 << kReciprocalBits) / blockSize.
constexpr int kReciprocalBits = 52;
static_assert(kSegmentBytes * kSegmentBytes * kSegmentBytes < std::size_t{1} << kReciprocalBits);

constexpr std::size_t reciprocalOf(std::size_t blockSize) {
  return blockSize <= kSegmentBytes ? (std::size_t{1} << kReciprocalBits) / blockSize + 1 : 0;
}

}  // namespace

struct QVRBlockAllocator::HeapDelete {
  void operator()(unsigned char* storage) const { ::operator delete(storage); }
};

// What a new segment takes, asked for while the lock is free; and what it has replaced,
// given back when the lock is free again.
struct [[gnu::visibility("hidden")]] QVRBlockAllocator::Growth {
  // Asks for what makeRoom() said.
  void fetch(std::size_t segmentBytes);
  bool hasFetched() const;

  Storage storage;
  std::size_t arrayCapacity = 0;
  SegmentIndex::Capacity indexCapacity{};
  std::vector<Segment> segments{};
  std::unique_ptr<SegmentIndex> index{};
};

// The storage of a segment to be freed, of 255 bytes at least, threaded through itself:
// there is no other memory.
struct QVRBlockAllocator::Unused {
  Unused* next;
};

QVRBlockAllocator::QVRBlockAllocator(std::size_t blockSize)
    : blockSize_(blockSize),
      blockCount_(blocksPerSegment(blockSize)),
      segmentBytes_(blockSize_ * blockCount_),
      reciprocal_(reciprocalOf(blockSize)),
      index_(std::make_unique<SegmentIndex>(segmentBytes_, SegmentIndex::Capacity{})) {
  segments_.reserve(kReservedSegments);
}

QVRBlockAllocator::~QVRBlockAllocator() {
  for (const Segment& segment : segments_) freeStorage(segment);
}

// The usual case alone: the owner of the bias takes a block where the last one came from.
// All others are tail calls, so that this one needs no frame.
void* QVRBlockAllocator::allocate() {
  BiasedLock lock(lock_);
  if (!lock.canEnter()) [[unlikely]]
    return allocateSlowly();
  const BiasedLock::Entry entry = lock.enter();
  if (!lock.hasEntered(entry)) [[unlikely]]
    return allocateElsewhere(entry.outer);
  Segment* const segment = allocationSegment_;
  if (segment == nullptr || segment->free < 2) [[unlikely]]
    return allocateElsewhere(entry.outer);
  unsigned char* const block = take(*segment);
  if (!lock.tryLeave(entry)) [[unlikely]]
    return answer(entry.outer, block);
  return block;
}

void QVRBlockAllocator::deallocate(void* memory) {
  auto* const block = static_cast<unsigned char*>(memory);
  if (block == nullptr) return;
  __builtin_prefetch(block, 1);  // where nobody has used it for long, this takes longest
  BiasedLock lock(lock_);
  if (!lock.canEnter()) [[unlikely]]
    return deallocateSlowly(block);
  const BiasedLock::Entry entry = lock.enter();
  if (!lock.hasEntered(entry)) [[unlikely]]
    return deallocateElsewhere(entry.outer, block);
  Segment* const segment = findUsedSegment(block);
  if (segment == nullptr || segment->free == 0) [[unlikely]]
    return deallocateElsewhere(entry.outer, block);
  putBack(*segment, block);
  if (!lock.tryLeave(entry)) [[unlikely]]
    answer(entry.outer, block);
}

[[gnu::noinline]] void* QVRBlockAllocator::allocateSlowly() {
  {
    const ShortSection section;
    const BiasedLockGuard guard(lock_);
    if (hasRoom() || findFreeSegment()) return takeBlock();
  }
  return allocateFromNewSegment();
}

bool QVRBlockAllocator::hasRoom() const {
  return allocationSegment_ != nullptr && allocationSegment_->free != 0;
}

void* QVRBlockAllocator::takeBlock() {
  unsigned char* const block = take(*allocationSegment_);
  if (allocationSegment_->free == 0) noteRoom(*allocationSegment_);
  return block;
}

[[gnu::noinline]] void* QVRBlockAllocator::allocateElsewhere(std::uint32_t outer) {
  BiasedLock(lock_).leave(outer);
  return allocateSlowly();
}

[[gnu::noinline]] void* QVRBlockAllocator::answer(std::uint32_t outer, void* block) {
  BiasedLock(lock_).answer(outer);
  return block;
}

[[gnu::noinline]] void QVRBlockAllocator::deallocateSlowly(unsigned char* block) {
  {
    const ShortSection section;
    const BiasedLockGuard guard(lock_);
    if (Segment* const segment = findUsedSegment(block); segment != nullptr) {
      putBack(*segment, block);
      if (segment->free == 1) noteRoom(*segment);
      return;
    }
  }
  QVRReportAssert("Program error", "Deallocation segment not found", kSource, kForeignBlockLine);
}

[[gnu::noinline]] void QVRBlockAllocator::deallocateElsewhere(std::uint32_t outer,
                                                              unsigned char* block) {
  BiasedLock(lock_).leave(outer);
  deallocateSlowly(block);
}

inline unsigned char* QVRBlockAllocator::take(Segment& segment) const noexcept {
  unsigned char* const block = segment.begin + segment.firstFree * blockSize_;
  markUsable(block, blockSize_);
  segment.firstFree = *block;
  markNew(block, blockSize_);
  --segment.free;
  return block;
}

inline void QVRBlockAllocator::putBack(Segment& segment, unsigned char* block) const noexcept {
  const std::size_t number = blockNumber(segment, block);
  unsigned char* const begin = segment.begin + number * blockSize_;
  *begin = segment.firstFree;
  segment.firstFree = static_cast<std::uint8_t>(number);
  markFree(begin, blockSize_);
  ++segment.free;
}

void QVRBlockAllocator::compact() {
  for (Unused* unused = removeUnused(); unused != nullptr;) {
    ::operator delete(std::exchange(unused, unused->next));
  }
}

// The storage goes back to the heap without the lock, as it came from there.
QVRBlockAllocator::Unused* QVRBlockAllocator::removeUnused() {
  const ShortSection section;
  const BiasedLockGuard guard(lock_);
  Unused* removed = nullptr;
  std::erase_if(segments_, [this, &removed](const Segment& segment) {
    if (segment.free != blockCount_) return false;
    markUsable(segment.begin, segmentBytes_);
    removed = new (segment.begin) Unused{removed};
    return true;
  });
  if (removed != nullptr) renewIndex();
  allocationSegment_ = segments_.empty() ? nullptr : &segments_.back();
  deallocationSegment_ = segments_.empty() ? nullptr : &segments_.front();
  return removed;
}

// Numbers as texts: decimal, whatever the stream's base and the digits of its locale.
void QVRBlockAllocator::dump(std::ostream& out) const {
  using std::to_string;
  out << "Block " << static_cast<const void*>(this) << " : Size = " << to_string(blockSize_)
      << ", Count = " << to_string(blockCount_) << std::endl;
  for (const Segment& segment : segments_) {
    out << "    Segment " << static_cast<const void*>(segment.begin)
        << " : Total = " << to_string(blockCount_)
        << ", Used = " << to_string(blockCount_ - segment.free)
        << ", Free = " << to_string(segment.free) << std::endl;
  }
}

bool QVRBlockAllocator::findFreeSegment() {
  const std::size_t number = index_->firstWithRoom();
  if (number == SegmentIndex::kNone) {
    grower_ = currentThreadSerial();
    return false;
  }
  allocationSegment_ = &segments_[number];
  if (allocationSegment_->free == blockCount_) fetchBlocks();
  return true;
}

// The list of free blocks tells where a block lies only when the one before has come into
// the cache. All blocks of a segment are about to be used: better get them at once.
void QVRBlockAllocator::fetchBlocks() const {
  for (std::size_t i = 0; i < blockCount_; ++i) {
    __builtin_prefetch(allocationSegment_->begin + i * blockSize_, 1);
  }
}

inline QVRBlockAllocator::Segment* QVRBlockAllocator::findUsedSegment(const unsigned char* block) {
  Segment* const last = deallocationSegment_;
  if (last != nullptr && holds(*last, block)) return last;
  const std::size_t number = index_->candidate(block);
  if (number == SegmentIndex::kNone || !holds(segments_[number], block)) return nullptr;
  return deallocationSegment_ = &segments_[number];
}

inline bool QVRBlockAllocator::holds(const Segment& segment,
                                     const unsigned char* block) const noexcept {
  // As numbers: the block may be no part of the segment.
  const auto begin = reinterpret_cast<std::uintptr_t>(segment.begin);
  return reinterpret_cast<std::uintptr_t>(block) - begin < segmentBytes_;
}

inline std::size_t QVRBlockAllocator::blockNumber(const Segment& segment,
                                                  const unsigned char* block) const noexcept {
  const auto offset = static_cast<std::size_t>(block - segment.begin);
  return reciprocal_ != 0 ? offset * reciprocal_ >> kReciprocalBits : offset / blockSize_;
}

// The heap is asked without the lock: whoever answers for it may wait for other threads,
// or take locks of its own.
void* QVRBlockAllocator::allocateFromNewSegment() {
  Growth growth{newStorage()};
  void* block = nullptr;
  while ((block = tryAllocate(growth)) == nullptr) growth.fetch(segmentBytes_);
  return block;
}

auto QVRBlockAllocator::newStorage() const -> Storage {
  if (segmentBytes_ / blockCount_ != blockSize_) throw std::bad_alloc();
  Storage storage(static_cast<unsigned char*>(::operator new(segmentBytes_)));
  for (std::size_t i = 0; i < blockCount_; ++i) {
    storage.get()[i * blockSize_] = static_cast<unsigned char>(i + 1);
  }
  return storage;
}

// Only another thread's segments can make the new one needless: what this thread itself
// did meanwhile, in a new-handler, it did knowing that a segment was on its way.
void* QVRBlockAllocator::tryAllocate(Growth& growth) {
  const ShortSection section;
  const BiasedLockGuard guard(lock_);
  if (grower_ != currentThreadSerial() && (hasRoom() || findFreeSegment())) return takeBlock();
  if (!makeRoom(growth)) return nullptr;
  addSegment(growth.storage.release());
  return takeBlock();
}

// @return whether there is room for one more segment in the array and in the index.
bool QVRBlockAllocator::makeRoom(Growth& growth) {
  const std::size_t needed = segments_.size() + 1;
  const std::size_t capacity = segments_.capacity();
  growth.arrayCapacity = needed <= capacity ? capacity : 2 * needed;
  growth.indexCapacity = index_->capacityFor(needed);
  if (growth.arrayCapacity == capacity && growth.indexCapacity == index_->capacity()) return true;
  if (!growth.hasFetched()) return false;
  growth.segments.assign(segments_.begin(), segments_.end());
  segments_.swap(growth.segments);
  index_.swap(growth.index);
  renewIndex();
  return true;
}

void QVRBlockAllocator::Growth::fetch(std::size_t segmentBytes) {
  std::vector<Segment>().swap(segments);
  segments.reserve(arrayCapacity);
  index = std::make_unique<SegmentIndex>(segmentBytes, indexCapacity);
}

bool QVRBlockAllocator::Growth::hasFetched() const {
  return index != nullptr && segments.capacity() >= arrayCapacity &&
         index->capacity().covers(indexCapacity);
}

void QVRBlockAllocator::addSegment(unsigned char* begin) {
  markFree(begin, segmentBytes_);
  segments_.push_back({begin, static_cast<std::uint8_t>(blockCount_), 0});
  enter(segments_.back());
  allocationSegment_ = &segments_.back();
  deallocationSegment_ = &segments_.front();
}

void QVRBlockAllocator::enter(const Segment& segment) {
  index_->add(segment.begin, numberOf(segment));
  if (segment.free != 0) noteRoom(segment);
}

[[gnu::noinline]] void QVRBlockAllocator::noteRoom(const Segment& segment) {
  index_->setRoom(numberOf(segment), segment.free != 0);
}

void QVRBlockAllocator::renewIndex() {
  index_->clear();
  for (const Segment& segment : segments_) enter(segment);
}

std::size_t QVRBlockAllocator::numberOf(const Segment& segment) const {
  return static_cast<std::size_t>(&segment - segments_.data());
}

void QVRBlockAllocator::freeStorage(const Segment& segment) const {
  markUsable(segment.begin, segmentBytes_);
  ::operator delete(segment.begin);
}

bool QVRBlockAllocator::isValid() const {
  std::size_t firstWithRoom = SegmentIndex::kNone;
  for (const Segment& segment : segments_) {
    const std::size_t number = numberOf(segment);
    if (firstWithRoom == SegmentIndex::kNone && segment.free != 0) firstWithRoom = number;
    if (segment.free > blockCount_) return false;
    if (index_->candidate(segment.begin) != number) return false;
    if (index_->candidate(segment.begin + segmentBytes_ - 1) != number) return false;
  }
  const auto isOneOfThem = [this](const Segment* segment) QVR_NO_THREAD_SAFETY_ANALYSIS {
    return segment == nullptr ? segments_.empty() : numberOf(*segment) < segments_.size();
  };
  return index_->firstWithRoom() == firstWithRoom && isOneOfThem(allocationSegment_) &&
         isOneOfThem(deallocationSegment_);
}
