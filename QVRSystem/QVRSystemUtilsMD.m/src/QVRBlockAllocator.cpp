#include "QVRBlockAllocator.h"

#include <algorithm>
#include <new>
#include <ostream>

#include "QVRAssert.h"
#include "QVRFreeBlock.h"
#include "QVRSegmentIndex.h"
#include "QVRSystem/internal/QVRThreadState.h"

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

struct HeapDelete {
  void operator()(unsigned char* storage) const { ::operator delete(storage); }
};

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
  Segment& segment = *findFreeSegment();
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
  *block = segment->firstFree;
  segment->firstFree =
      static_cast<std::uint8_t>(static_cast<std::size_t>(block - segment->begin) / blockSize_);
  markFree(block, blockSize_);
  if (segment->free++ == 0) index_->setRoom(numberOf(*segment), true);
  return true;
}

void QVRBlockAllocator::compact() {
  const ShortSection section;
  const QVRSysFastMutexLock::LockGuard guard(lock_);
  std::erase_if(segments_, [](const Segment& segment) {
    const bool unused = segment.free == segment.total;
    if (unused) freeStorage(segment);
    return unused;
  });
  index_->clear();
  for (const Segment& segment : segments_) enter(segment);
  allocationSegment_ = segments_.empty() ? nullptr : &segments_.back();
  deallocationSegment_ = segments_.empty() ? nullptr : &segments_.front();
}

void QVRBlockAllocator::dump(std::ostream& out) const {
  out << "Block " << static_cast<const void*>(this) << " : Size = " << blockSize_
      << ", Count = " << blockCount_ << std::endl;
  for (const Segment& segment : segments_) {
    out << "    Segment " << static_cast<const void*>(segment.begin)
        << " : Total = " << +segment.total << ", Used = " << segment.total - segment.free
        << ", Free = " << +segment.free << std::endl;
  }
}

QVRBlockAllocator::Segment* QVRBlockAllocator::findFreeSegment() {
  if (allocationSegment_ == nullptr || allocationSegment_->free == 0) {
    const std::size_t number = index_->firstWithRoom();
    allocationSegment_ = number != SegmentIndex::kNone ? &segments_[number] : addSegment();
  }
  return allocationSegment_;
}

QVRBlockAllocator::Segment* QVRBlockAllocator::findUsedSegment(unsigned char* block) {
  Segment* const last = deallocationSegment_;
  if (last != nullptr && last->begin <= block && block < last->end) return last;
  const std::size_t number = index_->segmentOf(block);
  if (number == SegmentIndex::kNone) return nullptr;
  return deallocationSegment_ = &segments_[number];
}

QVRBlockAllocator::Segment* QVRBlockAllocator::addSegment() {
  const std::size_t bytes = blockSize_ * blockCount_;
  if (bytes / blockCount_ != blockSize_) throw std::bad_alloc();
  std::unique_ptr<unsigned char, HeapDelete> storage(
      static_cast<unsigned char*>(::operator new(bytes)));
  index_->reserve(segments_.size() + 1);
  const auto total = static_cast<std::uint8_t>(blockCount_);
  segments_.push_back({storage.get(), storage.get() + bytes, total, total, 0});
  unsigned char* const begin = storage.release();
  for (std::size_t i = 0; i < blockCount_; ++i) {
    begin[i * blockSize_] = static_cast<unsigned char>(i + 1);
  }
  markFree(begin, bytes);
  enter(segments_.back());
  // The array may have moved.
  deallocationSegment_ = &segments_.front();
  return &segments_.back();
}

void QVRBlockAllocator::enter(const Segment& segment) {
  const std::size_t number = numberOf(segment);
  index_->add(segment.begin, number);
  if (segment.free != 0) index_->setRoom(number, true);
}

std::size_t QVRBlockAllocator::numberOf(const Segment& segment) const {
  return static_cast<std::size_t>(&segment - segments_.data());
}

void QVRBlockAllocator::freeStorage(const Segment& segment) {
  markUsable(segment.begin, static_cast<std::size_t>(segment.end - segment.begin));
  ::operator delete(segment.begin);
}
