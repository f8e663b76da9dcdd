// Items in the order in which they came.
#pragma once

#include <algorithm>
#include <cstddef>
#include <memory>
#include <new>
#include <type_traits>
#include <utility>

namespace qvr::internal {

/// A first-in, first-out sequence that never moves an item: memory comes in chunks, of which
/// one that is used up is kept for the next. Unlike std::deque it needs none while it is empty,
/// none as long as what is added and removed stays within two chunks, and no table of its
/// chunks. It neither allocates nor frees while items come and go: the caller does, without
/// its locks.
///
/// @par Thread safety
/// One thread at a time.
/// @par Cost
/// Constant to add and remove, whatever the number of items.
template <class T>
class ChunkedQueue {
  struct Chunk;

 public:
  /// Memory for some dozens of items, or none.
  using Memory = std::unique_ptr<Chunk>;

  ChunkedQueue() noexcept = default;
  ChunkedQueue(const ChunkedQueue&) = delete;
  ChunkedQueue& operator=(const ChunkedQueue&) = delete;

  ~ChunkedQueue() noexcept(std::is_nothrow_destructible_v<T>) {
    const Storage storage{*this};
    clear();
  }

  bool isEmpty() const noexcept { return front_ == back_; }

  /// The item that came first; there must be one.
  T& front() noexcept { return *front_; }

  /// @throws std::bad_alloc
  static Memory allocate() { return std::make_unique_for_overwrite<Chunk>(); }

  /// Makes an item behind the others, in `memory` where there is no other room.
  /// @return whether it did; not where that takes memory and there is none. Changes nothing
  ///   then, nor if the item throws.
  template <class... Arguments>
  bool append(Memory& memory, Arguments&&... arguments) {
    if (back_ != end_) {
      std::construct_at(back_, std::forward<Arguments>(arguments)...);
      ++back_;
      return true;
    }
    if (spare_ == nullptr) spare_ = memory.release();
    if (spare_ == nullptr) return false;
    std::construct_at(spare_->begin(), std::forward<Arguments>(arguments)...);
    link(std::exchange(spare_, nullptr));
    return true;
  }

  /// Destroys the item that came first; it is gone whatever its destructor throws.
  /// @param surplus given memory that the queue will not need, if any.
  void removeFront(Memory& surplus) noexcept(std::is_nothrow_destructible_v<T>) {
    const Step step{*this, surplus};
    std::destroy_at(front_);
  }

  /// Destroys the items, front first, all of them whatever they throw; the last exception
  /// comes through.
  void clear() noexcept(std::is_nothrow_destructible_v<T>) {
    Memory surplus;
    if constexpr (std::is_nothrow_destructible_v<T>) {
      while (!isEmpty()) removeFront(surplus);
    } else {
      try {
        while (!isEmpty()) removeFront(surplus);
      } catch (...) {
        clear();
        throw;
      }
    }
  }

  void swap(ChunkedQueue& other) noexcept {
    std::swap(first_, other.first_);
    std::swap(last_, other.last_);
    std::swap(spare_, other.spare_);
    std::swap(front_, other.front_);
    std::swap(back_, other.back_);
    std::swap(end_, other.end_);
  }

 private:
  static constexpr std::size_t kChunkBytes = 2048;
  static constexpr std::size_t kItems =
      std::max<std::size_t>(8, (kChunkBytes - sizeof(void*)) / sizeof(T));

  struct Chunk {
    T* begin() noexcept { return std::launder(reinterpret_cast<T*>(bytes)); }
    T* end() noexcept { return begin() + kItems; }

    Chunk* next = nullptr;
    alignas(T) std::byte bytes[kItems * sizeof(T)];
  };

  /// Goes past the first item at the end of a scope.
  struct Step {
    ~Step() { queue.goOn(surplus); }
    ChunkedQueue& queue;
    Memory& surplus;
  };

  /// Frees the chunks at the end of a scope.
  struct Storage {
    ~Storage() {
      while (queue.first_ != nullptr) delete std::exchange(queue.first_, queue.first_->next);
      delete queue.spare_;
    }
    ChunkedQueue& queue;
  };

  // A chunk behind the others, with one item.
  void link(Chunk* chunk) noexcept {
    chunk->next = nullptr;
    if (first_ == nullptr) {
      first_ = chunk;
      front_ = chunk->begin();
    } else {
      last_->next = chunk;
    }
    last_ = chunk;
    back_ = chunk->begin() + 1;
    end_ = chunk->end();
  }

  void goOn(Memory& surplus) noexcept {
    ++front_;
    if (front_ == back_) {
      front_ = back_ = last_->begin();  // empty: uses the same memory again
    } else if (front_ == first_->end()) {
      Chunk* const used = std::exchange(first_, first_->next);
      front_ = first_->begin();
      surplus.reset(std::exchange(spare_, used));
    }
  }

  Chunk* first_ = nullptr;  // linked to the last; null before the first item
  Chunk* last_ = nullptr;
  Chunk* spare_ = nullptr;
  T* front_ = nullptr;  // the first item, in the first chunk
  T* back_ = nullptr;   // behind the last item, in the last chunk
  T* end_ = nullptr;    // of the last chunk
};

}  // namespace qvr::internal
