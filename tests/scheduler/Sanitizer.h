// Whether AddressSanitizer is compiled in.
#pragma once

#if defined(__SANITIZE_ADDRESS__)
#define QVR_SCHEDULER_UNDER_ASAN 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define QVR_SCHEDULER_UNDER_ASAN 1
#endif
#endif
