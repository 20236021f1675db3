// Annotations of the lock or thread that a member or function requires, which clang checks
// (-Wthread-safety). They are empty for other compilers.
//
// Thread: macros only.

#pragma once

#if defined(__clang__)
#define NIMBO_ANNOTATE(attribute) __attribute__((attribute))
#else
#define NIMBO_ANNOTATE(attribute)
#endif

// On a class: its objects can be held, like a lock or a thread.
#define NIMBO_CAPABILITY(name) NIMBO_ANNOTATE(capability(name))
#define NIMBO_SCOPED_CAPABILITY NIMBO_ANNOTATE(scoped_lockable)
// On a member: it is read only while `x` is held, and written only while it is not shared.
#define NIMBO_GUARDED_BY(x) NIMBO_ANNOTATE(guarded_by(x))
// On a function: its caller must hold `x`, or must not.
#define NIMBO_REQUIRES(...) NIMBO_ANNOTATE(requires_capability(__VA_ARGS__))
#define NIMBO_EXCLUDES(...) NIMBO_ANNOTATE(locks_excluded(__VA_ARGS__))
// On a function: it acquires `x`, alone or shared, releases it, or asserts that it is held.
#define NIMBO_ACQUIRE(...) NIMBO_ANNOTATE(acquire_capability(__VA_ARGS__))
#define NIMBO_ACQUIRE_SHARED(...) NIMBO_ANNOTATE(acquire_shared_capability(__VA_ARGS__))
#define NIMBO_RELEASE(...) NIMBO_ANNOTATE(release_capability(__VA_ARGS__))
#define NIMBO_ASSERT_CAPABILITY(x) NIMBO_ANNOTATE(assert_capability(x))
// On a function whose locking the compiler cannot follow.
#define NIMBO_NO_THREAD_SAFETY_ANALYSIS NIMBO_ANNOTATE(no_thread_safety_analysis)
