'use strict';

const { EVENT_NAMES } = require('./events');
const { EventHub } = require('./event_hub');
const { LivePlayer } = require('./live_player');
const { LivePushError } = require('./live_push_error');
const { checkResult } = require('./method_results');
const { METHODS } = require('./methods');
const { checkedMixLayout } = require('./mix_layout');
const { addon, sdkDirectory: bundledSdkDirectory } = require('./native');
const { OUTCOMES, Operations } = require('./operations');
const { unpackedPath } = require('./unpacked_path');

const isObject = (value) => (typeof value === 'object' && value !== null) || isFunction(value);
const isFunction = (value) => typeof value === 'function';

/** Methods whose result does not show that their one argument was refused. */
const SILENT = [
  ...['setExtraConfig', 'initPusher', 'initPlayer', 'isSupportLiveMode'],
  ...['setLogLevel', 'setConsoleEnabled'],
];

/** By type as methods.js names it: its name in messages, and a check of a value. */
const TYPES = {
  string: ['a string', (value) => typeof value === 'string'],
  object: ['an object', isObject],
  number: ['a number', (value) => typeof value === 'number'],
  integer: ['a 32-bit integer', (value) => value === (value | 0)],
  boolean: ['a boolean', (value) => typeof value === 'boolean'],
};

/** @returns {unknown[]} the arguments for the native method @throws {TypeError} */
function checkedArguments(method, args) {
  if (!SILENT.includes(method)) return args;
  const [argument] = args;
  const [name, accepts] = TYPES[METHODS[method].takes[0]];
  if (!accepts(argument)) throw new TypeError(`${method} takes ${name}, not ${typeof argument}`);
  return [argument];
}

const withUnpackedPath = (path) => (typeof path === 'string' ? unpackedPath(path) : path);

/** Whether a method of the native object is not one of this class, but of its players, or on(). */
const isElsewhere = (method) =>
  METHODS[method].takes[0] === 'player' || ['initPlayer', 'addEventListener'].includes(method);

/**
 * A live push on top of one native object, with several listeners for an event, errors and promises.
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

  async setLiveMixTranscodingConfig(layout, wait) {
    await this.#run('setLiveMixTranscodingConfig', [checkedMixLayout(layout)], wait);
  }

  /** Destroys the SDK's pusher and rejects the pending promises of its operations. */
  destroyPusher() {
    this.#call('destroyPusher', []);
    this.#operations.interrupt('INTERRUPTED');
  }

  /** @returns {LivePlayer} */
  createPlayer(config = {}) {
    this.#mustBeUsable('createPlayer');
    // A player that is created before there is a listener never reports anything.
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
   * Ends the pusher, the players, the plug-ins and the listeners, and rejects pending promises.
   * Further calls have no effect. The native object stays usable.
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

  // The remaining methods call the native ones and check the result, or wait for the outcome.
  static {
    const { prototype } = LivePush;
    for (const name of Object.keys(METHODS).filter((method) => !isElsewhere(method))) {
      if (Object.hasOwn(prototype, name)) continue;
      const count = METHODS[name].takes.length;
      const { [name]: value } = {
        [name](...args) {
          if (!OUTCOMES[name]) return this.#call(name, args);
          return this.#run(name, args.slice(0, count), args[count]);
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
