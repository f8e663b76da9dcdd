// What every function of the platform's double does.
#pragma once

#include "support/PlatformPlan.h"

namespace platform_double {

/// Fails as planned, or calls the real function.
template <class Function, class... Args>
int forward(const char* name, Function* real, Args&&... args) {
  if (const int error = plannedError(name); error != 0) return error;
  return real(static_cast<Args&&>(args)...);
}

}  // namespace platform_double

/// Declares the real function of that name, with the type of the platform's own.
#define QVR_REAL_FUNCTION(name)       \
  namespace qvr::posix {              \
  decltype(qvr::platform::name) name; \
  }
