#include "api/push_parameters.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <iterator>

namespace NimboEngine {
namespace {

using namespace LumoRtc;

struct Size {
  int width;
  int height;
};

constexpr std::array<Size, 8> kLadder = {{{320, 180},
                                          {426, 240},
                                          {640, 360},
                                          {854, 480},
                                          {960, 540},
                                          {1280, 720},
                                          {1920, 1080},
                                          {2560, 1440}}};
constexpr uint32_t kSampleRates[] = {8000, 11025, 12000, 16000, 22050, 24000, 32000, 44100, 48000};
constexpr int kNotSet = -1;
constexpr int kDefaultAudioBps = 64000;

// Collects the first thing that is wrong.
class Check {
 public:
  explicit Check(std::string& problem) : problem_(problem) { problem_.clear(); }

  void range(const char* field, int64_t value, int64_t low, int64_t high) {
    require(value >= low && value <= high, "{} is {}, not {} to {}", field, value, low, high);
  }
  void rate(const char* field, int64_t value) {
    if (value != kNotSet) range(field, value, 50, 50000);
  }
  template <class... Arguments>
  void require(bool holds, fmt::format_string<Arguments...> format, Arguments&&... arguments) {
    if (!holds && passed()) problem_ = fmt::format(format, std::forward<Arguments>(arguments)...);
  }
  bool passed() const { return problem_.empty(); }

 private:
  std::string& problem_;
};

VideoFormat videoFormat(const LumoLivePushConfig& config, Check& check) {
  VideoFormat format;
  if (config.width == 0 && config.height == 0) {
    check.range("mResolution", config.mResolution, 0, kLadder.size() - 1);
    const Size& size = kLadder[std::min<std::size_t>(config.mResolution, kLadder.size() - 1)];
    format.width = size.width;
    format.height = size.height;
  } else {
    check.range("width", config.width, 16, 4096);
    check.range("height", config.height, 16, 4096);
    format.width = static_cast<int>(config.width);
    format.height = static_cast<int>(config.height);
  }
  check.range("frameRate", config.frameRate, 1, 60);
  format.fps = static_cast<int>(config.frameRate);
  return format;
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

LumoLiveResult makePushParameters(const LumoLivePushConfig& config, PushParameters& parameters,
                                  std::string& problem) {
  Check check(problem);
  if (config.mLivePushMode != kLumoLiveModeBasic) {
    problem = fmt::format("mLivePushMode is {}; this build knows 0 only", config.mLivePushMode);
    return kLumoLiveNotSupported;
  }
  PushParameters result;
  EncoderSettings& encoder = result.encoder;
  encoder.video = videoFormat(config, check);
  encoder.audio = audioFormat(config, check);
  check.range("mVideoEncodeGop", config.mVideoEncodeGop, 1, 60);
  if (config.audioBitRate != kNotSet) {
    check.range("audioBitRate", config.audioBitRate, 8000, 320000);
  }
  check.rate("mTargetVideoBitrate", config.mTargetVideoBitrate);
  check.rate("mMinVideoBitrate", config.mMinVideoBitrate);
  check.rate("mInitialVideoBitrate", config.mInitialVideoBitrate);
  if (!check.passed()) return kLumoLiveInvalidArgument;

  encoder.audioOnly = config.mAudioOnly;
  encoder.gopSeconds = static_cast<int>(config.mVideoEncodeGop);
  encoder.audioBps = config.audioBitRate == kNotSet ? kDefaultAudioBps : config.audioBitRate;
  encoder.videoKbps = config.mTargetVideoBitrate == kNotSet ? defaultVideoKbps(encoder.video)
                                                            : config.mTargetVideoBitrate;
  result.mirror = config.mPushMirror;
  parameters = result;
  return kLumoLiveOk;
}

}  // namespace NimboEngine
