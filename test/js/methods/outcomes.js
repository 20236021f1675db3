'use strict';

/*
 * What comes of a call of each method, by the list in lib/methods.js: OUTCOMES[method] has
 *
 *   accepts, exactly            the arguments, as the list says
 *   accepted, refused           outcomes on a new wrapper, which has no pusher yet
 *   notFound                    for a first argument that is not an ID, or names nothing
 *   withoutPusher, refusedWithoutPusher   outcomes on a wrapper that may not have a pusher; those
 *                               of accepted and refused when left out
 *
 * An outcome is the `result`, undefined when left out, the add-on's `log` lines, "function: text",
 * and the `calls` that the SDK gets. Methods that act on the pusher, a player or the SDK follow from
 * the list; what they do otherwise is in DIFFERENT, together with all of the others.
 */

const { METHODS } = require('../../../lib/methods');
const sdk = require('../support/scripted_sdk');
const { handlerOf } = require('./arguments');

const EMPTY = { status: 0, text: '', number: 0, boolean: false, list: [], record: {} };
const NO_PLAYER = 'GetPlayerInstanceByPlayerID: Get livePlayer failed';
const NO_PLUGIN = 'GetPluginObjByPluginID: Get pluginObj failed';

/** The name of the method's operation, whose capitals differ on the SDK as a whole. */
function operationOf(object, method) {
  const name = `${object}.${method}`.toLowerCase();
  return sdk.names().operations.find((operation) => operation.toLowerCase() === name);
}

const BY_OBJECT = {
  pusher: (method, handler, { returns, failures }) => {
    const [failure = EMPTY[returns]] = failures;
    return {
      accepted: {
        result: EMPTY[returns],
        calls: ['pusher.Create', operationOf('pusher', method)],
      },
      refused: { result: failure, log: [`${handler}: ${handler}`] },
      withoutPusher: { result: failure, log: [`${handler}: GetLivePusher failed: ${handler}`] },
    };
  },
  player: (method, handler, { returns, failures: [failure] }) => ({
    accepted: { result: EMPTY[returns], calls: [operationOf('player', method)] },
    refused: { result: failure, log: [`${handler}: ${handler}`] },
    notFound: { result: failure, log: [NO_PLAYER, `${handler}: ${handler}`] },
  }),
  sdk: (method, handler, { returns, failures: [failure = EMPTY[returns]] }) => ({
    accepted: {
      result: returns === 'nothing' ? undefined : EMPTY[returns],
      calls: [operationOf('base', method)],
    },
    refused: { result: failure, log: [`${handler}: ${handler}`] },
  }),
  'plug-in': (_method, _handler, { failures: [failure] }) => ({
    accepted: { result: 0 },
    refused: { result: failure },
    notFound: { result: failure, log: [NO_PLUGIN] },
  }),
  'add-on': () => ({ accepted: {} }),
};

/** Refused, these look the pusher up all the same, and with one answer nothing. */
const refusedLate = (handler) => ({
  refused: { log: [`${handler}: ${handler}`], calls: ['pusher.Create'] },
  refusedWithoutPusher: {
    result: -901,
    log: [`${handler}: ${handler}`, `${handler}: GetLivePusher failed: ${handler}`],
  },
});

const DIFFERENT = {
  setExtraConfig: { refused: { log: ['SetExtraConfig: SetExtraConfig'] } },
  registPlugin: {
    accepted: { result: true, log: ['LoadSDK: Load SDK Finish'] },
    refused: { result: false, log: ['RegistPlugin: RegistPlugin'] },
  },
  initPusher: {
    accepted: {
      calls: [
        ...['pusher.Create', 'pusher.init', 'pusher.setPushErrorListener'],
        ...['pusher.setPushInfoListener', 'pusher.setVideoFrameListener'],
        'pusher.setPushNetworkListener',
      ],
    },
    refused: { log: ['InitPusher: InitPusher'] },
    withoutPusher: { result: 1, log: ['InitPusher: GetLivePusher failed: InitPusher'] },
  },
  setResolution: { refused: { result: -901, log: ['SetResolution: EnableAudioVolumeIndication'] } },
  setFps: { refused: { result: -901, log: ['SetFps: SetMinVideoBitrate'] } },
  muteLocalCamera: refusedLate('MuteLocalCamera'),
  startScreenShareByDesktopId: refusedLate('StartScreenShareByDesktopId'),
  getScreenShareEncoderConfiguration: {
    accepted: {
      result: {
        ...{ mResolution: 0, width: 0, height: 0, frameRate: 0, bitrate: 0, mVideoEncodeGop: 0 },
      },
      calls: ['pusher.Create', 'pusher.getScreenShareEncoderConfiguration'],
    },
  },
  isSupportLiveMode: { refused: { result: false, log: ['IsSupportLiveMode: SetLogLevel'] } },
  initPlayer: {
    accepted: { result: 'a player ID', calls: ['player.Create', 'player.initPlayer'] },
    refused: { log: ['InitPlayer: InitPlayer'] },
  },
  destroyPlayer: {
    accepted: {
      calls: ['player.setPlayInfoListener', 'player.setVideoFrameListener', 'player.destroy'],
    },
    notFound: { log: [NO_PLAYER, "DestroyPlayer: Destroy failed: can't find instance"] },
  },
  setPlayView: {
    refused: { result: 1, log: ['SetPlayView: setPlayView'] },
    notFound: { result: 1, log: [NO_PLAYER, 'SetPlayView: setPlayView'] },
  },
  addEventListener: {
    accepted: { result: true, calls: ['pusher.Create'] },
    refused: { result: false, log: ['AddEventListener: AddEventListener: invaild param'] },
    withoutPusher: {
      result: -102,
      log: ['AddEventListener: GetLivePusher failed: AddEventListener'],
    },
  },
  writeLog: { refused: { result: -101, log: ['WriteLog: WriteLog: invaild param'] } },
  initializePluginManager: { accepted: { result: 0 } },
  releasePluginManager: { accepted: { result: 0 } },
  addPlugin: { accepted: { result: 1 }, refused: { result: 1 } }, // no path is given
  getPlugins: { accepted: { result: [] } },
  getPluginParameter: { accepted: { result: 0 } },
};

const OUTCOMES = Object.fromEntries(
  Object.entries(METHODS).map(([method, row]) => {
    const outcomes = BY_OBJECT[row.actsOn](method, handlerOf(method), row);
    return [
      method,
      { accepts: row.takes, exactly: row.exactly, ...outcomes, ...DIFFERENT[method] },
    ];
  }),
);

module.exports = { OUTCOMES, operationOf };
