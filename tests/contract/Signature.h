// Compile-time questions about signatures.
#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>

/// Whether an operation has the signature: overloads resolve to the one that
/// converts, results and parameters exactly, `noexcept` or not.
template <class Pointer>
consteval bool has(Pointer pointer) {
  return pointer != nullptr;
}

/// Whether a value of type From becomes a To without being asked.
template <class To, class From>
inline constexpr bool makesImplicitly = std::is_convertible_v<From, To>;

/// Whether it has to be asked.
template <class To, class From>
inline constexpr bool makesExplicitly =
    std::is_constructible_v<To, From> && !std::is_convertible_v<From, To>;

/// Whether it stays where it was made.
template <class T>
inline constexpr bool isNeitherCopiedNorMoved =
    !std::is_copy_constructible_v<T> && !std::is_move_constructible_v<T> &&
    !std::is_copy_assignable_v<T> && !std::is_move_assignable_v<T>;
