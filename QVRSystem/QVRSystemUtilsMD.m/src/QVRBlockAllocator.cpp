#include "QVRBlockAllocator.h"

#include <algorithm>
#include <new>
#include <ostream>
#include <string>

#include "QVRAssert.h"
#include "QVRFreeBlock.h"
#include "QVRSegmentIndex.h"
#include "QVRSystem/internal/QVRThreadState.h"

using qvr::internal::markFree;
using qvr::internal::markNew;
using qvr::internal::markUsable;
using qvr::internal::newVector;
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

struct HeapDelete {
  void operator()(unsigned char* storage) const { ::operator delete(storage); }
};
using Storage = std::unique_ptr<unsigned char, HeapDelete>;

}  // namespace

QVRBlockAllocator::QVRBlockAllocator(std::size_t blockSize)
    : blockSize_(blockSize),
      blockCount_(blocksPerSegment(blockSize)),
      index_(std::make_unique<SegmentIndex>(blockSize_ * blockCount_)) {
  segments_.reserve(kReservedSegments);
}

QVRBlockAllocator::~QVRBlockAllocator() {
  for (const Segment& segment : segments_) freeStorage(segment);
}

void* QVRBlockAllocator::allocate() {
  const ShortSection section;
  const QVRSysFastMutexLock::LockGuard guard(lock_);
  Segment& segment = findFreeSegment();
  unsigned char* const block = segment.begin + segment.firstFree * blockSize_;
  markUsable(block, blockSize_);
  segment.firstFree = *block;
  markNew(block, blockSize_);
  if (--segment.free == 0) index_->setRoom(numberOf(segment), false);
  return block;
}

void QVRBlockAllocator::deallocate(void* block) {
  if (block == nullptr) return;
  if (!tryDeallocate(static_cast<unsigned char*>(block))) {
    QVRReportAssert("Program error", "Deallocation segment not found", kSource, kForeignBlockLine);
  }
}

bool QVRBlockAllocator::tryDeallocate(unsigned char* block) {
  const ShortSection section;
  const QVRSysFastMutexLock::LockGuard guard(lock_);
  Segment* const segment = findUsedSegment(block);
  if (segment == nullptr) return false;
  const std::size_t index = static_cast<std::size_t>(block - segment->begin) / blockSize_;
  *block = segment->firstFree;
  segment->firstFree = static_cast<std::uint8_t>(index);
  markFree(segment->begin + index * blockSize_, blockSize_);
  if (segment->free++ == 0) index_->setRoom(numberOf(*segment), true);
  return true;
}

void QVRBlockAllocator::compact() {
  const ShortSection section;
  const QVRSysFastMutexLock::LockGuard guard(lock_);
  const std::size_t before = segments_.size();
  std::erase_if(segments_, [](const Segment& segment) {
    const bool unused = segment.free == segment.total;
    if (unused) freeStorage(segment);
    return unused;
  });
  if (segments_.size() != before) renewIndex();
  allocationSegment_ = segments_.empty() ? nullptr : &segments_.back();
  deallocationSegment_ = segments_.empty() ? nullptr : &segments_.front();
}

// Numbers as texts: decimal, whatever the stream's base and the digits of its locale.
void QVRBlockAllocator::dump(std::ostream& out) const {
  using std::to_string;
  out << "Block " << static_cast<const void*>(this) << " : Size = " << to_string(blockSize_)
      << ", Count = " << to_string(blockCount_) << std::endl;
  for (const Segment& segment : segments_) {
    out << "    Segment " << static_cast<const void*>(segment.begin)
        << " : Total = " << to_string(segment.total)
        << ", Used = " << to_string(segment.total - segment.free)
        << ", Free = " << to_string(segment.free) << std::endl;
  }
}

QVRBlockAllocator::Segment& QVRBlockAllocator::findFreeSegment() {
  if (allocationSegment_ == nullptr || allocationSegment_->free == 0) {
    const std::size_t number = index_->firstWithRoom();
    if (number != SegmentIndex::kNone) {
      allocationSegment_ = &segments_[number];
    } else {
      addSegment();
    }
  }
  return *allocationSegment_;
}

QVRBlockAllocator::Segment* QVRBlockAllocator::findUsedSegment(unsigned char* block) {
  Segment* const last = deallocationSegment_;
  if (last != nullptr && last->begin <= block && block < last->end) return last;
  const std::size_t number = index_->segmentOf(block);
  if (number == SegmentIndex::kNone) return nullptr;
  return deallocationSegment_ = &segments_[number];
}

void QVRBlockAllocator::addSegment() {
  const std::size_t bytes = blockSize_ * blockCount_;
  if (bytes / blockCount_ != blockSize_) throw std::bad_alloc();
  Storage storage(static_cast<unsigned char*>(::operator new(bytes)));
  const std::vector<Segment> outgrown = makeRoom();
  unsigned char* const begin = storage.release();
  for (std::size_t i = 0; i < blockCount_; ++i) {
    begin[i * blockSize_] = static_cast<unsigned char>(i + 1);
  }
  markFree(begin, bytes);
  const auto total = static_cast<std::uint8_t>(blockCount_);
  segments_.push_back({begin, begin + bytes, total, total, 0});
  enter(segments_.back());
  allocationSegment_ = &segments_.back();
  deallocationSegment_ = &segments_.front();
}

// Whoever answers for the heap may use this allocator meanwhile, as a new-handler does
// that frees or compacts: so the array is left alone until both have their room, and the
// old one lasts until nothing points into it.
std::vector<QVRBlockAllocator::Segment> QVRBlockAllocator::makeRoom() {
  std::vector<Segment> array;
  std::size_t needed = 0;
  do {
    needed = segments_.size() + 1;
    if (segments_.capacity() < needed) array = newVector<Segment>(2 * needed);
    index_->reserve(needed);
  } while (segments_.size() >= needed);
  if (segments_.capacity() < needed) {
    array.assign(segments_.begin(), segments_.end());
    segments_.swap(array);
  }
  return array;
}

void QVRBlockAllocator::enter(const Segment& segment) {
  const std::size_t number = numberOf(segment);
  index_->add(segment.begin, number);
  if (segment.free != 0) index_->setRoom(number, true);
}

void QVRBlockAllocator::renewIndex() {
  index_->clear();
  for (const Segment& segment : segments_) enter(segment);
}

std::size_t QVRBlockAllocator::numberOf(const Segment& segment) const {
  return static_cast<std::size_t>(&segment - segments_.data());
}

void QVRBlockAllocator::freeStorage(const Segment& segment) {
  markUsable(segment.begin, static_cast<std::size_t>(segment.end - segment.begin));
  ::operator delete(segment.begin);
}

bool QVRBlockAllocator::isValid() const {
  std::size_t firstWithRoom = SegmentIndex::kNone;
  for (const Segment& segment : segments_) {
    const std::size_t number = numberOf(segment);
    if (firstWithRoom == SegmentIndex::kNone && segment.free != 0) firstWithRoom = number;
    if (segment.free > segment.total) return false;
    if (index_->segmentOf(segment.begin) != number) return false;
    if (index_->segmentOf(segment.end - 1) != number) return false;
  }
  const auto isOneOfThem = [this](const Segment* segment) QVR_NO_THREAD_SAFETY_ANALYSIS {
    return segment == nullptr ? segments_.empty() : numberOf(*segment) < segments_.size();
  };
  return index_->firstWithRoom() == firstWithRoom && isOneOfThem(allocationSegment_) &&
         isOneOfThem(deallocationSegment_);
}
