// Whether this is a build for AddressSanitizer: then QVR_TEST_SANITIZES_ADDRESSES is defined.
#pragma once

#if defined(__SANITIZE_ADDRESS__)
#define QVR_TEST_SANITIZES_ADDRESSES
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define QVR_TEST_SANITIZES_ADDRESSES
#endif
#endif
