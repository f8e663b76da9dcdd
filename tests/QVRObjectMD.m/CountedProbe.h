// A counted object that tells of its end.
#pragma once

#include <functional>
#include <utility>

#include "QVRCountedObject.h"

/// Calls back when it is destroyed.
///
/// With a count that is not what its handles make it, it shows what they do to the
/// count: of an object held at count 1 a reference that goes before another comes is
/// the end, of one held at count 0 a reference that comes before another goes.
class CountedProbe : public QVRCountedObject {
 public:
  explicit CountedProbe(
      std::function<void()> atEnd = [] {}, unsigned int initial = 0)
      : QVRCountedObject(initial), atEnd_(std::move(atEnd)) {}
  explicit CountedProbe(int& ends, unsigned int initial = 0)
      : CountedProbe([&ends] { ++ends; }, initial) {}
  ~CountedProbe() noexcept override { atEnd_(); }

 private:
  std::function<void()> atEnd_;
};

/// The initial count of an object whose first handle makes it 0.
inline constexpr unsigned int kOneBelowZero = 4294967295U;
