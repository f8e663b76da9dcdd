// The system's locales.
//
// Every function returns 0 or the system's error number and throws nothing.
#pragma once

#include "QVRSystem/platform/QVRPlatformNamespace.h"

namespace qvr::QVR_PLATFORM {

/// The name of the encoding of the calling thread's locale, such as "UTF-8". The
/// text lives as long as that locale is in use.
int codeset(const char*& name) noexcept;

/// What strftime() writes for %p in the calling thread's locale, before noon or
/// from noon on. The text lives as long as that locale is in use.
int halfOfDay(bool isAfternoon, const char*& name) noexcept;

/// Tells by 0 that there is a locale of that name for all categories, without
/// making it anybody's. Names are those that setlocale() takes.
int probeLocale(const char* name) noexcept;

}  // namespace qvr::QVR_PLATFORM
