// The signatures of the questions about the machine that other modules compile against.
#include <cstdint>
#include <string>
#include <type_traits>

#include "QVRSystemInfo.h"
#include "contract/Signature.h"

namespace system_information {

using I = QVRSystemInfo;
using Text = std::string (*)();
using Count = std::uint64_t (*)();
using Size = std::int32_t (*)();
static_assert(std::is_empty_v<I> && std::is_copy_assignable_v<I> && !std::is_final_v<I>);
static_assert(has<Text>(&I::GetHostName) && has<Text>(&I::GetLoginName) &&
              has<Text>(&I::GetDomainName) && has<Text>(&I::GetOSKernelName) &&
              has<Text>(&I::GetProcessorVendor) && has<Text>(&I::GetProcessorModel));
static_assert(has<Text>(&I::GetOSReleaseLevel) && has<Text>(&I::GetOSMajorLevel) &&
              has<Text>(&I::GetOSMinorLevel));
static_assert(has<Count>(&I::GetProcessorCount) && has<Count>(&I::GetSystemPageSize) &&
              has<Count>(&I::GetOSClockTicks));
static_assert(has<Size>(&I::GetPhysicalMemorySize) && has<Size>(&I::GetVirtualMemorySize));
static_assert(has<void (*)()>(&I::PrintDetails));

}  // namespace system_information
