// Validates the interface's push configuration and converts it into the settings of capture and
// encoder.
//
//   field                   accepted                         otherwise
//   ----------------------  -------------------------------  ----------------------------------
//   mLivePushMode           0                                not supported
//   mResolution             0 to 7: 320x180, 424x240,        refused, unless width and height
//                           640x360, 848x480, 960x540,       are set
//                           1280x720, 1920x1080, 2560x1440
//   width, height           both 0: as mResolution says;     refused
//                           else both from 16 to 4096
//   frameRate               1 to 60                          refused
//   mVideoEncodeGop         1 to 60                          refused
//   mAudioSampleRate        the rates of AAC, 8000 to 48000  refused
//   mAudioChannels          1, 2                             refused
//   audioBitRate            8000 to 320000; -1 means 64000   refused
//   mTargetVideoBitrate     50 to 50000; -1 means a value    refused
//                           that fits size and frame rate
//   mMinVideoBitrate        50 to 50000; -1 means a quarter  refused
//                           of the target
//   mInitialVideoBitrate    50 to 50000; -1 means the        refused
//                           target
//   mVideoEncodeMode        0: in hardware where there is    as 1
//                           some, 1: in software
//
// mAudioOnly, mPushMirror, enableBitrateControl and the two image paths have their effect; the
// remaining fields have none in this build.
//
// Thread: any.

#pragma once

#include <string>

#include "NimboSdk/LumoLiveDefine.h"
#include "base/result.h"
#include "publish/encoder_settings.h"

namespace NimboEngine {

struct PushParameters {
  EncoderSettings encoder;  // its formats are those of capture too
  bool mirror = false;
  // Files (capture/still_image.h), read on demand; "": none.
  std::string pauseImage;
  std::string networkPoorImage;
};

// An error names the field.
Result<PushParameters> makePushParameters(const LumoRtc::LumoLivePushConfig& config);

// The encoder for a shared screen: `encoder` with another size, frame rate, bit rate and key frames.
// The fields have the limits of the table; a frame rate of 0 means 15. An error names the field.
Result<EncoderSettings> makeScreenEncoder(const LumoRtc::LumoLiveScreenShareEncoderConfig& config,
                                          EncoderSettings encoder);

// The changes that are possible at any time, with the limits of the table.
Result<PushParameters> changeSize(PushParameters parameters, uint32_t resolution, int32_t width,
                                  int32_t height);
Result<PushParameters> changeFps(PushParameters parameters, uint32_t fps);
Result<PushParameters> changeRate(PushParameters parameters, int EncoderSettings::*rate,
                                  int32_t kbps);

}  // namespace NimboEngine
