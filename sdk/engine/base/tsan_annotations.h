// Tells ThreadSanitizer of a hand-over that goes through a library without instrumentation, whose
// locks it cannot see: whatever was done before tsanRelease(place) happened before what follows
// tsanAcquire(place). Other builds do nothing here; the library's own locks do the work.
//
// Thread: any.

#pragma once

#if defined(__SANITIZE_THREAD__)
extern "C" {
void __tsan_acquire(void* place);
void __tsan_release(void* place);
}
#endif

namespace NimboEngine {

inline void tsanRelease([[maybe_unused]] void* place) {
#if defined(__SANITIZE_THREAD__)
  __tsan_release(place);
#endif
}

inline void tsanAcquire([[maybe_unused]] void* place) {
#if defined(__SANITIZE_THREAD__)
  __tsan_acquire(place);
#endif
}

}  // namespace NimboEngine
