#include "api/pusher_listeners.h"

#include "base/log.h"
#include "base/redaction.h"

namespace NimboEngine {

using namespace LumoRtc;

namespace {

using NetworkOperation = void (LumoLivePushNetworkListener::*)(LumoLivePusher*);

NetworkOperation operationOf(NetworkEvent event) {
  using Network = LumoLivePushNetworkListener;
  switch (event) {
    case NetworkEvent::kNetworkPoor:
      return &Network::onNetworkPoor;
    case NetworkEvent::kNetworkRecovery:
      return &Network::onNetworkRecovery;
    case NetworkEvent::kReconnectStart:
      return &Network::onReconnectStart;
    case NetworkEvent::kConnectionLost:
      return &Network::onConnectionLost;
    case NetworkEvent::kReconnectFail:
      return &Network::onReconnectFail;
    case NetworkEvent::kReconnectSucceed:
      return &Network::onReconnectSucceed;
    case NetworkEvent::kSendDataTimeout:
      return &Network::onSendDataTimeout;
    case NetworkEvent::kConnectFail:
      return &Network::onConnectFail;
    case NetworkEvent::kAuthenticationOverdue:
      return &Network::onPushURLAuthenticationOverdue;
    case NetworkEvent::kSendMessage:
      return &Network::onSendMessage;
    case NetworkEvent::kPacketsLost:
      break;
  }
  return &Network::onPacketsLost;
}

}  // namespace

void PusherListeners::detachAll() {
  errorSlot.set(nullptr);
  infoSlot.set(nullptr);
  frameSlot.set(nullptr);
  networkSlot.set(nullptr);
}

void PusherListeners::network(NetworkEvent event) {
  networkSlot.call(
      [&](LumoLivePushNetworkListener& listener) { (listener.*operationOf(event))(pusher_); });
}

void PusherListeners::mixResult(bool success, const std::string& reason) {
  info(&LumoLivePushInfoListener::onSetLiveMixTranscodingConfig, success, redact(reason).c_str());
}

void PusherListeners::volumes(const std::vector<LumoLiveUserVolumeInfo>& records) {
  infoSlot.call([&](LumoLivePushInfoListener& listener) {
    listener.onAudioVolumeCallback(records.data(), static_cast<int>(records.size()),
                                   records.front().sumVolume);
  });
}

void PusherListeners::sdkError(LumoLiveErrorCode code, const std::string& message) {
  NIMBO_LOG_ERROR("SDK error {}: {}", static_cast<int>(code), message);
  const std::string shown = redact(message);
  errorSlot.call([&](LumoLivePushErrorListener& listener) {
    listener.onSDKError(pusher_, {code, shown.c_str()});
  });
}

void PusherListeners::systemError(LumoLiveErrorCode code, const std::string& message) {
  NIMBO_LOG_ERROR("system error {}: {}", static_cast<int>(code), message);
  const std::string shown = redact(message);
  errorSlot.call([&](LumoLivePushErrorListener& listener) {
    listener.onSystemError(pusher_, {code, shown.c_str()});
  });
}

void PusherListeners::capturedFrame(FrameOrigin origin, uint8_t* pixels, const GstVideoInfo& info) {
  const LumoLiveVideoSource source =
      origin == FrameOrigin::kScreen ? kLumoLiveVideoSourceScreen : kLumoLiveVideoSourceCamera;
  frameSlot.call([&](LumoLiveVideoFrameListener& listener) {
    LumoLiveVideoRawData frame{.data = pixels,
                               .strideY = GST_VIDEO_INFO_PLANE_STRIDE(&info, 0),
                               .strideU = GST_VIDEO_INFO_PLANE_STRIDE(&info, 1),
                               .strideV = GST_VIDEO_INFO_PLANE_STRIDE(&info, 2),
                               .height = GST_VIDEO_INFO_HEIGHT(&info),
                               .width = GST_VIDEO_INFO_WIDTH(&info)};
    return listener.onCaptureVideoSample(pusher_, source, frame);
  });
}

}  // namespace NimboEngine
