// Settings for encoding captured media.
//
// Thread: plain values.

#pragma once

#include "media/frame_consumer.h"
#include "publish/bitrate_control.h"

namespace NimboEngine {

inline constexpr int kRateNotSet = -1;

struct EncoderSettings {
  // The published format. Frames of another size are scaled; of an odd width or height the last
  // column or row is lost, since H.264 requires even sizes.
  VideoFormat video;
  AudioFormat audio;
  bool audioOnly = false;
  bool hardware = false;  // if available
  int videoKbps = kRateNotSet;
  int minVideoKbps = kRateNotSet;
  int initialVideoKbps = kRateNotSet;
  bool controlsBitrate = true;  // lowers it when the network is poor
  int audioBps = 64000;
  int gopSeconds = 2;
};

// The default video bit rate in kbit/s for a size and frame rate.
int defaultVideoKbps(const VideoFormat& format);

// Resolves the rates of `settings`. The default minimum is a quarter of the target; the default
// initial rate is the target.
BitrateLimits bitrateLimits(const EncoderSettings& settings);

}  // namespace NimboEngine
