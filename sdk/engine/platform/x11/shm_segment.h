// Memory shared with the X server.
//
// Thread: that of its connection.
// Ownership: owns the memory; the connection must outlive it.
// Failure: attach() returns null if the server does not share memory (it may run on another
//   machine).

#pragma once

#include <xcb/xcb.h>

#include <cstddef>
#include <cstdint>
#include <memory>

namespace NimboEngine {

class ShmSegment {
 public:
  static std::unique_ptr<ShmSegment> attach(xcb_connection_t* connection, size_t bytes);
  ~ShmSegment();
  ShmSegment(const ShmSegment&) = delete;
  ShmSegment& operator=(const ShmSegment&) = delete;

  uint8_t* data() const { return data_; }
  uint32_t id() const { return id_; }

 private:
  ShmSegment(xcb_connection_t* connection, uint32_t id, uint8_t* data)
      : connection_(connection), id_(id), data_(data) {}

  xcb_connection_t* connection_;
  uint32_t id_;
  uint8_t* data_;
};

}  // namespace NimboEngine
