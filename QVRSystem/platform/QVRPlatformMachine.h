// The machine and its user, as the system tells of them.
//
// Every function returns 0 or the system's error number and throws nothing. Texts end in a
// zero byte; one that needs more than `size` bytes is a failure unless it says otherwise.
#pragma once

#include <cstddef>
#include <cstdint>

#include "QVRSystem/platform/QVRPlatformNamespace.h"

namespace qvr::QVR_PLATFORM {

/// The machine's name.
int hostName(char* text, std::size_t size) noexcept;

/// The effective user's name in the user database; ENOENT where it has none.
int loginName(char* text, std::size_t size) noexcept;

/// The release of the kernel, such as "6.1.0-18-amd64".
int systemRelease(char* text, std::size_t size) noexcept;

/// The beginning of the description of the processors, as far as there is room: lines of
/// the form "name : value", those of the first processor first.
int processorDescription(char* text, std::size_t size) noexcept;

int pageSize(std::uint64_t& bytes) noexcept;

/// The memory that the machine has for use.
int physicalMemory(std::uint64_t& bytes) noexcept;

/// The limit of the process's address space, its own or that of the architecture.
int addressSpace(std::uint64_t& bytes) noexcept;

}  // namespace qvr::QVR_PLATFORM
