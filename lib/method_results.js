'use strict';

const { LivePushError } = require('./live_push_error');

/*
 * How each native method tells success from failure: a row takes what it returned and answers the
 * value that is meant for the caller, or throws. The add-on's own failure values are no error codes
 * of the SDK, so the two can be told apart.
 */

/** 0 is success, `refusals` are the add-on's answers, anything else is the SDK's error code. */
function status(...refusals) {
  return (method, result) => {
    if (result === 0) return undefined;
    const code = refusals.includes(result) ? 'REFUSED' : 'SDK_ERROR';
    throw new LivePushError(code, method, { nativeCode: result });
  };
}

/** Everything but `refusals` is the value that was asked for. */
function value(...refusals) {
  return (method, result) => {
    if (!refusals.includes(result)) return result;
    throw new LivePushError('REFUSED', method, { nativeCode: result });
  };
}

function recordWithKeys(method, result) {
  if (Object.keys(result).length > 0) return result;
  throw new LivePushError('REFUSED', method);
}

const METHOD_RESULTS = {
  setExtraConfig: value(),
  registPlugin: value(false),
  initPusher: value(1),
  destroyPusher: value(),
  startPreview: status(1),
  startPreviewAsync: status(1),
  stopPreview: status(1),
  startPush: status(1),
  startPushAsync: status(1),
  stopPush: status(1),
  startCamera: status(1),
  stopCamera: status(1),
  getAudioCaptureList: value(),
  getCurrentAudioCaptureName: value(),
  getCurrentAudioCaptureID: value(),
  setCurrentAudioCaptureName: status(1),
  setCurrentAudioCaptureID: status(1),
  setMute: status(1),
  getCameraList: value(),
  getCurrentCameraName: value(),
  getCurrentCameraID: value(),
  setCurrentCameraName: status(1),
  setCurrentCameraID: status(1),
  enableAudioVolumeIndication: status(-901),
  setTargetVideoBitrate: status(-901),
  setMinVideoBitrate: status(-901),
  setResolution: status(-901),
  setFps: status(-901),
  setLiveMixTranscodingConfig: status(-901),
  muteLocalCamera: status(-901, undefined),
  startScreenShareByDesktopId: status(-901, undefined),
  setScreenShareEncoderConfiguration: status(-901),
  getScreenShareEncoderConfiguration: recordWithKeys,
  switchScreenToCamera: status(-901),
  pauseScreenShare: status(-901),
  resumeScreenShare: status(-901),
  getScreenShareSourceInfo: value(),
  getCurrentScreenShareSourceId: value(-901),
  getSDKVersion: value(),
  isSupportLiveMode: value(),
  setLogDirPath: status(1),
  setLogLevel: value(),
  setConsoleEnabled: value(),
  initPlayer: value('', undefined),
  destroyPlayer: value(),
  setPlayView: status(1),
  startPlay: status(1),
  stopPlay: status(1),
  setRemoteAudioVolume: status(1),
  getPlayMode: value(-100),
  addEventListener: value(false, -102),
  writeLog: value(-101),
  initializePluginManager: status(),
  releasePluginManager: status(),
  addPlugin: status(1),
  removePlugin: status(1),
  getPlugins: value(),
  enablePlugin: status(1),
  setPluginParameter: status(1),
  getPluginParameter: status(),
};

/**
 * @param {string} method
 * @param {unknown} result what the native method returned
 * @returns {unknown} the value that was asked for; undefined for methods that only succeed or fail
 * @throws {LivePushError} when the result is a failure
 */
function checkResult(method, result) {
  return METHOD_RESULTS[method](method, result);
}

module.exports = { METHOD_RESULTS, checkResult };
