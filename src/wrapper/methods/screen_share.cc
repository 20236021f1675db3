// Publishing a screen or window instead of the camera.

#include "wrapper/method_support.h"

namespace LumoLivePushElectronSDK {
namespace {

using LumoRtc::LumoLiveScreenShareEncoderConfig;
using LumoRtc::LumoLiveScreenSourceList;

constexpr OptionTable<LumoLiveScreenShareEncoderConfig, 6> kEncoderKeys{
    option<&LumoLiveScreenShareEncoderConfig::mResolution>("mResolution"),
    option<&LumoLiveScreenShareEncoderConfig::width>("width"),
    option<&LumoLiveScreenShareEncoderConfig::height>("height"),
    option<&LumoLiveScreenShareEncoderConfig::frameRate>("frameRate"),
    option<&LumoLiveScreenShareEncoderConfig::bitrate>("bitrate"),
    option<&LumoLiveScreenShareEncoderConfig::mVideoEncodeGop>("mVideoEncodeGop"),
};

LumoLiveScreenShareEncoderConfig EncoderDefaults() {
  return {.mResolution = 3,
          .width = 0,
          .height = 0,
          .frameRate = 0,
          .bitrate = 512,
          .mVideoEncodeGop = 2};
}

// Deliberate: every number, also an unsigned one, is returned as a signed 32-bit integer.
v8::Local<v8::Object> ToObject(v8::Isolate* isolate,
                               const LumoLiveScreenShareEncoderConfig& config) {
  return ObjectBuilder(isolate)
      .Set("mResolution", static_cast<int32_t>(config.mResolution))
      .Set("width", config.width)
      .Set("height", config.height)
      .Set("frameRate", static_cast<int32_t>(config.frameRate))
      .Set("bitrate", config.bitrate)
      .Set("mVideoEncodeGop", static_cast<int32_t>(config.mVideoEncodeGop))
      .object();
}

v8::Local<v8::Object> SourceAt(v8::Isolate* isolate, LumoLiveScreenSourceList& list,
                               uint32_t index) {
  const auto source = list.getSource(index);
  return ObjectBuilder(isolate)
      .Set("sourceName", source.sourceName.c_str())
      // Deliberate: the low 32 bits, signed, although identifiers are unsigned everywhere else.
      .Set("sourceId", static_cast<int32_t>(source.sourceId))
      .object();
}

}  // namespace

void LumoLivePushJSWrapper::StartScreenShareByDesktopId(const Arguments& args) {
  CallPusherEvenWhenRefused(args, LUMO_HERE, OnlyNumber(args), [&args](auto& pusher) {
    return pusher.startScreenShareByDesktopId(UIntAt(args, 0));
  });
}

void LumoLivePushJSWrapper::SetScreenShareEncoderConfiguration(const Arguments& args) {
  if (!FirstIsObject(args)) return Refuse(args, LUMO_HERE, kFailedLater);
  CallPusherWithOptions(
      args, LUMO_HERE, kFailedLater, kEncoderKeys,
      [](auto& pusher, const auto& o) { return pusher.setScreenShareEncoderConfiguration(&o); },
      EncoderDefaults);
}

void LumoLivePushJSWrapper::GetScreenShareEncoderConfiguration(const Arguments& args) {
  CallPusher(args, LUMO_HERE, EmptyObject{}, [&args](auto& pusher) {
    return ToObject(args.GetIsolate(), pusher.getScreenShareEncoderConfiguration());
  });
}

void LumoLivePushJSWrapper::SwitchScreenToCamera(const Arguments& args) {
  CallPusher(args, LUMO_HERE, kFailedLater,
             [](auto& pusher) { return pusher.switchScreenToCamera(); });
}

void LumoLivePushJSWrapper::PauseScreenShare(const Arguments& args) {
  CallPusher(args, LUMO_HERE, kFailedLater, [](auto& pusher) { return pusher.pauseScreenShare(); });
}

void LumoLivePushJSWrapper::ResumeScreenShare(const Arguments& args) {
  CallPusher(args, LUMO_HERE, kFailedLater,
             [](auto& pusher) { return pusher.resumeScreenShare(); });
}

void LumoLivePushJSWrapper::GetScreenShareSourceInfo(const Arguments& args) {
  CallPusher(args, LUMO_HERE, EmptyArray{}, [&args](auto& pusher) {
    auto* isolate = args.GetIsolate();
    auto* list = pusher.getScreenShareSourceInfo();
    if (!list) return v8::Array::New(isolate);
    const auto sources = ArrayOfCounted(
        isolate, *list, [=](uint32_t index) { return SourceAt(isolate, *list, index); });
    list->release();  // this list, unlike the devices', is released by the caller
    return sources;
  });
}

void LumoLivePushJSWrapper::GetCurrentScreenShareSourceId(const Arguments& args) {
  CallPusher(args, LUMO_HERE, kFailedLater,
             [](auto& pusher) { return pusher.getCurrentScreenShareSourceId(); });
}

}  // namespace LumoLivePushElectronSDK
