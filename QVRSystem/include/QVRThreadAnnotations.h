// Which lock guards what, as clang's thread-safety analysis reads it. Other
// compilers see nothing.
#pragma once

#if defined(__clang__)
#define QVR_THREAD_ANNOTATION(x) __attribute__((x))
#else
#define QVR_THREAD_ANNOTATION(x)
#endif

/// A class that is a lock; the text names its kind in diagnostics.
#define QVR_CAPABILITY(kind) QVR_THREAD_ANNOTATION(capability(kind))
/// A class whose constructor takes a lock and whose destructor gives it back.
#define QVR_SCOPED_CAPABILITY QVR_THREAD_ANNOTATION(scoped_lockable)
/// A field read and written only while the lock is held.
#define QVR_GUARDED_BY(lock) QVR_THREAD_ANNOTATION(guarded_by(lock))
/// A pointer whose referent is read and written only while the lock is held.
#define QVR_PT_GUARDED_BY(lock) QVR_THREAD_ANNOTATION(pt_guarded_by(lock))
/// A lock that is taken only after those named, where two are held.
#define QVR_ACQUIRED_AFTER(...) QVR_THREAD_ANNOTATION(acquired_after(__VA_ARGS__))
/// A function whose caller holds the lock.
#define QVR_REQUIRES(...) QVR_THREAD_ANNOTATION(requires_capability(__VA_ARGS__))
/// A function that takes the lock and keeps it.
#define QVR_ACQUIRE(...) QVR_THREAD_ANNOTATION(acquire_capability(__VA_ARGS__))
/// A function that gives the lock back.
#define QVR_RELEASE(...) QVR_THREAD_ANNOTATION(release_capability(__VA_ARGS__))
/// A function that takes the lock when it returns the first argument.
#define QVR_TRY_ACQUIRE(...) QVR_THREAD_ANNOTATION(try_acquire_capability(__VA_ARGS__))
/// As those above, for holds that several threads can have at once, and for
/// a function that gives back a hold of either kind.
#define QVR_ACQUIRE_SHARED(...) QVR_THREAD_ANNOTATION(acquire_shared_capability(__VA_ARGS__))
#define QVR_TRY_ACQUIRE_SHARED(...) \
  QVR_THREAD_ANNOTATION(try_acquire_shared_capability(__VA_ARGS__))
#define QVR_RELEASE_GENERIC(...) QVR_THREAD_ANNOTATION(release_generic_capability(__VA_ARGS__))
/// A function that returns the lock.
#define QVR_RETURN_CAPABILITY(lock) QVR_THREAD_ANNOTATION(lock_returned(lock))
/// A function that must not be called with the lock held.
#define QVR_EXCLUDES(...) QVR_THREAD_ANNOTATION(locks_excluded(__VA_ARGS__))
/// A function that the analysis passes over; say why beside it.
#define QVR_NO_THREAD_SAFETY_ANALYSIS QVR_THREAD_ANNOTATION(no_thread_safety_analysis)
