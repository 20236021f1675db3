#include "scripted_sdk/records.h"

#include <mutex>

#include "scripted_sdk/mix_stream_array.h"
#include "scripted_sdk/strings.h"

namespace ScriptedSdk {

Json recordJson(const LumoRtc::LumoLivePushConfig& config) {
  return {{"mLivePushMode", config.mLivePushMode},
          {"externMainStream", config.externMainStream},
          {"mVideoEncodeMode", config.mVideoEncodeMode},
          {"mAudioEncodeMode", config.mAudioEncodeMode},
          {"mAudioOnly", config.mAudioOnly},
          {"mPushMirror", config.mPushMirror},
          {"mAudioSampleRate", config.mAudioSampleRate},
          {"audioBitRate", config.audioBitRate},
          {"mAudioChannels", config.mAudioChannels},
          {"mResolution", config.mResolution},
          {"mTargetVideoBitrate", config.mTargetVideoBitrate},
          {"mMinVideoBitrate", config.mMinVideoBitrate},
          {"mInitialVideoBitrate", config.mInitialVideoBitrate},
          {"width", config.width},
          {"height", config.height},
          {"frameRate", config.frameRate},
          {"mVideoEncodeGop", config.mVideoEncodeGop},
          {"mPreviewOrientation", config.mPreviewOrientation},
          {"audioSceneMode", config.audioSceneMode},
          {"enableBitrateControl", config.enableBitrateControl},
          {"enableAutoResolution", config.enableAutoResolution},
          {"mPausePushImagePath", textJson(config.mPausePushImagePath)},
          {"mNetworkPoorPushImagePath", textJson(config.mNetworkPoorPushImagePath)}};
}

Json recordJson(const LumoRtc::LumoLivePlayerConfig& config) {
  return {{"isMirror", config.isMirror},
          {"isFullScreen", config.isFullScreen},
          {"renderMode", static_cast<uint32_t>(config.renderMode)},
          {"rotation", static_cast<uint32_t>(config.rotation)}};
}

Json recordJson(const LumoRtc::LumoLiveScreenShareEncoderConfig& config) {
  return {{"mResolution", config.mResolution}, {"width", config.width},
          {"height", config.height},           {"frameRate", config.frameRate},
          {"bitrate", config.bitrate},         {"mVideoEncodeGop", config.mVideoEncodeGop}};
}

Json recordJson(const LumoRtc::LumoLiveTranscodingConfig& config) {
  return {{"backgroundColor", config.backgroundColor},
          {"cropMode", config.cropMode},
          {"mixStreams", mixStreamsJson(config.mixStreams)}};
}

LumoRtc::LumoLiveScreenShareEncoderConfig readEncoderConfig(const Json& value) {
  Fields fields(value, "encoder configuration");
  LumoRtc::LumoLiveScreenShareEncoderConfig config = {};
  config.mResolution = fields.number("mResolution", config.mResolution);
  config.width = fields.number("width", config.width);
  config.height = fields.number("height", config.height);
  config.frameRate = fields.number("frameRate", config.frameRate);
  config.bitrate = fields.number("bitrate", config.bitrate);
  config.mVideoEncodeGop = fields.number("mVideoEncodeGop", config.mVideoEncodeGop);
  fields.finish();
  return config;
}

LumoRtc::LumoLiveUserVolumeInfo readVolume(const Json& value) {
  Fields fields(value, "volume");
  LumoRtc::LumoLiveUserVolumeInfo volume;
  volume.userType =
      static_cast<LumoRtc::LumoLiveUserVolumeEnum>(fields.number<int32_t>("userType", 0));
  volume.player = static_cast<LumoRtc::LumoLivePlayer*>(fields.pointer("player", nullptr));
  volume.speechState = fields.boolean("speechState", false);
  volume.volume = fields.number<int32_t>("volume", 0);
  volume.sumVolume = fields.number<int32_t>("sumVolume", 0);
  fields.finish();
  return volume;
}

LumoRtc::LumoLivePlayerStatsInfo readStatistics(Fields& fields) {
  LumoRtc::LumoLivePlayerStatsInfo stats;
  stats.userId = immortalText(fields.text("userId", ""));
  stats.channelId = immortalText(fields.text("channelId", ""));
  stats.videoWidth = fields.number<int32_t>("videoWidth", 0);
  stats.videoHeight = fields.number<int32_t>("videoHeight", 0);
  stats.decodeFps = fields.number<int32_t>("decodeFps", 0);
  stats.renderFps = fields.number<int32_t>("renderFps", 0);
  stats.videoBitrate = fields.number<int32_t>("videoBitrate", 0);
  stats.audioBitrate = fields.number<int32_t>("audioBitrate", 0);
  stats.audioLossRate = fields.number<int32_t>("audioLossRate", 0);
  stats.lossRate = fields.number<int32_t>("lossRate", 0);
  return stats;
}

const char* immortalText(const Text& text) {
  static auto& mutex = *new std::mutex;
  static auto& texts = *new std::set<std::string>;
  if (!text) return nullptr;
  std::lock_guard lock(mutex);
  return texts.insert(*text).first->c_str();
}

}  // namespace ScriptedSdk
