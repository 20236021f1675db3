'use strict';

/** Every event of the add-on. "onVideoRenderData" is the only way of raw frames to JavaScript. */
const EVENT_NAMES = Object.freeze([
  'onSystemError',
  'onSDKError',
  'onPreviewStarted',
  'onPreviewStopped',
  'onPushStarted',
  'onPushStopped',
  'onFirstFramePushed',
  'onSetLiveMixTranscodingConfig',
  'onPlayStarted',
  'onPlayStopped',
  'onFirstRemoteVideoFrameDrawn',
  'onPlayError',
  'onNetworkQualityChange',
  'onPlayerStatistics',
  'onAudioVolumeCallback',
  'onActiveSpeaker',
  'onNetworkPoor',
  'onNetworkRecovery',
  'onReconnectStart',
  'onConnectionLost',
  'onReconnectFail',
  'onReconnectSucceed',
  'onSendDataTimeout',
  'onConnectFail',
  'onPushURLAuthenticationOverdue',
  'onSendMessage',
  'onPacketsLost',
  'onCaptureVideoSample',
  'onReceivedRemoteVideoSample',
  'onVideoRenderData',
  'onOccurError',
]);

/** Those that concern one player. */
const PLAYER_EVENT_NAMES = Object.freeze([
  'onPlayStarted',
  'onPlayStopped',
  'onFirstRemoteVideoFrameDrawn',
  'onPlayError',
  'onNetworkQualityChange',
  'onPlayerStatistics',
  'onAudioVolumeCallback',
  'onActiveSpeaker',
  'onVideoRenderData',
]);

module.exports = { EVENT_NAMES, PLAYER_EVENT_NAMES };
