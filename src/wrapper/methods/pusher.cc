// setExtraConfig, initPusher, destroyPusher: the pusher's lifetime and configuration.

#include "wrapper/method_support.h"

namespace LumoLivePushElectronSDK {
namespace {

using LumoRtc::LumoLivePushConfig;
using LumoRtc::LumoLivePusher;

constexpr OptionTable<LumoLivePushConfig, 23> kPushConfigKeys{
    option<&LumoLivePushConfig::mLivePushMode>("mLivePushMode"),
    option<&LumoLivePushConfig::externMainStream>("externMainStream"),
    option<&LumoLivePushConfig::mVideoEncodeMode>("mVideoEncodeMode"),
    option<&LumoLivePushConfig::mAudioEncodeMode>("mAudioEncodeMode"),
    option<&LumoLivePushConfig::mAudioOnly>("mAudioOnly"),
    option<&LumoLivePushConfig::mPushMirror>("mPushMirror"),
    option<&LumoLivePushConfig::mAudioSampleRate>("mAudioSampleRate"),
    option<&LumoLivePushConfig::audioBitRate>("audioBitRate"),
    option<&LumoLivePushConfig::mAudioChannels>("mAudioChannels"),
    option<&LumoLivePushConfig::mResolution>("mResolution"),
    option<&LumoLivePushConfig::mTargetVideoBitrate>("mTargetVideoBitrate"),
    option<&LumoLivePushConfig::mMinVideoBitrate>("mMinVideoBitrate"),
    option<&LumoLivePushConfig::mInitialVideoBitrate>("mInitialVideoBitrate"),
    option<&LumoLivePushConfig::width>("width"),
    option<&LumoLivePushConfig::height>("height"),
    option<&LumoLivePushConfig::frameRate>("frameRate"),
    option<&LumoLivePushConfig::mVideoEncodeGop>("mVideoEncodeGop"),
    option<&LumoLivePushConfig::mPreviewOrientation>("mPreviewOrientation"),
    option<&LumoLivePushConfig::audioSceneMode>("audioSceneMode"),
    option<&LumoLivePushConfig::enableBitrateControl>("enableBitrateControl"),
    option<&LumoLivePushConfig::enableAutoResolution>("enableAutoResolution"),
    option<&LumoLivePushConfig::mPausePushImagePath>("mPausePushImagePath"),
    option<&LumoLivePushConfig::mNetworkPoorPushImagePath>("mNetworkPoorPushImagePath"),
};

}  // namespace

void LumoLivePushJSWrapper::SetExtraConfig(const Arguments& args) {
  auto* wrapper = Find(args);
  if (!FirstIsString(args) || !wrapper) return Refuse(args, LUMO_HERE, Undefined{});
  wrapper->mExtraConfig = StringAt(args, 0);
}

void LumoLivePushJSWrapper::InitPusher(const Arguments& args) {
  if (!FirstIsObject(args)) return Refuse(args, LUMO_HERE, Undefined{});
  CallPusherWithOptions(args, LUMO_HERE, kFailed, kPushConfigKeys,
                        [&args](LumoLivePusher& pusher, const LumoLivePushConfig& config) {
                          pusher.init(config);
                          Find(args)->AttachListener();
                          return Undefined{};
                        });
}

void LumoLivePushJSWrapper::DestroyPusher(const Arguments& args) {
  auto* wrapper = Find(args);
  if (!wrapper) return LogFailure(LUMO_HERE, "Destroy failed: can't find instance");
  wrapper->DestroyPusher();
}

}  // namespace LumoLivePushElectronSDK
