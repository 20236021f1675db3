// Says which lock or thread a member or function needs, so that clang refuses what does not keep
// to it (-Wthread-safety). Other compilers see nothing of it.
//
// Thread: no code.

#pragma once

#if defined(__clang__)
#define NIMBO_ANNOTATE(attribute) __attribute__((attribute))
#else
#define NIMBO_ANNOTATE(attribute)
#endif

// Of a class: its objects can be held, like a lock or a thread.
#define NIMBO_CAPABILITY(name) NIMBO_ANNOTATE(capability(name))
#define NIMBO_SCOPED_CAPABILITY NIMBO_ANNOTATE(scoped_lockable)
// Of a member: it is read and written while `x` is held.
#define NIMBO_GUARDED_BY(x) NIMBO_ANNOTATE(guarded_by(x))
// Of a function: its caller holds `x`, or does not.
#define NIMBO_REQUIRES(...) NIMBO_ANNOTATE(requires_capability(__VA_ARGS__))
#define NIMBO_EXCLUDES(...) NIMBO_ANNOTATE(locks_excluded(__VA_ARGS__))
// Of a function: `x` is held from then on, not any more, or already.
#define NIMBO_ACQUIRE(...) NIMBO_ANNOTATE(acquire_capability(__VA_ARGS__))
#define NIMBO_RELEASE(...) NIMBO_ANNOTATE(release_capability(__VA_ARGS__))
#define NIMBO_ASSERT_CAPABILITY(x) NIMBO_ANNOTATE(assert_capability(x))
// Of a function whose locking the compiler cannot follow.
#define NIMBO_NO_THREAD_SAFETY_ANALYSIS NIMBO_ANNOTATE(no_thread_safety_analysis)
