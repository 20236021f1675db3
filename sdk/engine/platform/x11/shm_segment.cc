#include "platform/x11/shm_segment.h"

#include <sys/ipc.h>
#include <sys/shm.h>
#include <xcb/shm.h>

#include "platform/x11/x_display.h"

namespace NimboEngine {

std::unique_ptr<ShmSegment> ShmSegment::attach(xcb_connection_t* connection, size_t bytes) {
  if (!hasExtension(connection, xcb_shm_id)) return nullptr;
  const int key = shmget(IPC_PRIVATE, bytes, IPC_CREAT | 0600);
  if (key < 0) return nullptr;
  void* data = shmat(key, nullptr, 0);
  const uint32_t id = xcb_generate_id(connection);
  const XReply<xcb_generic_error_t> refused(xcb_request_check(
      connection, xcb_shm_attach_checked(connection, id, static_cast<uint32_t>(key), 0)));
  shmctl(key, IPC_RMID, nullptr);  // removed when both sides have detached, even after a crash
  if (reinterpret_cast<intptr_t>(data) == -1) return nullptr;
  if (refused || xcb_connection_has_error(connection)) {
    shmdt(data);
    return nullptr;
  }
  return std::unique_ptr<ShmSegment>(new ShmSegment(connection, id, static_cast<uint8_t*>(data)));
}

ShmSegment::~ShmSegment() {
  xcb_shm_detach(connection_, id_);
  shmdt(data_);
}

}  // namespace NimboEngine
