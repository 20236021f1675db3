// A receiver of an encoder's muxed packets.
//
// Thread: onPacket() on the encoder's thread, which it must not block.
// Ownership: a sink that keeps a packet takes a reference; packets are read-only.

#pragma once

#include <gst/gst.h>

namespace NimboEngine {

class PacketSink {
 public:
  virtual ~PacketSink() = default;
  virtual void onPacket(GstBuffer* packet) = 0;
};

}  // namespace NimboEngine
