// How captured media is encoded.
//
// Thread: plain values.

#pragma once

#include "capture/frame_consumer.h"

namespace NimboEngine {

struct EncoderSettings {
  VideoFormat video;  // an odd width or height loses its last column or row: H.264 counts in twos
  AudioFormat audio;
  bool audioOnly = false;
  int videoKbps = 0;
  int audioBps = 64000;
  int gopSeconds = 2;
};

// A video bit rate in kbit/s for a size and frame rate for which none was asked.
int defaultVideoKbps(const VideoFormat& format);

}  // namespace NimboEngine
