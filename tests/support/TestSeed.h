// The seed of tests that take random steps.
#pragma once

#include <cstdlib>
#include <iostream>
#include <random>

/// A seed that is new in every run and printed; QVR_TEST_SEED repeats one.
inline unsigned testSeed() {
  const char* const given = std::getenv("QVR_TEST_SEED");
  const unsigned seed = given == nullptr ? std::random_device{}()
                                         : static_cast<unsigned>(std::strtoul(given, nullptr, 10));
  std::cout << "QVR_TEST_SEED=" << seed << std::endl;
  return seed;
}
