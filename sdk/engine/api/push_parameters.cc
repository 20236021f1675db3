#include "api/push_parameters.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <iterator>
#include <utility>

namespace NimboEngine {
namespace {

using namespace LumoRtc;

struct FrameSize {
  int width;
  int height;
};

// Widths are multiples of 8: JavaScript gets frames of other widths padded.
constexpr std::array<FrameSize, 8> kLadder = {{{320, 180},
                                               {424, 240},
                                               {640, 360},
                                               {848, 480},
                                               {960, 540},
                                               {1280, 720},
                                               {1920, 1080},
                                               {2560, 1440}}};
constexpr uint32_t kSampleRates[] = {8000, 11025, 12000, 16000, 22050, 24000, 32000, 44100, 48000};
constexpr int kLowestKbps = 50;
constexpr int kHighestKbps = 50000;
constexpr uint32_t kHardwareEncoding = 0;
constexpr int kDefaultAudioBps = 64000;
constexpr uint32_t kDefaultScreenFps = 15;

// Collects the first defect.
class Check {
 public:
  void range(const char* field, int64_t value, int64_t low, int64_t high) {
    require(value >= low && value <= high, "{} is {}, not {} to {}", field, value, low, high);
  }
  void rate(const char* field, int64_t value) {
    if (value != kRateNotSet) range(field, value, kLowestKbps, kHighestKbps);
  }
  void fps(uint32_t value) { range("frameRate", value, 1, 60); }
  void gop(uint32_t value) { range("mVideoEncodeGop", value, 1, 60); }
  template <class... Arguments>
  void require(bool holds, fmt::format_string<Arguments...> format, Arguments&&... arguments) {
    if (!holds && passed_) passed_ = refused(format, std::forward<Arguments>(arguments)...);
  }

  // `value` if everything is as it should be.
  template <class Value>
  Result<Value> result(Value value) const {
    if (!passed_) return tl::unexpected(passed_.error());
    return value;
  }

 private:
  Result<void> passed_;
};

FrameSize frameSize(uint32_t resolution, int64_t width, int64_t height, Check& check) {
  if (width == 0 && height == 0) {
    check.range("mResolution", resolution, 0, kLadder.size() - 1);
    return kLadder[std::min<std::size_t>(resolution, kLadder.size() - 1)];
  }
  check.range("width", width, 16, 4096);
  check.range("height", height, 16, 4096);
  return {static_cast<int>(width), static_cast<int>(height)};
}

template <class Config>
VideoFormat videoFormat(const Config& config, uint32_t fps, Check& check) {
  const FrameSize size = frameSize(config.mResolution, config.width, config.height, check);
  check.fps(fps);
  return {size.width, size.height, static_cast<int>(fps)};
}

AudioFormat audioFormat(const LumoLivePushConfig& config, Check& check) {
  const bool knownRate = std::find(std::begin(kSampleRates), std::end(kSampleRates),
                                   config.mAudioSampleRate) != std::end(kSampleRates);
  check.require(knownRate, "mAudioSampleRate is {}, no rate that AAC knows",
                config.mAudioSampleRate);
  check.range("mAudioChannels", config.mAudioChannels, 1, 2);
  return {static_cast<int>(config.mAudioSampleRate), static_cast<int>(config.mAudioChannels)};
}

}  // namespace

Result<PushParameters> makePushParameters(const LumoLivePushConfig& config) {
  if (config.mLivePushMode != kLumoLiveModeBasic) {
    return failed(kLumoLiveNotSupported, "mLivePushMode is {}; this build knows 0 only",
                  static_cast<int64_t>(config.mLivePushMode));
  }
  Check check;
  PushParameters result;
  EncoderSettings& encoder = result.encoder;
  encoder.video = videoFormat(config, config.frameRate, check);
  encoder.audio = audioFormat(config, check);
  check.gop(config.mVideoEncodeGop);
  if (config.audioBitRate != kRateNotSet) {
    check.range("audioBitRate", config.audioBitRate, 8000, 320000);
  }
  check.rate("mTargetVideoBitrate", config.mTargetVideoBitrate);
  check.rate("mMinVideoBitrate", config.mMinVideoBitrate);
  check.rate("mInitialVideoBitrate", config.mInitialVideoBitrate);

  encoder.audioOnly = config.mAudioOnly;
  encoder.gopSeconds = static_cast<int>(config.mVideoEncodeGop);
  encoder.audioBps = config.audioBitRate == kRateNotSet ? kDefaultAudioBps : config.audioBitRate;
  encoder.videoKbps = config.mTargetVideoBitrate;
  encoder.minVideoKbps = config.mMinVideoBitrate;
  encoder.initialVideoKbps = config.mInitialVideoBitrate;
  encoder.controlsBitrate = config.enableBitrateControl;
  encoder.hardware = config.mVideoEncodeMode == kHardwareEncoding;
  result.mirror = config.mPushMirror;
  result.pauseImage = config.mPausePushImagePath.c_str();
  result.networkPoorImage = config.mNetworkPoorPushImagePath.c_str();
  return check.result(std::move(result));
}

Result<EncoderSettings> makeScreenEncoder(const LumoLiveScreenShareEncoderConfig& config,
                                          EncoderSettings encoder) {
  Check check;
  const uint32_t fps = config.frameRate == 0 ? kDefaultScreenFps : config.frameRate;
  encoder.video = videoFormat(config, fps, check);
  check.rate("bitrate", config.bitrate);
  check.gop(config.mVideoEncodeGop);
  encoder.videoKbps = config.bitrate;
  encoder.gopSeconds = static_cast<int>(config.mVideoEncodeGop);
  return check.result(encoder);
}

Result<PushParameters> changeSize(PushParameters parameters, uint32_t resolution, int32_t width,
                                  int32_t height) {
  Check check;
  const FrameSize size = frameSize(resolution, width, height, check);
  parameters.encoder.video.width = size.width;
  parameters.encoder.video.height = size.height;
  return check.result(std::move(parameters));
}

Result<PushParameters> changeFps(PushParameters parameters, uint32_t fps) {
  Check check;
  check.fps(fps);
  parameters.encoder.video.fps = static_cast<int>(fps);
  return check.result(std::move(parameters));
}

Result<PushParameters> changeRate(PushParameters parameters, int EncoderSettings::*rate,
                                  int32_t kbps) {
  Check check;
  check.range("the bit rate", kbps, kLowestKbps, kHighestKbps);
  parameters.encoder.*rate = kbps;
  return check.result(std::move(parameters));
}

}  // namespace NimboEngine
