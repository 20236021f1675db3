// How captured media is encoded.
//
// Thread: plain values.

#pragma once

#include "media/frame_consumer.h"
#include "publish/bitrate_control.h"

namespace NimboEngine {

inline constexpr int kRateNotSet = -1;

struct EncoderSettings {
  // What is published. Pictures of another size are scaled; of an odd width or height the last
  // column or row is lost: H.264 counts in twos.
  VideoFormat video;
  AudioFormat audio;
  bool audioOnly = false;
  bool hardware = false;  // where there is one
  int videoKbps = kRateNotSet;
  int minVideoKbps = kRateNotSet;
  int initialVideoKbps = kRateNotSet;
  bool controlsBitrate = true;  // lowers it when the network is poor
  int audioBps = 64000;
  int gopSeconds = 2;
};

// A video bit rate in kbit/s for a size and frame rate for which none was asked.
int defaultVideoKbps(const VideoFormat& format);

// What the rates of `settings` come to. Without a minimum a quarter of the target is one; without
// an initial rate the target is.
BitrateLimits bitrateLimits(const EncoderSettings& settings);

}  // namespace NimboEngine
