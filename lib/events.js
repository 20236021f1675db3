'use strict';

/*
 * The events of the add-on, in the order of the documents. This is the one list of them: the native
 * names, and the native handlers of events that carry nothing or the player only, are generated from
 * it, LivePush and LivePlayer take their events from it, and the tests check the native code, the type
 * declarations and the documents against it.
 *
 *   raised by  "pusher" or "player": the SDK's callback of the same name, or the one that follows;
 *              "both"; "add-on"; "nothing": the name is reserved
 *   carries    the keys of the payload, in their order; [] when there is none. ANOTHER: the
 *              listener's argument is not an object.
 */

const ANOTHER = null;

const row = (raisedBy, carries, callback) => ({ raisedBy, carries, callback });

/**
 * @type {Record<string, {raisedBy: string, carries: string[] | null, callback: string | undefined}>}
 */
const EVENTS = {
  onSystemError: row('pusher', ['msg', 'code']),
  onSDKError: row('pusher', ['msg', 'code']),
  onPreviewStarted: row('pusher', []),
  onPreviewStopped: row('pusher', []),
  onPushStarted: row('pusher', []),
  onPushStopped: row('pusher', []),
  onFirstFramePushed: row('pusher', []),
  onSetLiveMixTranscodingConfig: row('pusher', ['isSuccess', 'msg']),
  onPlayStarted: row('player', ['playerID']),
  onPlayStopped: row('player', ['playerID']),
  onFirstRemoteVideoFrameDrawn: row('player', ['playerID'], 'onFirstVideoFrameDrawn'),
  onPlayError: row('player', ['playerID', 'msg', 'code'], 'onError'),
  onNetworkQualityChange: row('player', ['playerID', 'quality']),
  onPlayerStatistics: row('player', [
    ...['playerID', 'userId', 'channelId', 'videoWidth', 'videoHeight', 'decodeFps', 'renderFps'],
    ...['videoBitrate', 'audioBitrate', 'audioLossRate', 'lossRate'],
  ]),
  onAudioVolumeCallback: row('both', [
    ...['userType', 'playerID', 'speechState', 'volume', 'sumVolume'],
    ...['volumeInfoCount', 'totalVolume'],
  ]),
  onActiveSpeaker: row('both', ['userType', 'playerID']),
  onNetworkPoor: row('pusher', []),
  onNetworkRecovery: row('pusher', []),
  onReconnectStart: row('pusher', []),
  onConnectionLost: row('pusher', []),
  onReconnectFail: row('pusher', []),
  onReconnectSucceed: row('pusher', []),
  onSendDataTimeout: row('pusher', []),
  onConnectFail: row('pusher', []),
  onPushURLAuthenticationOverdue: row('pusher', []),
  onSendMessage: row('pusher', []),
  onPacketsLost: row('pusher', []),
  // Raw frames reach JavaScript only through "onVideoRenderData".
  onCaptureVideoSample: row('nothing', ANOTHER),
  onReceivedRemoteVideoSample: row('nothing', ANOTHER),
  onVideoRenderData: row('both', ANOTHER),
  onOccurError: row('add-on', ANOTHER),
};

const EVENT_NAMES = Object.freeze(Object.keys(EVENTS));

/** The events that concern one player. */
const PLAYER_EVENT_NAMES = Object.freeze(
  EVENT_NAMES.filter((name) => ['player', 'both'].includes(EVENTS[name].raisedBy)),
);

module.exports = { EVENTS, EVENT_NAMES, PLAYER_EVENT_NAMES };
