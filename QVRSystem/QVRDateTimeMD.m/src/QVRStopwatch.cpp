#include "QVRStopwatch.h"

#include "QVRSystem/internal/QVRAtomic.h"
#include "QVRSystem/platform/QVRPlatformClock.h"

namespace {

constexpr std::int64_t kMicrosecondsPerSecond = 1'000'000;
constexpr std::int64_t kMicrosecondsPerTick = 1000;
constexpr double kSecondsPerTick = 0.001;

// All stopwatches write the same, so no order is needed.
template <class T>
T load(T& shared) noexcept {
  return qvr::internal::AtomicRef<T>(shared).load(std::memory_order_relaxed);
}

template <class T>
void store(T& shared, T value) noexcept {
  qvr::internal::AtomicRef<T>(shared).store(value, std::memory_order_relaxed);
}

std::int64_t readCounter(bool usingTickCount) noexcept {
  std::int64_t count = 0;
  if (!usingTickCount) {
    qvr::platform::counter(count);
    return count;
  }
  std::uint32_t ticks = 0;
  qvr::platform::tickCount(ticks);
  return ticks;
}

}  // namespace

// Until the first stopwatch asks, there is the tick count.
std::int64_t QVRStopwatch::_Frequency = 0;
bool QVRStopwatch::_UsingGetTickCount = true;

QVRStopwatch::QVRStopwatch() noexcept {
  std::int64_t frequency = 0;
  const int error = qvr::platform::counterFrequency(frequency);
  store(_Frequency, frequency);
  store(_UsingGetTickCount, error != 0);
}

void QVRStopwatch::start() noexcept {
  if (running_) return;
  start_ = readCounter(load(_UsingGetTickCount));
  running_ = true;
}

void QVRStopwatch::stop() noexcept {
  if (!running_) return;
  stop_ = readCounter(load(_UsingGetTickCount));
  running_ = false;
}

void QVRStopwatch::reset() noexcept {
  running_ = false;
  start_ = stop_;
}

double QVRStopwatch::read() const noexcept {
  const auto counts = static_cast<double>(elapsedCounts());
  if (load(_UsingGetTickCount)) return counts * kSecondsPerTick;
  return counts / static_cast<double>(load(_Frequency));
}

std::int64_t QVRStopwatch::readMicro() const noexcept {
  const std::int64_t counts = elapsedCounts();
  if (load(_UsingGetTickCount)) return counts * kMicrosecondsPerTick;
  // In two steps, for the product of all counts would not fit 64 bits.
  const std::int64_t frequency = load(_Frequency);
  return counts / frequency * kMicrosecondsPerSecond +
         counts % frequency * kMicrosecondsPerSecond / frequency;
}

std::int64_t QVRStopwatch::elapsedCounts() const noexcept {
  const bool usingTickCount = load(_UsingGetTickCount);
  const std::int64_t end = running_ ? readCounter(usingTickCount) : stop_;
  if (!usingTickCount) return end - start_;
  return static_cast<std::uint32_t>(end) - static_cast<std::uint32_t>(start_);
}

double QVRStopwatch::GetResolution() noexcept {
  if (load(_UsingGetTickCount)) return kSecondsPerTick;
  return 1.0 / static_cast<double>(load(_Frequency));
}

int QVRStopwatch::GetResolutionMicro() noexcept {
  if (load(_UsingGetTickCount)) return static_cast<int>(kMicrosecondsPerTick);
  return static_cast<int>(1 / load(_Frequency) * kMicrosecondsPerSecond);
}
