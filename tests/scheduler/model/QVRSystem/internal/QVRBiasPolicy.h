// Takes the place of the library's QVRBiasPolicy.h: few turns matter, so that biases come
// and go within a scenario.
#pragma once

#include <cstdint>

namespace qvr::internal {

struct BiasPolicy {
  static constexpr std::uint32_t kWorthwhileTurns = 1;
  static constexpr std::uint32_t kFirstRun = 1;
  static constexpr std::uint32_t kLongestRun = 2;
  static constexpr int kLooksAtTheOwner = 1;
};

}  // namespace qvr::internal
