// Whether this is a build for ThreadSanitizer: then QVR_TEST_SANITIZES_THREADS is defined. It
// holds back signals, and so the stopping of threads by them.
#pragma once

#if defined(__SANITIZE_THREAD__)
#define QVR_TEST_SANITIZES_THREADS
#elif defined(__has_feature)
#if __has_feature(thread_sanitizer)
#define QVR_TEST_SANITIZES_THREADS
#endif
#endif
