#include "platform/thread_name.h"

#include <pthread.h>

#include <string>

namespace NimboEngine {

void nameThread(std::thread& thread, std::string_view name) {
  constexpr std::size_t kMaxLength = 15;
  pthread_setname_np(thread.native_handle(), std::string(name.substr(0, kMaxLength)).c_str());
}

}  // namespace NimboEngine
