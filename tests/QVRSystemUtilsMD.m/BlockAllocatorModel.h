// A block allocator that takes the plainest way to each result.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <sstream>
#include <string>
#include <vector>

/// What the allocator writes of itself.
template <class Allocator>
std::string dumpOf(const Allocator& allocator) {
  std::ostringstream out;
  allocator.dump(out);
  return out.str();
}

/// Where the segment on the last line of a block allocator's dump begins.
inline unsigned char* lastSegmentOf(const std::string& dump) {
  constexpr char kHeading[] = "    Segment ";
  void* begin = nullptr;
  std::istringstream(dump.substr(dump.rfind(kHeading) + sizeof kHeading - 1)) >> begin;
  return static_cast<unsigned char*>(begin);
}

/// Tells what a block allocator answers and writes. It walks an array of segments from the
/// first, and keeps the blocks' first bytes itself: it never touches their memory.
class BlockAllocatorModel {
 public:
  explicit BlockAllocatorModel(std::size_t blockSize) : blockSize_(blockSize) {
    const std::size_t fitting = 131072 / blockSize;
    blockCount_ = fitting == 0 ? 4 : fitting > 255 ? 255 : fitting;
  }

  /// @param beginOfNew tells where the segment lies that the allocator has just made; called
  ///   where it must have made one.
  unsigned char* allocate(const std::function<unsigned char*()>& beginOfNew) {
    if (!findFreeSegment()) addSegment(beginOfNew());
    Segment& segment = segments_[allocationSegment_];
    const std::size_t block = segment.firstFree;
    segment.firstFree = segment.firstBytes[block];
    --segment.free;
    return segment.begin + block * blockSize_;
  }

  /// @return whether a segment has the block.
  bool deallocate(unsigned char* block) {
    if (!findUsedSegment(block)) return false;
    Segment& segment = segments_[deallocationSegment_];
    const std::size_t index = static_cast<std::size_t>(block - segment.begin) / blockSize_;
    segment.firstBytes[index] = segment.firstFree;
    segment.firstFree = static_cast<std::uint8_t>(index);
    ++segment.free;
    return true;
  }

  void compact() {
    for (std::size_t i = 0; i < segments_.size();) {
      if (segments_[i].free == segments_[i].total) {
        segments_.erase(segments_.begin() + static_cast<std::ptrdiff_t>(i));
      } else {
        ++i;
      }
    }
    allocationSegment_ = segments_.empty() ? 0 : segments_.size() - 1;
    deallocationSegment_ = 0;
  }

  std::string dump(const void* allocator) const {
    std::ostringstream out;
    out << "Block " << allocator << " : Size = " << blockSize_ << ", Count = " << blockCount_
        << '\n';
    for (const Segment& segment : segments_) {
      out << "    Segment " << static_cast<const void*>(segment.begin)
          << " : Total = " << int{segment.total} << ", Used = " << segment.total - segment.free
          << ", Free = " << int{segment.free} << '\n';
    }
    return out.str();
  }

 private:
  struct Segment {
    unsigned char* begin;
    unsigned char* end;
    std::uint8_t total;
    std::uint8_t free;
    std::uint8_t firstFree;
    std::vector<std::uint8_t> firstBytes;  // of each block
  };

  bool findFreeSegment() {
    if (!segments_.empty() && segments_[allocationSegment_].free != 0) return true;
    for (std::size_t i = 0; i < segments_.size(); ++i) {
      if (segments_[i].free == 0) continue;
      allocationSegment_ = i;
      return true;
    }
    return false;
  }

  bool findUsedSegment(const unsigned char* block) {
    const auto holds = [block](const Segment& segment) {
      return segment.begin <= block && block < segment.end;
    };
    if (!segments_.empty() && holds(segments_[deallocationSegment_])) return true;
    for (std::size_t i = 0; i < segments_.size(); ++i) {
      if (!holds(segments_[i])) continue;
      deallocationSegment_ = i;
      return true;
    }
    return false;
  }

  void addSegment(unsigned char* begin) {
    const auto total = static_cast<std::uint8_t>(blockCount_);
    Segment segment{begin, begin + blockSize_ * blockCount_, total, total, 0, {}};
    for (std::size_t i = 0; i < blockCount_; ++i) {
      segment.firstBytes.push_back(static_cast<std::uint8_t>(i + 1));
    }
    segments_.push_back(segment);
    allocationSegment_ = segments_.size() - 1;
    deallocationSegment_ = 0;
  }

  const std::size_t blockSize_;
  std::size_t blockCount_ = 0;
  std::vector<Segment> segments_;
  // Where the last calls were served; 0 while there are no segments.
  std::size_t allocationSegment_ = 0;
  std::size_t deallocationSegment_ = 0;
};
