// Makes GLib's locks visible to ThreadSanitizer, in such builds only.
//
// GLib is not instrumented and its locks are bare futexes, so all data that GStreamer passes
// between threads under them would be reported as races. Reports are not suppressed: the locks
// below are annotated, and real races are still reported.

#if defined(__SANITIZE_THREAD__)

#include <dlfcn.h>
#include <glib.h>

extern "C" {
void __tsan_acquire(void* address);
void __tsan_release(void* address);
}

namespace {

template <class Function>
Function* original(const char* name) {
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

}  // namespace

#define LUMO_LOCK(name, Lock)                                    \
  __attribute__((visibility("default"))) void name(Lock* lock) { \
    static auto* const real = original<void(Lock*)>(#name);      \
    real(lock);                                                  \
    __tsan_acquire(lock);                                        \
  }
#define LUMO_TRYLOCK(name, Lock)                                     \
  __attribute__((visibility("default"))) gboolean name(Lock* lock) { \
    static auto* const real = original<gboolean(Lock*)>(#name);      \
    const gboolean locked = real(lock);                              \
    if (locked) __tsan_acquire(lock);                                \
    return locked;                                                   \
  }
#define LUMO_UNLOCK(name, Lock)                                  \
  __attribute__((visibility("default"))) void name(Lock* lock) { \
    static auto* const real = original<void(Lock*)>(#name);      \
    __tsan_release(lock);                                        \
    real(lock);                                                  \
  }

extern "C" {

LUMO_LOCK(g_mutex_lock, GMutex)
LUMO_TRYLOCK(g_mutex_trylock, GMutex)
LUMO_UNLOCK(g_mutex_unlock, GMutex)
LUMO_LOCK(g_rec_mutex_lock, GRecMutex)
LUMO_TRYLOCK(g_rec_mutex_trylock, GRecMutex)
LUMO_UNLOCK(g_rec_mutex_unlock, GRecMutex)

__attribute__((visibility("default"))) void g_cond_wait(GCond* condition, GMutex* mutex) {
  static auto* const real = original<void(GCond*, GMutex*)>("g_cond_wait");
  __tsan_release(mutex);
  real(condition, mutex);
  __tsan_acquire(mutex);
}

__attribute__((visibility("default"))) gboolean g_cond_wait_until(GCond* condition, GMutex* mutex,
                                                                  gint64 until) {
  static auto* const real = original<gboolean(GCond*, GMutex*, gint64)>("g_cond_wait_until");
  __tsan_release(mutex);
  const gboolean signalled = real(condition, mutex, until);
  __tsan_acquire(mutex);
  return signalled;
}

}  // extern "C"

#endif
