// Takes the place of the library's QVRAtomicAccess.h: each operation is a point at
// which other threads may run.
//
// Memory orders are accepted and have no effect: what is explored are the
// sequentially consistent executions.
#pragma once

#include <atomic>
#include <cstdint>
#include <cstring>
#include <type_traits>

#include "scheduler/SchedulingPoint.h"

namespace qvr::internal {

namespace model {

using scheduler::Operation;

template <class T>
std::uint64_t bitsOf(const T& value) noexcept {
  static_assert(sizeof(T) <= sizeof(std::uint64_t));
  std::uint64_t bits = 0;
  std::memcpy(&bits, &value, sizeof(T));
  return bits;
}

/// What a trace shows of a value: of a pointer only whether there is one, since
/// addresses change from run to run.
template <class T>
std::uint64_t shown(const T& value) noexcept {
  if constexpr (std::is_pointer_v<T>) {
    return value != nullptr;
  } else {
    return bitsOf(value);
  }
}

/// Performs an operation on a word, after others had their turn.
template <class T, class Action>
auto atomically(Operation operation, T& word, Action action) noexcept {
  if (!scheduler::onThread()) return action();
  scheduler::point(operation, &word);
  const std::uint64_t before = shown(word);
  const auto result = action();
  scheduler::note(before, shown(word));
  return result;
}

/// Puts a value in the place of the one that is there. @return the latter.
template <class T>
T replace(Operation operation, T& word, T value) noexcept {
  return atomically(operation, word, [&] {
    const T before = word;
    word = value;
    return before;
  });
}

template <class T>
bool compareAndReplace(T& word, T& expected, T value, bool mayFail) noexcept {
  return atomically(Operation::CompareExchange, word, [&] {
    const bool equal = bitsOf(word) == bitsOf(expected);
    if (!equal) expected = word;
    if (!equal || (mayFail && scheduler::onThread() && scheduler::happensForNoReason())) {
      return false;
    }
    word = value;
    return true;
  });
}

}  // namespace model

template <class T>
class AtomicRef {
  using Operation = scheduler::Operation;
  using Order = std::memory_order;

 public:
  explicit AtomicRef(T& word) noexcept : word_(word) {}
  AtomicRef(const AtomicRef&) noexcept = default;
  AtomicRef& operator=(const AtomicRef&) = delete;

  T load(Order = Order::seq_cst) const noexcept {
    return model::atomically(Operation::Load, word_, [this] { return word_; });
  }
  void store(T value, Order = Order::seq_cst) const noexcept {
    model::replace(Operation::Store, word_, value);
  }
  T exchange(T value, Order = Order::seq_cst) const noexcept {
    return model::replace(Operation::Exchange, word_, value);
  }
  bool compare_exchange_strong(T& expected, T value, Order = Order::seq_cst,
                               Order = Order::seq_cst) const noexcept {
    return model::compareAndReplace(word_, expected, value, false);
  }
  bool compare_exchange_weak(T& expected, T value, Order = Order::seq_cst,
                             Order = Order::seq_cst) const noexcept {
    return model::compareAndReplace(word_, expected, value, true);
  }
  T fetch_add(T step, Order = Order::seq_cst) const noexcept {
    return change(Operation::Add, [step](T value) { return static_cast<T>(value + step); });
  }
  T fetch_sub(T step, Order = Order::seq_cst) const noexcept {
    return change(Operation::Add, [step](T value) { return static_cast<T>(value - step); });
  }
  T fetch_and(T mask, Order = Order::seq_cst) const noexcept {
    return change(Operation::And, [mask](T value) { return static_cast<T>(value & mask); });
  }
  T fetch_or(T mask, Order = Order::seq_cst) const noexcept {
    return change(Operation::Or, [mask](T value) { return static_cast<T>(value | mask); });
  }
  T operator=(T value) const noexcept {
    store(value);
    return value;
  }
  operator T() const noexcept { return load(); }

 private:
  template <class Function>
  T change(Operation operation, Function function) const noexcept {
    return model::atomically(operation, word_, [&] {
      const T before = word_;
      word_ = function(before);
      return before;
    });
  }

  T& word_;
};

template <class T>
class Atomic {
  using Order = std::memory_order;

 public:
  constexpr Atomic() noexcept = default;
  constexpr Atomic(T value) noexcept : word_(value) {}
  Atomic(const Atomic&) = delete;
  Atomic& operator=(const Atomic&) = delete;

  T load(Order = Order::seq_cst) const noexcept { return ref().load(); }
  void store(T value, Order = Order::seq_cst) noexcept { ref().store(value); }
  T exchange(T value, Order = Order::seq_cst) noexcept { return ref().exchange(value); }
  bool compare_exchange_strong(T& expected, T value, Order = Order::seq_cst,
                               Order = Order::seq_cst) noexcept {
    return ref().compare_exchange_strong(expected, value);
  }
  bool compare_exchange_weak(T& expected, T value, Order = Order::seq_cst,
                             Order = Order::seq_cst) noexcept {
    return ref().compare_exchange_weak(expected, value);
  }
  T fetch_add(T step, Order = Order::seq_cst) noexcept { return ref().fetch_add(step); }
  T fetch_sub(T step, Order = Order::seq_cst) noexcept { return ref().fetch_sub(step); }
  T fetch_and(T mask, Order = Order::seq_cst) noexcept { return ref().fetch_and(mask); }
  T fetch_or(T mask, Order = Order::seq_cst) noexcept { return ref().fetch_or(mask); }
  T operator=(T value) noexcept { return ref() = value; }
  operator T() const noexcept { return load(); }

 private:
  AtomicRef<T> ref() const noexcept { return AtomicRef<T>(word_); }

  mutable T word_{};
};

}  // namespace qvr::internal
