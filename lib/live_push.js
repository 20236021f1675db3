'use strict';

const { EVENT_NAMES } = require('./event_names');
const { EventHub } = require('./event_hub');
const { LivePlayer } = require('./live_player');
const { LivePushError } = require('./live_push_error');
const { METHOD_RESULTS, checkResult } = require('./method_results');
const { checkedMixLayout } = require('./mix_layout');
const { addon, sdkDirectory: bundledSdkDirectory } = require('./native');
const { Operations } = require('./operations');
const { unpackedPath } = require('./unpacked_path');

const isObject = (value) => (typeof value === 'object' && value !== null) || isFunction(value);
const isFunction = (value) => typeof value === 'function';

/** The one argument of the methods whose result does not show that it was refused. */
const ARGUMENT_CHECKS = {
  setExtraConfig: (text) => typeof text === 'string' || 'a string',
  initPusher: (config) => isObject(config) || 'an object',
  initPlayer: (config) => isObject(config) || 'an object',
  isSupportLiveMode: (mode) => typeof mode === 'number' || 'a number',
  setLogLevel: (level) => level === (level | 0) || 'a 32-bit integer',
  setConsoleEnabled: (on) => typeof on === 'boolean' || 'a boolean',
};

/** @returns {unknown[]} the arguments for the native method @throws {TypeError} */
function checkedArguments(method, args) {
  const check = ARGUMENT_CHECKS[method];
  if (!check) return args;
  const [argument] = args;
  const verdict = check(argument);
  if (verdict !== true) throw new TypeError(`${method} takes ${verdict}, not ${typeof argument}`);
  return [argument];
}

const withUnpackedPath = (path) => (typeof path === 'string' ? unpackedPath(path) : path);

/** Methods of the native object that a player has instead. */
const PLAYER_METHODS = [
  'initPlayer',
  'destroyPlayer',
  'setPlayView',
  'startPlay',
  'stopPlay',
  'setRemoteAudioVolume',
  'getPlayMode',
];

/**
 * A live push with listeners, errors and promises in today's manner, on top of one native object.
 *
 * Methods have the native ones' names. They throw a LivePushError where those return a failure
 * value, and TypeErrors for arguments that the native side would misunderstand silently. Those
 * whose outcome is an event return a promise for it.
 */
class LivePush {
  /** The native object. A listener that is added to it takes the place of those of this class. */
  raw;

  #hub = new EventHub((name) => this.#connect(name));
  #operations = new Operations(this.#hub, { owner: this });
  #players = new Set();
  #disposed = false;

  /**
   * @param {object} [options]
   * @param {string} [options.sdkDirectory] default: the bundled SDK's
   * @param {string | object} [options.extraConfig] for setExtraConfig(); an object is made JSON
   * @throws {AddonLoadError | LivePushError}
   */
  constructor({ sdkDirectory = bundledSdkDirectory, extraConfig } = {}) {
    this.raw = addon.createLivePush();
    this.registPlugin(sdkDirectory);
    if (extraConfig === undefined) return;
    this.setExtraConfig(isObject(extraConfig) ? JSON.stringify(extraConfig) : extraConfig);
  }

  // -------------------------------------------------------------------------------------- events

  on(name, listener) {
    this.#mustBeUsable('on');
    return this.#hub.add(name, { listener, owner: this });
  }

  once(name, listener) {
    this.#mustBeUsable('once');
    return this.#hub.add(name, { listener, owner: this, once: true });
  }

  off(name, listener) {
    this.#hub.remove(name, listener, this);
  }

  #connect(name) {
    if (!EVENT_NAMES.includes(name)) throw new TypeError(`There is no event "${String(name)}"`);
    this.#call('addEventListener', [name, (...args) => this.#hub.dispatch(name, args)]);
  }

  // ------------------------------------------------------------------------------------- methods

  registPlugin(directory) {
    return this.#call('registPlugin', [withUnpackedPath(directory)]);
  }

  addPlugin(options) {
    const path = withUnpackedPath(options?.path);
    this.#call('addPlugin', [isObject(options) ? { ...options, path } : options]);
  }

  startPreview(options, wait) {
    return this.#run('startPreview', [options], wait);
  }

  startPreviewAsync(options, wait) {
    return this.#run('startPreviewAsync', [options], wait);
  }

  stopPreview(wait) {
    return this.#run('stopPreview', [], wait);
  }

  startPush(url, wait) {
    return this.#run('startPush', [url], wait);
  }

  startPushAsync(url, wait) {
    return this.#run('startPushAsync', [url], wait);
  }

  stopPush(wait) {
    return this.#run('stopPush', [], wait);
  }

  async setLiveMixTranscodingConfig(layout, wait) {
    await this.#run('setLiveMixTranscodingConfig', [checkedMixLayout(layout)], wait);
  }

  /** Destroys the SDK's pusher and rejects what waits for an outcome of it. */
  destroyPusher() {
    this.#call('destroyPusher', []);
    this.#operations.interrupt('INTERRUPTED');
  }

  /** @returns {LivePlayer} */
  createPlayer(config = {}) {
    this.#mustBeUsable('createPlayer');
    // A player that is made before there is a listener never reports anything.
    this.#hub.open('onPlayStarted');
    const session = {
      call: (name, args) => this.#call(name, args),
      hub: this.#hub,
      forget: (player) => this.#players.delete(player),
    };
    const player = new LivePlayer(session, this.#call('initPlayer', [config]));
    this.#players.add(player);
    return player;
  }

  /**
   * Ends everything: the pusher, the players, the plug-ins, the listeners, and what waits for an
   * outcome. Once is enough. The native object stays usable.
   */
  dispose() {
    if (this.#disposed) return;
    this.raw.destroyPusher();
    for (const player of this.#players) player.dispose();
    this.raw.releasePluginManager();
    this.#disposed = true;
    this.#operations.interrupt('DISPOSED');
    this.#hub.clear();
  }

  // The remaining methods call the native ones and check the result.
  static {
    const { prototype } = LivePush;
    const others = [...PLAYER_METHODS, 'addEventListener'];
    for (const name of Object.keys(METHOD_RESULTS).filter((method) => !others.includes(method))) {
      if (Object.hasOwn(prototype, name)) continue;
      const { [name]: value } = {
        [name](...args) {
          return this.#call(name, args);
        },
      };
      Object.defineProperty(prototype, name, { value, configurable: true, writable: true });
    }
    if (Symbol.asyncDispose) {
      const value = async function asyncDispose() {
        this.dispose();
      };
      Object.defineProperty(prototype, Symbol.asyncDispose, { value, configurable: true });
    }
  }

  #run(name, args, wait) {
    return this.#operations.run(name, () => this.#call(name, args), wait);
  }

  #call(name, args) {
    this.#mustBeUsable(name);
    return checkResult(name, this.raw[name](...checkedArguments(name, args)));
  }

  #mustBeUsable(method) {
    if (this.#disposed) throw new LivePushError('DISPOSED', method);
  }
}
module.exports = { LivePush };
