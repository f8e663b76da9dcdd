#include "QVRSystemInfo.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>
#include <optional>
#include <string_view>

#include "QVRSystem/platform/QVRPlatformMachine.h"
#include "QVRSystem/platform/QVRPlatformThread.h"
#include "QVRTraceLog.h"

namespace {

constexpr char kUnknown[] = "UNKNOWN";
constexpr char kUnknownUser[] = "UKNOWN";  // what callers have always compared with
constexpr std::size_t kTextSize = 1024;
constexpr std::size_t kDescriptionSize = 4096;  // more than the first processor needs
constexpr std::uint64_t kClockTicks = 1000;

/// The text; the word, which needs no memory, where there is none for it.
std::string textOr(const char* word, std::string_view text) noexcept {
  try {
    return std::string(text);
  } catch (const std::bad_alloc&) {
    return word;
  }
}

/// What the system writes, or the word.
template <class Ask>
std::string askForText(Ask ask, const char* word) noexcept {
  std::array<char, kTextSize> text;
  return ask(text.data(), text.size()) == 0 ? textOr(word, text.data()) : word;
}

/// What the system answers, or 0.
template <class Ask>
std::uint64_t askForNumber(Ask ask) noexcept {
  std::uint64_t number = 0;
  return ask(number) == 0 ? number : 0;
}

std::int32_t inKiB(std::uint64_t bytes) noexcept {
  return static_cast<std::int32_t>(static_cast<std::uint32_t>(bytes >> 10));
}

std::string_view trimmed(std::string_view text) {
  constexpr std::string_view kBlanks = " \t";
  const std::size_t first = text.find_first_not_of(kBlanks);
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

/// The value of the first line "name : value" in the description of the processors; empty
/// where there is none.
std::string_view valueOf(std::string_view name, std::string_view description) {
  while (!description.empty()) {
    const std::string_view line = description.substr(0, description.find('\n'));
    const std::size_t colon = line.find(':');
    if (colon != std::string_view::npos && trimmed(line.substr(0, colon)) == name) {
      return trimmed(line.substr(colon + 1));
    }
    description.remove_prefix(std::min(line.size() + 1, description.size()));
  }
  return {};
}

/// That value in the system's description of the first processor, or the word.
std::string askProcessorFor(std::string_view name, const char* word) noexcept {
  std::array<char, kDescriptionSize> description;
  if (qvr::platform::processorDescription(description.data(), description.size()) != 0) return word;
  const std::string_view value = valueOf(name, description.data());
  return value.empty() ? word : textOr(word, value);
}

/// The numbers with which the release's text begins, points between them, and 0 for each
/// that it lacks; none where it cannot be had.
std::optional<std::array<int, 3>> releaseNumbers() noexcept {
  std::array<char, kTextSize> release;
  if (qvr::platform::systemRelease(release.data(), release.size()) != 0) return std::nullopt;
  const char* at = release.data();
  const char* const end = at + std::strlen(at);
  std::array<int, 3> numbers{};
  for (int& number : numbers) {
    at = std::from_chars(at, end, number).ptr;
    if (at == end || *at++ != '.') break;
  }
  return numbers;
}

/// One of them.
std::string releaseNumber(std::size_t index) noexcept {
  const auto numbers = releaseNumbers();
  return numbers ? std::to_string((*numbers)[index]) : kUnknown;
}

}  // namespace

std::string QVRSystemInfo::GetHostName() noexcept {
  return askForText(&qvr::platform::hostName, kUnknown);
}

std::string QVRSystemInfo::GetLoginName() noexcept {
  return askForText(&qvr::platform::loginName, kUnknownUser);
}

std::string QVRSystemInfo::GetDomainName() noexcept {
  const char* const name = std::getenv("USERDOMAIN");
  return name != nullptr ? textOr("", name) : "";
}

std::string QVRSystemInfo::GetOSKernelName() noexcept { return kUnknown; }

std::string QVRSystemInfo::GetProcessorVendor() noexcept {
  return askProcessorFor("vendor_id", kUnknown);
}

std::string QVRSystemInfo::GetProcessorModel() noexcept {
  const std::string model = askProcessorFor("model", "0");
  int number = 0;
  std::from_chars(model.data(), model.data() + model.size(), number);
  return std::to_string(number);
}

std::uint64_t QVRSystemInfo::GetProcessorCount() noexcept {
  return askForNumber(&qvr::platform::processorCount);
}

std::uint64_t QVRSystemInfo::GetSystemPageSize() noexcept {
  return askForNumber(&qvr::platform::pageSize);
}

std::int32_t QVRSystemInfo::GetPhysicalMemorySize() noexcept {
  return inKiB(askForNumber(&qvr::platform::physicalMemory));
}

std::int32_t QVRSystemInfo::GetVirtualMemorySize() noexcept {
  return inKiB(askForNumber(&qvr::platform::addressSpace));
}

std::uint64_t QVRSystemInfo::GetOSClockTicks() noexcept { return kClockTicks; }

std::string QVRSystemInfo::GetOSReleaseLevel() noexcept {
  const auto numbers = releaseNumbers();
  if (!numbers) return kUnknown;
  std::array<char, kTextSize> text;
  std::snprintf(text.data(), text.size(), "%d.%d.%d", (*numbers)[0], (*numbers)[1], (*numbers)[2]);
  return textOr(kUnknown, text.data());
}

std::string QVRSystemInfo::GetOSMajorLevel() noexcept { return releaseNumber(0); }

std::string QVRSystemInfo::GetOSMinorLevel() noexcept { return releaseNumber(1); }

void QVRSystemInfo::PrintDetails() noexcept {
  try {
    const std::string format = QVRSystemTrace.GetFormat();
    QVRSystemTrace.SetFormat(" ");
    QVRSystemTrace.SetFormat(format);  // there is room for what was there
  } catch (const std::bad_alloc&) {
    // Not even the format could be read: nothing was changed.
  }
}
