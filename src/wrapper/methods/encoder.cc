// Changes to the running encoder, and the volume reports.

#include "wrapper/method_support.h"

namespace LumoLivePushElectronSDK {
namespace {

struct VolumeOptions {
  int32_t interval = 0;
  int32_t smooth = 0;
  int32_t reportVad = 0;
};

constexpr OptionTable<VolumeOptions, 3> kVolumeKeys{
    option<&VolumeOptions::interval>("interval"),
    option<&VolumeOptions::smooth>("smooth"),
    option<&VolumeOptions::reportVad>("reportVad"),
};

struct ResolutionOptions {
  uint32_t resolution = 0;
  int32_t width = 0;
  int32_t height = 0;
};

constexpr OptionTable<ResolutionOptions, 3> kResolutionKeys{
    option<&ResolutionOptions::resolution>("resolution"),
    option<&ResolutionOptions::width>("width"),
    option<&ResolutionOptions::height>("height"),
};

}  // namespace

void LumoLivePushJSWrapper::EnableAudioVolumeIndication(const Arguments& args) {
  if (!FirstIsObject(args)) return Refuse(args, LUMO_HERE, kFailedLater);
  CallPusherWithOptions(
      args, LUMO_HERE, kFailedLater, kVolumeKeys, [](auto& pusher, const auto& o) {
        return pusher.enableAudioVolumeIndication(o.interval, o.smooth, o.reportVad);
      });
}

void LumoLivePushJSWrapper::SetTargetVideoBitrate(const Arguments& args) {
  if (!OnlyNumber(args)) return Refuse(args, LUMO_HERE, kFailedLater);
  CallPusher(args, LUMO_HERE, kFailedLater,
             [&args](auto& pusher) { return pusher.setTargetVideoBitrate(IntAt(args, 0)); });
}

void LumoLivePushJSWrapper::SetMinVideoBitrate(const Arguments& args) {
  if (!OnlyNumber(args)) return Refuse(args, LUMO_HERE, kFailedLater);
  CallPusher(args, LUMO_HERE, kFailedLater,
             [&args](auto& pusher) { return pusher.setMinVideoBitrate(IntAt(args, 0)); });
}

void LumoLivePushJSWrapper::SetResolution(const Arguments& args) {
  // Deliberate: the line names another method.
  if (!FirstIsObject(args)) {
    return Refuse(args, LUMO_HERE, kFailedLater, "EnableAudioVolumeIndication");
  }
  CallPusherWithOptions(args, LUMO_HERE, kFailedLater, kResolutionKeys,
                        [](auto& pusher, const auto& o) {
                          return pusher.setResolution(o.resolution, o.width, o.height);
                        });
}

void LumoLivePushJSWrapper::SetFps(const Arguments& args) {
  // Deliberate: the line names another method.
  if (!OnlyNumber(args)) return Refuse(args, LUMO_HERE, kFailedLater, "SetMinVideoBitrate");
  CallPusher(args, LUMO_HERE, kFailedLater,
             [&args](auto& pusher) { return pusher.setFps(UIntAt(args, 0)); });
}

}  // namespace LumoLivePushElectronSDK
