'use strict';

/*
 * The methods of the native object, in the order in which they are registered. This is the one list
 * of them: the native method table is generated from it, LivePush takes its methods and its reading
 * of their results from it, and the tests check the native code, the type declarations and the
 * documents against it.
 *
 *   acts on   "pusher", "player" and "sdk": calls the SDK's operation of the same name, on the
 *             pusher, on the player that the first argument names, or on the SDK as a whole;
 *             "plug-in": likewise a loaded plug-in; "add-on": does something else
 *   takes     the types of the arguments that must be there: a JavaScript type, "integer" for 32
 *             bits, "object or null", or the ID of a "player" or "plug-in". Further arguments are
 *             ignored, unless only() says otherwise.
 *   returns   "status" (0 is success), or the type of its value: "text", "number", "boolean", "list",
 *             "record", "nothing"
 *   failures  its results for bad arguments, or when there is no pusher, player or plug-in. Any
 *             other status but 0 is an error code of the SDK.
 */

const only = (...types) => ({ types, exactly: true });

function row(actsOn, takes, returns, ...failures) {
  const { types, exactly } = Array.isArray(takes) ? { types: takes, exactly: false } : takes;
  return { actsOn, takes: types, exactly, returns, failures };
}

/**
 * @type {Record<string, {actsOn: string, takes: string[], exactly: boolean, returns: string,
 *   failures: unknown[]}>}
 */
const METHODS = {
  setExtraConfig: row('add-on', ['string'], 'nothing'),
  registPlugin: row('add-on', ['string'], 'boolean', false),
  initPusher: row('add-on', ['object'], 'nothing', 1),
  destroyPusher: row('add-on', [], 'nothing'),
  startPreview: row('pusher', ['object'], 'status', 1),
  startPreviewAsync: row('pusher', ['object'], 'status', 1),
  stopPreview: row('pusher', [], 'status', 1),
  startPush: row('pusher', ['string'], 'status', 1),
  startPushAsync: row('pusher', ['string'], 'status', 1),
  stopPush: row('pusher', [], 'status', 1),
  startCamera: row('pusher', [], 'status', 1),
  stopCamera: row('pusher', [], 'status', 1),
  getAudioCaptureList: row('pusher', [], 'list'),
  getCurrentAudioCaptureName: row('pusher', [], 'text'),
  getCurrentAudioCaptureID: row('pusher', [], 'text'),
  setCurrentAudioCaptureName: row('pusher', ['string'], 'status', 1),
  setCurrentAudioCaptureID: row('pusher', ['string'], 'status', 1),
  setMute: row('pusher', ['object'], 'status', 1),
  getCameraList: row('pusher', [], 'list'),
  getCurrentCameraName: row('pusher', [], 'text'),
  getCurrentCameraID: row('pusher', [], 'text'),
  setCurrentCameraName: row('pusher', ['string'], 'status', 1),
  setCurrentCameraID: row('pusher', ['string'], 'status', 1),
  enableAudioVolumeIndication: row('pusher', ['object'], 'status', -901),
  setTargetVideoBitrate: row('pusher', only('number'), 'status', -901),
  setMinVideoBitrate: row('pusher', only('number'), 'status', -901),
  setResolution: row('pusher', ['object'], 'status', -901),
  setFps: row('pusher', only('number'), 'status', -901),
  setLiveMixTranscodingConfig: row('pusher', ['object or null'], 'status', -901),
  muteLocalCamera: row('pusher', only('boolean'), 'status', -901, undefined),
  startScreenShareByDesktopId: row('pusher', only('number'), 'status', -901, undefined),
  setScreenShareEncoderConfiguration: row('pusher', ['object'], 'status', -901),
  getScreenShareEncoderConfiguration: row('pusher', [], 'record'),
  switchScreenToCamera: row('pusher', [], 'status', -901),
  pauseScreenShare: row('pusher', [], 'status', -901),
  resumeScreenShare: row('pusher', [], 'status', -901),
  getScreenShareSourceInfo: row('pusher', [], 'list'),
  getCurrentScreenShareSourceId: row('pusher', [], 'number', -901),
  getSDKVersion: row('sdk', [], 'text'),
  isSupportLiveMode: row('sdk', only('number'), 'boolean'),
  setLogDirPath: row('sdk', only('string'), 'status', 1),
  setLogLevel: row('sdk', only('integer'), 'nothing'),
  setConsoleEnabled: row('sdk', only('boolean'), 'nothing'),
  initPlayer: row('add-on', ['object'], 'text', '', undefined),
  destroyPlayer: row('add-on', ['player'], 'nothing'),
  setPlayView: row('player', ['player', 'object'], 'status', 1),
  startPlay: row('player', ['player', 'string'], 'status', 1),
  stopPlay: row('player', ['player'], 'status', 1),
  setRemoteAudioVolume: row('player', ['player', 'number'], 'status', 1),
  getPlayMode: row('player', ['player'], 'number', -100),
  addEventListener: row('add-on', only('string', 'function'), 'boolean', false, -102),
  writeLog: row('add-on', ['string'], 'nothing', -101),
  initializePluginManager: row('add-on', [], 'status'),
  releasePluginManager: row('add-on', [], 'status'),
  addPlugin: row('add-on', ['object'], 'status', 1),
  removePlugin: row('plug-in', ['plug-in'], 'status', 1),
  getPlugins: row('add-on', [], 'list'),
  enablePlugin: row('plug-in', ['plug-in', 'boolean'], 'status', 1),
  setPluginParameter: row('plug-in', ['plug-in', 'string'], 'status', 1),
  getPluginParameter: row('add-on', [], 'status'),
};

module.exports = { METHODS };
