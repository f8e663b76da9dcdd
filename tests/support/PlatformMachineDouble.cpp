#include <cerrno>
#include <cstring>
#include <functional>
#include <map>
#include <utility>
#include <variant>

#include "QVRSystem/platform/QVRPlatformMachine.h"
#include "support/PlatformAnswer.h"
#include "support/PlatformForward.h"

QVR_REAL_FUNCTION(hostName)
QVR_REAL_FUNCTION(loginName)
QVR_REAL_FUNCTION(systemRelease)
QVR_REAL_FUNCTION(processorDescription)
QVR_REAL_FUNCTION(pageSize)
QVR_REAL_FUNCTION(physicalMemory)
QVR_REAL_FUNCTION(addressSpace)

namespace {

using Answer = std::variant<std::string, std::uint64_t>;

// Looked into without memory: some tests refuse it.
std::map<std::string, Answer, std::less<>>& answers() {
  static std::map<std::string, Answer, std::less<>> map;
  return map;
}

/// The test's answer; null where it leaves the system to give one.
template <class T>
const T* plannedAnswer(const char* function) {
  const auto found = answers().find(function);
  return found != answers().end() ? &std::get<T>(found->second) : nullptr;
}

int tell(const char* function, int (*real)(char*, std::size_t) noexcept, char* text,
         std::size_t size) {
  if (const int error = platform_double::plannedError(function); error != 0) return error;
  const auto* const planned = plannedAnswer<std::string>(function);
  if (planned == nullptr) return real(text, size);
  if (planned->size() >= size) return ERANGE;
  std::memcpy(text, planned->c_str(), planned->size() + 1);
  return 0;
}

int tell(const char* function, int (*real)(std::uint64_t&) noexcept, std::uint64_t& number) {
  if (const int error = platform_double::plannedError(function); error != 0) return error;
  const auto* const planned = plannedAnswer<std::uint64_t>(function);
  if (planned == nullptr) return real(number);
  number = *planned;
  return 0;
}

}  // namespace

PlatformAnswer::PlatformAnswer(const char* function, std::string text) : function_(function) {
  answers()[function_] = std::move(text);
}

PlatformAnswer::PlatformAnswer(const char* function, std::uint64_t number) : function_(function) {
  answers()[function_] = number;
}

PlatformAnswer::~PlatformAnswer() { answers().erase(function_); }

namespace qvr::platform {

int hostName(char* text, std::size_t size) noexcept {
  return tell("hostName", &posix::hostName, text, size);
}
int loginName(char* text, std::size_t size) noexcept {
  return tell("loginName", &posix::loginName, text, size);
}
int systemRelease(char* text, std::size_t size) noexcept {
  return tell("systemRelease", &posix::systemRelease, text, size);
}
int processorDescription(char* text, std::size_t size) noexcept {
  return tell("processorDescription", &posix::processorDescription, text, size);
}
int pageSize(std::uint64_t& bytes) noexcept { return tell("pageSize", &posix::pageSize, bytes); }
int physicalMemory(std::uint64_t& bytes) noexcept {
  return tell("physicalMemory", &posix::physicalMemory, bytes);
}
int addressSpace(std::uint64_t& bytes) noexcept {
  return tell("addressSpace", &posix::addressSpace, bytes);
}

}  // namespace qvr::platform
