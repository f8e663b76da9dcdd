// When biased locks change their owners.
#pragma once

#include <cstdint>

namespace qvr::internal {

/// A turn by a bias saves some ten nanoseconds, the end of a bias costs some microseconds.
struct BiasPolicy {
  /// Turns by a bias that are worth its revocation.
  static constexpr std::uint32_t kWorthwhileTurns = 128;

  /// How often a thread takes the shared lock before it gets the bias, once one was not
  /// worthwhile; twice as often after each further one of these, up to the most.
  static constexpr std::uint32_t kFirstRun = 16;
  static constexpr std::uint32_t kLongestRun = 1024;

  /// How often the owner is looked at once it was asked to give the bias up.
  static constexpr int kLooksAtTheOwner = 64;
};

}  // namespace qvr::internal
