#include "QVRSystem/QVRDateTimeMD.m/src/QVRLocalClock.h"

#include <cstdlib>
#include <cstring>
#include <string_view>

#include "QVRLocalTime.h"
#include "QVRRecursiveLock.h"
#include "QVRStrftime.h"
#include "QVRSystem/internal/QVRFork.h"
#include "QVRSystem/internal/QVRThreadState.h"
#include "QVRSystem/platform/QVRPlatformClock.h"

namespace qvr {

namespace {

// The C library guards its zone with a lock that a fork leaves as it was. Nobody
// of this library is inside while a fork runs, so the child finds it free.
constinit internal::RecursiveLockStorage zoneLock{};
const internal::ForkLock forkZoneLock(internal::ForkRank::TimeZone, &zoneLock);

/// Around every call that reads the C library's zone.
class ZoneSection {
 public:
  ZoneSection() noexcept { internal::RecursiveLock(zoneLock).acquire(); }
  ~ZoneSection() { internal::RecursiveLock(zoneLock).release(); }

  ZoneSection(const ZoneSection&) = delete;
  ZoneSection& operator=(const ZoneSection&) = delete;

 private:
  internal::ShortSection section_;
};

/// What the zone makes of one second. Readings of the clock come in bursts, and
/// within a second nothing changes but TZ.
class ZoneSecond {
 public:
  bool holds(std::int64_t second, const char* zone) const noexcept {
    return usable_ && second == now_.second && (zone != nullptr) == zoneIsSet_ &&
           (zone == nullptr || std::strcmp(zone, zone_) == 0);
  }

  void fill(std::int64_t second, const char* zone) noexcept {
    now_ = {second, 0, QVRLocalTime(second), 0};
    platform::standardOffset(second, now_.minutesWest);
    keepZone(zone);
  }

  LocalNow at(int millisecond) const noexcept {
    LocalNow result = now_;
    result.millisecond = millisecond;
    return result;
  }

 private:
  static constexpr std::size_t kLongestZone = 63;

  void keepZone(const char* zone) noexcept;

  LocalNow now_;
  bool usable_ = false;  // at the next reading too
  bool zoneIsSet_ = false;
  char zone_[kLongestZone + 1] = {};
};

// A zone whose text is longer than any name is looked up at every reading.
void ZoneSecond::keepZone(const char* zone) noexcept {
  zoneIsSet_ = zone != nullptr;
  const std::size_t length = zoneIsSet_ ? std::strlen(zone) : 0;
  usable_ = length <= kLongestZone;
  if (usable_ && zoneIsSet_) std::memcpy(zone_, zone, length + 1);
}

constinit thread_local ZoneSecond zoneSecond;

const ZoneSecond& zoneSecondOf(std::int64_t second) noexcept {
  const char* const zone = std::getenv("TZ");
  if (!zoneSecond.holds(second, zone)) {
    const ZoneSection section;
    zoneSecond.fill(second, zone);
  }
  return zoneSecond;
}

// Of all conversions only %s looks at the zone.
template <class Char>
std::basic_string<Char> formatted(const std::tm& time, const Char* format) {
  using View = std::basic_string_view<Char>;
  if (View(format).find(Char('s')) == View::npos) return QVRStrftime(format, time);
  const ZoneSection section;
  return QVRStrftime(format, time);
}

}  // namespace

LocalNow localNow() noexcept {
  constexpr int kNanosecondsPerMillisecond = 1'000'000;
  std::int64_t second = 0;
  std::int32_t nanoseconds = 0;
  if (platform::systemTime(second, nanoseconds) != 0) return {};
  return zoneSecondOf(second).at(nanoseconds / kNanosecondsPerMillisecond);
}

int standardOffset() noexcept { return localNow().minutesWest; }

bool localTime(std::int64_t secondsSinceEpoch, std::tm& local) noexcept {
  const ZoneSection section;
  local = QVRLocalTime(secondsSinceEpoch);
  return local.tm_mday != 0;
}

std::int64_t secondsSinceEpoch(std::tm local) noexcept {
  const ZoneSection section;
  return std::mktime(&local);
}

std::string textOf(const std::tm& time, const char* format) { return formatted(time, format); }

std::u16string textOf(const std::tm& time, const wchar16* format) {
  return formatted(time, format);
}

}  // namespace qvr
