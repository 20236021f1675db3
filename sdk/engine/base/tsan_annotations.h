// ThreadSanitizer annotations for synchronization inside a library without instrumentation, whose
// locks it cannot see: everything before tsanRelease(place) happens before what follows
// tsanAcquire(place). No-ops in other builds; the library's own locks synchronize.
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
