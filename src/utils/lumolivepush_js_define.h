// Names and numbers that JavaScript sees: the events and the add-on's own error codes.

#pragma once

namespace LumoLivePushElectronSDK {

// The add-on's own errors, reported as the bare number of "onOccurError".
enum LumoLivePushJSWrapperErrorCode {
  kInvalidParam = -101,  // a method was called with arguments of the wrong number or type
};

// Event names. Character arrays rather than std::string: SDK threads may still raise events while
// the process runs its static destructors.
inline constexpr char Event_SystemError[] = "onSystemError";
inline constexpr char Event_SDKError[] = "onSDKError";
inline constexpr char Event_PreviewStarted[] = "onPreviewStarted";
inline constexpr char Event_PreviewStopped[] = "onPreviewStopped";
inline constexpr char Event_PushStarted[] = "onPushStarted";
inline constexpr char Event_PushStopped[] = "onPushStopped";
inline constexpr char Event_FirstFramePushed[] = "onFirstFramePushed";
inline constexpr char Event_SetLiveMixTranscodingConfig[] = "onSetLiveMixTranscodingConfig";
inline constexpr char Event_PlayStarted[] = "onPlayStarted";
inline constexpr char Event_PlayStopped[] = "onPlayStopped";
inline constexpr char Event_FirstRemoteVideoFrameDrawn[] = "onFirstRemoteVideoFrameDrawn";
inline constexpr char Event_PlayError[] = "onPlayError";
inline constexpr char Event_NetworkQualityChange[] = "onNetworkQualityChange";
inline constexpr char Event_PlayerStatistics[] = "onPlayerStatistics";
inline constexpr char Event_AudioVolumeCallback[] = "onAudioVolumeCallback";
inline constexpr char Event_ActiveSpeaker[] = "onActiveSpeaker";
inline constexpr char Event_NetworkPoor[] = "onNetworkPoor";
inline constexpr char Event_NetworkRecovery[] = "onNetworkRecovery";
inline constexpr char Event_ReconnectStart[] = "onReconnectStart";
inline constexpr char Event_ConnectionLost[] = "onConnectionLost";
inline constexpr char Event_ReconnectFail[] = "onReconnectFail";
inline constexpr char Event_ReconnectSucceed[] = "onReconnectSucceed";
inline constexpr char Event_SendDataTimeout[] = "onSendDataTimeout";
inline constexpr char Event_ConnectFail[] = "onConnectFail";
inline constexpr char Event_PushURLAuthenticationOverdue[] = "onPushURLAuthenticationOverdue";
inline constexpr char Event_SendMessage[] = "onSendMessage";
inline constexpr char Event_PacketsLost[] = "onPacketsLost";
// Reserved: raw frames reach JavaScript only through "onVideoRenderData".
inline constexpr char Event_CaptureVideoSample[] = "onCaptureVideoSample";
inline constexpr char Event_ReceivedRemoteVideoSample[] = "onReceivedRemoteVideoSample";
inline constexpr char Event_VideoRenderData[] = "onVideoRenderData";
inline constexpr char Event_OccurError[] = "onOccurError";

}  // namespace LumoLivePushElectronSDK
