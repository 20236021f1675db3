// Preview, push, camera and mute.

#include "wrapper/method_support.h"
#include "wrapper/view_options.h"

namespace LumoLivePushElectronSDK {
namespace {

using LumoRtc::LumoLivePusher;

struct MuteOptions {
  bool mute = false;
  uint32_t mode = 0;
};

constexpr OptionTable<MuteOptions, 2> kMuteKeys{
    option<&MuteOptions::mute>("mute"),
    option<&MuteOptions::mode>("mode"),
};

}  // namespace

void LumoLivePushJSWrapper::StartPreview(const Arguments& args) {
  if (!FirstIsObject(args)) return Refuse(args, LUMO_HERE, kFailed);
  CallPusherWithOptions(args, LUMO_HERE, kFailed, kViewKeys, [&args](auto& pusher, const auto& o) {
    return pusher.startPreview(o.Handle(args.GetIsolate()), o.width, o.height);
  });
}

void LumoLivePushJSWrapper::StartPreviewAsync(const Arguments& args) {
  if (!FirstIsObject(args)) return Refuse(args, LUMO_HERE, kFailed);
  CallPusherWithOptions(args, LUMO_HERE, kFailed, kViewKeys, [&args](auto& pusher, const auto& o) {
    return pusher.startPreviewAsync(o.Handle(args.GetIsolate()), o.width, o.height);
  });
}

void LumoLivePushJSWrapper::StopPreview(const Arguments& args) {
  CallPusher(args, LUMO_HERE, kFailed, [](auto& pusher) { return pusher.stopPreview(); });
}

void LumoLivePushJSWrapper::StartPush(const Arguments& args) {
  CallPusherWithText(args, LUMO_HERE, kFailed, &LumoLivePusher::startPush);
}

void LumoLivePushJSWrapper::StartPushAsync(const Arguments& args) {
  CallPusherWithText(args, LUMO_HERE, kFailed, &LumoLivePusher::startPushAsync);
}

void LumoLivePushJSWrapper::StopPush(const Arguments& args) {
  CallPusher(args, LUMO_HERE, kFailed, [](auto& pusher) { return pusher.stopPush(); });
}

void LumoLivePushJSWrapper::StartCamera(const Arguments& args) {
  CallPusher(args, LUMO_HERE, kFailed, [](auto& pusher) { return pusher.startCamera(); });
}

void LumoLivePushJSWrapper::StopCamera(const Arguments& args) {
  CallPusher(args, LUMO_HERE, kFailed, [](auto& pusher) {
    pusher.stopCamera();
    return 0;  // deliberate: whatever the SDK returns
  });
}

void LumoLivePushJSWrapper::SetMute(const Arguments& args) {
  if (!FirstIsObject(args)) return Refuse(args, LUMO_HERE, kFailed);
  CallPusherWithOptions(args, LUMO_HERE, kFailed, kMuteKeys,
                        [](auto& pusher, const auto& o) { return pusher.setMute(o.mute, o.mode); });
}

void LumoLivePushJSWrapper::MuteLocalCamera(const Arguments& args) {
  CallPusherEvenWhenRefused(args, LUMO_HERE, OnlyBoolean(args), [&args](auto& pusher) {
    return pusher.muteLocalCamera(args[0]->IsTrue());
  });
}

}  // namespace LumoLivePushElectronSDK
