#pragma once

// Says which lock guards what. clang checks it (-Wthread-safety, an error in our builds); for other
// compilers the macros are empty.

#if defined(__clang__)
#define HCILOAD_THREAD_ATTRIBUTE(attribute) __attribute__((attribute))
#else
#define HCILOAD_THREAD_ATTRIBUTE(attribute)
#endif

// Classes: a lock, and an object that holds one for a scope.
#define HCILOAD_CAPABILITY(name) HCILOAD_THREAD_ATTRIBUTE(capability(name))
#define HCILOAD_SCOPED_CAPABILITY HCILOAD_THREAD_ATTRIBUTE(scoped_lockable)

// Members: touched only while the lock is held.
#define HCILOAD_GUARDED_BY(lock) HCILOAD_THREAD_ATTRIBUTE(guarded_by(lock))

// Functions: need the lock, must not hold it, lock it, unlock it. Without an argument the lock is
// the object itself, or the one that a scoped object holds.
#define HCILOAD_REQUIRES(...) HCILOAD_THREAD_ATTRIBUTE(requires_capability(__VA_ARGS__))
#define HCILOAD_EXCLUDES(...) HCILOAD_THREAD_ATTRIBUTE(locks_excluded(__VA_ARGS__))
#define HCILOAD_ACQUIRE(...) HCILOAD_THREAD_ATTRIBUTE(acquire_capability(__VA_ARGS__))
#define HCILOAD_RELEASE(...) HCILOAD_THREAD_ATTRIBUTE(release_capability(__VA_ARGS__))
// The first argument is the result that means "locked".
#define HCILOAD_TRY_ACQUIRE(...) HCILOAD_THREAD_ATTRIBUTE(try_acquire_capability(__VA_ARGS__))
// Returns that lock.
#define HCILOAD_RETURN_CAPABILITY(lock) HCILOAD_THREAD_ATTRIBUTE(lock_returned(lock))

// For a function that the check cannot follow; a comment there says why it is right.
#define HCILOAD_NO_THREAD_SAFETY_CHECK HCILOAD_THREAD_ATTRIBUTE(no_thread_safety_analysis)
