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
#include "NimboSdk/LumoLiveResult.h"
#include "publish/encoder_settings.h"

namespace NimboEngine {

struct PushParameters {
  EncoderSettings encoder;  // its formats are those of capture too
  bool mirror = false;
  // Files (capture/still_image.h), read on demand; "": none.
  std::string pauseImage;
  std::string networkPoorImage;
};

// Unless the result is kLumoLiveOk, `error` names the field and `parameters` is unchanged.
LumoRtc::LumoLiveResult makePushParameters(const LumoRtc::LumoLivePushConfig& config,
                                           PushParameters& parameters, std::string& error);

// The encoder for a shared screen: size, frame rate, bit rate and key frames of `encoder` are set.
// The fields have the limits of the table; a frame rate of 0 means 15. Unless the result is
// kLumoLiveOk, `error` names the field and `encoder` is unchanged.
LumoRtc::LumoLiveResult makeScreenEncoder(const LumoRtc::LumoLiveScreenShareEncoderConfig& config,
                                          EncoderSettings& encoder, std::string& error);

// The changes that are possible at any time, with the limits of the table. Unless the result is
// kLumoLiveOk, `error` describes why and `parameters` is unchanged.
LumoRtc::LumoLiveResult changeSize(uint32_t resolution, int32_t width, int32_t height,
                                   PushParameters& parameters, std::string& error);
LumoRtc::LumoLiveResult changeFps(uint32_t fps, PushParameters& parameters, std::string& error);
LumoRtc::LumoLiveResult changeRate(int EncoderSettings::*rate, int32_t kbps,
                                   PushParameters& parameters, std::string& error);

}  // namespace NimboEngine
