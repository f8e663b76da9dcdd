// Random bytes, and how to keep them from the child of a fork, as the system offers it.
//
// Every function returns 0 or the system's error number and throws nothing.
#pragma once

#include <cstddef>

#include "QVRSystem/platform/QVRPlatformNamespace.h"

namespace qvr::QVR_PLATFORM {

/// Fills the bytes from the kernel's cryptographic generator. No point of cancellation;
/// waits only while the system starts, before its generator is seeded.
int randomBytes(void* bytes, std::size_t size) noexcept;

/// Maps memory of zeroes, in pages of its own, that holds zeroes again in the child of
/// any fork, fork handlers or not.
int mapWipedOnFork(std::size_t size, void*& memory) noexcept;

/// Gives back what mapWipedOnFork() mapped.
int unmapWipedOnFork(void* memory, std::size_t size) noexcept;

}  // namespace qvr::QVR_PLATFORM
