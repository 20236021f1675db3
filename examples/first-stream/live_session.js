'use strict';

const { EventEmitter, once } = require('node:events');
const { createLivePush, sdkDirectory } = require('../../lib');

const VIDEO_SIZE = { width: 1280, height: 720 };
const CONFIG = { ...VIDEO_SIZE, frameRate: 30, mTargetVideoBitrate: 2000, mVideoEncodeGop: 2 };

const FAILURES = ['onSystemError', 'onSDKError', 'onConnectFail', 'onReconnectFail', 'onPlayError'];
const MILESTONES = [
  ...['onPreviewStarted', 'onPreviewStopped', 'onPushStarted', 'onPushStopped'],
  ...['onFirstFramePushed', 'onConnectionLost', 'onReconnectSucceed'],
  ...['onPlayStarted', 'onPlayStopped', 'onFirstRemoteVideoFrameDrawn', 'onNetworkQualityChange'],
  'onSetLiveMixTranscodingConfig',
];

/**
 * One pusher and its events. Emits each event of the SDK under its own name and again as 'event'
 * (the record), failures as 'failure' (a text), and each played frame as 'played'.
 */
class PusherSession extends EventEmitter {
  /** @type {{name: string, seconds: number, payload?: object}[]} seconds since it was made */
  events = [];
  /** @type {number[]} when each captured frame arrived in JavaScript, by `performance.now()` */
  deliveries = [];
  /**
   * @type {object | undefined} the newest frame, as delivered by "onVideoRenderData"
   */
  lastFrame = undefined;

  #live = createLivePush();
  #players = [];
  #madeAt = performance.now();

  /**
   * @param {{camera: string, microphone: string}} sources the SDK's extra configuration
   * @param {{file: string, parameter?: string}[]} plugins in the order in which they process a
   *   frame
   */
  constructor(sources, plugins) {
    super();
    if (!this.#live.registPlugin(sdkDirectory)) throw new Error(`No SDK in ${sdkDirectory}`);
    this.#live.setExtraConfig(JSON.stringify(sources));
    for (const name of [...FAILURES, ...MILESTONES]) {
      this.#live.addEventListener(name, (payload) => this.#happened(name, payload));
    }
    this.#live.addEventListener('onPlayerStatistics', (figures) => {
      this.emit('onPlayerStatistics', figures);
    });
    this.#live.addEventListener('onVideoRenderData', ([frame]) => {
      if (!frame) return; // fetched with an earlier event
      if (frame.user_id !== 'preview') return this.emit('played', frame);
      this.deliveries.push(performance.now());
      this.lastFrame = frame;
    });
    this.#live.initPusher(CONFIG);
    for (const [index, plugin] of plugins.entries()) this.#runPlugin(index, plugin);
  }

  /** @returns {number} seconds since it was made */
  get seconds() {
    return (performance.now() - this.#madeAt) / 1000;
  }

  /**
   * @returns {{camera: string, microphone: string}} the names of those that will be used
   * @throws {Error} when one is missing
   */
  requireDevices() {
    const camera = this.#live.getCurrentCameraName();
    const hasCamera = this.#live.getCurrentCameraID() !== 'test';
    const microphone = this.#live.getCurrentAudioCaptureName();
    const missing = [...(hasCamera ? [] : ['camera']), ...(microphone ? [] : ['microphone'])];
    if (missing.length === 0) return { camera, microphone };
    throw new Error(
      `No ${missing.join(' and no ')} is plugged in. Without --input a test pattern is streamed.`,
    );
  }

  /**
   * Captures the first screen instead of the camera.
   *
   * @returns {string} its name
   * @throws {Error} when there is none
   */
  shareScreen() {
    const [screen] = this.#live.getScreenShareSourceInfo();
    if (!screen) throw new Error('There is no screen to share: does $DISPLAY name an X server?');
    const shared = this.#live.startScreenShareByDesktopId(screen.sourceId);
    if (shared !== 0) throw new Error(`startScreenShareByDesktopId returned ${shared}`);
    this.#live.stopCamera();
    return screen.sourceName;
  }

  /** Starts capture and push. @param {string} url @throws {Error} when the SDK refuses */
  start(url) {
    const preview = this.#live.startPreview({ view: null, ...VIDEO_SIZE });
    if (preview !== 0) throw new Error(`startPreview returned ${preview}`);
    const push = this.#live.startPush(url);
    if (push !== 0) throw new Error(`startPush returned ${push}`);
  }

  /**
   * Plays a stream concurrently. A failure is emitted as 'failure'.
   *
   * @param {string} url
   * @returns {{id: string, drawn: Promise<void>}} the player's ID; `drawn` resolves with the first
   *   frame
   * @throws {Error} when the SDK refuses
   */
  play(url) {
    const id = this.#live.initPlayer({});
    this.#players.push(id);
    const drawn = new Promise((resolve) => {
      this.on('onFirstRemoteVideoFrameDrawn', ({ playerID }) => playerID === id && resolve());
    });
    const play = this.#live.startPlay(id, url);
    if (play !== 0) throw new Error(`startPlay returned ${play}`);
    return { id, drawn };
  }

  /** Publishes a mix from now on. @throws {Error} when the SDK refuses the layout */
  mix(layout) {
    const mix = this.#live.setLiveMixTranscodingConfig(layout);
    if (mix !== 0) throw new Error(`setLiveMixTranscodingConfig returned ${mix}`);
  }

  /** Stops the push, then capture, if running, and the players, and releases the pusher. */
  async stop() {
    await this.#ended('onPushStopped', () => this.#live.stopPush());
    await this.#ended('onPreviewStopped', () => this.#live.stopPreview());
    for (const id of this.#players) this.#live.destroyPlayer(id);
    this.#live.destroyPusher();
  }

  /** Frames go through the plug-ins in the order of their IDs. */
  #runPlugin(index, { file, parameter }) {
    const id = String(index).padStart(3, '0');
    const live = this.#live;
    if (live.addPlugin({ id, path: file }) !== 0) throw new Error(`No plug-in: ${file}`);
    if (parameter !== undefined && live.setPluginParameter(id, parameter) !== 0) {
      throw new Error(`${file} does not accept ${parameter}`);
    }
    live.enablePlugin(id, true);
  }

  async #ended(event, request) {
    const guard = AbortSignal.timeout(3000);
    const ended = once(this, event, { signal: guard }).catch(() => {});
    // Refused if it is not running.
    if (request() === 0) await ended;
  }

  #happened(name, payload) {
    const record = { name, seconds: Math.round(this.seconds * 1000) / 1000, payload };
    this.events.push(record);
    this.emit('event', record);
    this.emit(name, payload);
    if (!FAILURES.includes(name)) return;
    this.emit('failure', payload ? `${name}: ${payload.msg} (${payload.code})` : name);
  }
}

module.exports = { PusherSession, VIDEO_SIZE };
