'use strict';

/*
 * Wrappers in the hands of code that means harm: any method, with any arguments, at any moment,
 * also from inside the reading of another call's arguments. Random numbers decide everything, so
 * the same seed makes the same calls from outside, with the same arguments; when threads and the
 * garbage collector act in between is their own affair.
 */

const path = require('node:path');
const { addon, createLivePush, eventNames, scriptedDirectory, sdk } = require('../support/addon');
const { buildDirectory, scriptedWithoutLoggerDirectory } = require('../support/build_directory');
const { any, hostileArguments } = require('./hostile_values');
const { Random } = require('../support/random');
const { OUTCOMES: methods } = require('../methods/outcomes');

const { prototype } = addon.LumoLivePushJSWrapper;

/** What hostile code throws. */
class Hostility extends Error {}

/** Whether a listener was meant to let this exception out. */
function isMeant(error) {
  // A class, too, is a function that addEventListener() accepts.
  return error instanceof Hostility || /^Class constructor/.test(error.message);
}

const DEEPEST = 3; // calls inside calls
const MOST_ACTS = 6; // during one call from outside

const PLUGINS = [
  ...['recording', 'recording', 'inverting', 'refusing', 'reshaping', 'rejecting_init'],
  ...['not_video', 'null_factory', 'without_factory', 'without_disposer', 'missing'],
];
const DIRECTORIES = [scriptedDirectory, scriptedDirectory, scriptedWithoutLoggerDirectory, ''];

const DEVICES = {
  entries: [{ deviceName: 'näme', deviceId: null }, { deviceId: Buffer.from([0xff]) }],
};
const SOURCES = { entries: [{ sourceId: 2 ** 40, sourceName: null }, { sourceName: 'desktop' }] };

/** Operation and answer; the lists change their length while they are read. */
const ANSWERS = [
  ['pusher.Create', null],
  ['player.Create', null],
  ['startPush', -1],
  ['getCurrentCameraName', Buffer.from([0xff, 0xfe])],
  ['getCurrentAudioCaptureID', null],
  ['getAudioCaptureList', null],
  ['getAudioCaptureList', { ...DEVICES, counts: [3, 1] }],
  ['getCameraList', { ...DEVICES, counts: [0, 2] }],
  ['getCameraList', DEVICES],
  ['getScreenShareSourceInfo', null],
  ['getScreenShareSourceInfo', { ...SOURCES, counts: [1, 4, 4, 4, 2] }],
  ['getScreenShareEncoderConfiguration', { width: -1, bitrate: -(2 ** 31) }],
  ['getCurrentScreenShareSourceId', 2 ** 32 - 1],
  ['isSupportLiveMode', true],
  ['GetSDKVersion', null],
];

const { callbacks, operations } = sdk.names();

/** A fire of any callback, with what that callback cannot do without. */
function anyFire(random) {
  const callback = random.pick(callbacks);
  const fire = { callback, thread: random.pick([null, 'sdk', 'other']) };
  if (callback.endsWith('onAudioVolumeCallback')) fire.volumes = [{ userType: 2 }];
  if (callback.endsWith('VideoSample')) {
    fire.frame = { width: random.below(20), height: random.below(5) };
    fire.source = random.below(2);
  }
  return fire;
}

/** What a getter, a trap or a listener does. */
const ACTS = [
  () => {},
  (world) => world.invoke('destroyPusher', []),
  (world) => world.invoke('initPusher', [{}]),
  (world) => world.invoke('destroyPlayer', [world.playerInUse]),
  // The one that is being made, too: its ID can be guessed.
  (world) => world.invoke('destroyPlayer', [sdk.alive().players.at(-1) ?? '']),
  (world) => world.invoke('initPlayer', [{}]),
  (world) => world.invoke('addEventListener', [world.eventName(), world.listener()]),
  (world) => world.invoke('removePlugin', [world.pluginId()]),
  (world) => world.invoke('releasePluginManager', []),
  (world) => world.call(),
  (world) => world.call(),
  (world) => world.takeAnotherWrapper(),
  ({ lastView }) => detach(lastView),
  ({ random }) => random.once(50) && global.gc(),
  ({ random }) => sdk.answerOnce(...random.pick(ANSWERS)),
  ({ random }) => sdk.onCall(random.pick(operations), [anyFire(random)]),
  (world) => world.fire(),
];

function detach(view) {
  if (!(view?.buffer instanceof ArrayBuffer) || view.buffer.byteLength === 0) return;
  try {
    structuredClone(view.buffer, { transfer: [view.buffer] });
  } catch {
    // Memory of WebAssembly stays where it is.
  }
}

class HostileWorld {
  #under = []; // the calls that are under way, each inside the one before
  #acts = 0;
  #wrappers = []; // WeakRefs: who drops a wrapper wants it collected

  /**
   * @param {number} seed
   * @param {(text: string) => void} note is told of the call under way, and of those around it
   */
  constructor(seed, note = () => {}) {
    this.random = new Random(seed);
    this.note = note;
    this.calls = 0;
    /** @type {string[]} what went wrong; a getter must not throw it, the add-on would swallow it */
    this.failures = [];
    this.renew();
  }

  /** Ends what there is and begins with new wrappers and a fresh SDK. */
  renew() {
    const players = sdk.alive().players;
    for (const reference of this.#wrappers) {
      const wrapper = reference.deref();
      for (const id of wrapper ? players : []) wrapper.destroyPlayer(id);
      wrapper?.destroyPusher();
      wrapper?.releasePluginManager();
    }
    this.#wrappers = [];
    sdk.reset();
    this.players = [];
    this.playerInUse = '';
    this.lastView = undefined;
    this.takeAnotherWrapper();
  }

  takeAnotherWrapper() {
    const { LumoLivePushJSWrapper } = addon;
    const make = [
      () => createLivePush(any(this)),
      () => new LumoLivePushJSWrapper(),
      () => LumoLivePushJSWrapper(any(this), 'ignored'),
      () => new LumoLivePushJSWrapper(!this.random.once(4)),
      () => new (class extends LumoLivePushJSWrapper {})(),
    ];
    this.wrapper = this.random.pick(make)();
    this.#wrappers.push(new WeakRef(this.wrapper));
    if (this.random.once(2)) return; // and so without an event listener: it may be collected
    this.wrapper.initPusher({});
    this.wrapper.initPlayer({});
    for (let count = 0; count < 8; count += 1) {
      this.wrapper.addEventListener(this.eventName(), this.listener());
    }
  }

  // ------------------------------------------------------------------------- things of its own

  playerId() {
    if (this.random.once(4)) return this.random.pick(['', '0xdead', 'unknown', '0x1\0']);
    this.playerInUse = this.players.at(-1 - this.random.below(3)) ?? '';
    return this.playerInUse;
  }

  pluginId() {
    return this.random.pick(['a', 'b', 'cut\0off', '']);
  }

  pluginPath() {
    return path.join(buildDirectory, 'plugins', `${this.random.pick(PLUGINS)}.so`);
  }

  eventName() {
    return this.random.pick(eventNames);
  }

  textFor(method) {
    if (method === 'registPlugin') return this.random.pick(DIRECTORIES);
    if (method === 'addEventListener' && !this.random.once(5)) return this.eventName();
    return undefined;
  }

  /** A listener with random numbers of its own: when it is called must not change other calls. */
  listener() {
    const random = new Random(this.random.next());
    return () => {
      const outer = this.random;
      this.random = random;
      try {
        this.act();
      } finally {
        this.random = outer;
      }
    };
  }

  // ---------------------------------------------------------------------------------- the harm

  /** Does something; may throw a Hostility. */
  act() {
    if (this.#under.length >= DEEPEST || this.#acts >= MOST_ACTS) return;
    this.#acts += 1;
    try {
      this.random.pick(ACTS)(this);
    } catch (error) {
      this.failures.push(`an act threw ${error.stack}`);
    }
    if (this.random.once(6)) throw new Hostility('hostile code');
  }

  /** Makes one call from outside. */
  callFromOutside() {
    this.#acts = 0;
    this.call();
    if (this.random.once(10)) this.fire();
  }

  /** Lets the SDK call back, and waits until it has done so. */
  fire() {
    const { callback, ...options } = anyFire(this.random);
    sdk.fire(callback, options);
  }

  /** Calls any method with any arguments. */
  call() {
    const method = this.random.pick(Object.keys(methods));
    if (this.random.once(40)) return this.#misuse(method);
    const args = hostileArguments(this, method, methods[method].accepts);
    return this.invoke(method, args);
  }

  /** Calls a method: it must not throw, and must answer with something of a documented type. */
  invoke(method, args) {
    this.#enter(`${method}(${args.map(describe).join(', ')})`, () => {
      const answer = prototype[method].apply(this.wrapper, args);
      if (!ANSWER_TYPES[method].has(typeof answer)) {
        throw new Error(`answered with type ${typeof answer}`);
      }
      if (method === 'initPlayer' && answer) this.players.push(answer);
    });
  }

  /** Wrong receivers, and `new`: a TypeError before anything is done. */
  #misuse(method) {
    const args = [any(this), any(this)];
    const receivers = [undefined, null, 5, {}, prototype, addon, Object.create(this.wrapper)];
    receivers.push(new Proxy(this.wrapper, {}));
    const misuse = this.random.once(2)
      ? () => new prototype[method](...args)
      : () => prototype[method].apply(this.random.pick(receivers), args);
    this.#enter(`misuse of ${method}`, () => {
      try {
        misuse();
      } catch (error) {
        if (error instanceof TypeError) return;
        throw error;
      }
      throw new Error('was accepted');
    });
  }

  #enter(text, call) {
    this.calls += 1;
    this.#under.push(`${this.calls} ${text}`);
    this.note(this.#under.join(' > '));
    try {
      call();
    } catch (error) {
      this.failures.push(`call ${this.#under.join(' > ')}: ${error.stack}`);
    }
    this.#under.pop();
    if (this.#under.length > 0) this.note(this.#under.join(' > '));
  }
}

/** The types of the answers that are documented for each method, whatever the arguments. */
const ANSWER_TYPES = Object.fromEntries(
  Object.entries(methods).map(([method, outcomes]) => {
    const types = Object.values(outcomes)
      .filter((outcome) => outcome.constructor === Object)
      .map(({ result }) => typeof result);
    if (method === 'initPlayer') types.push('string');
    return [method, new Set(types)];
  }),
);

/** Says what a value is without touching it. */
function describe(value) {
  if (typeof value === 'string') {
    return value.length > 40 ? `text of ${value.length}` : JSON.stringify(value);
  }
  return typeof value === 'object' || typeof value === 'function' ? typeof value : String(value);
}

module.exports = { HostileWorld, isMeant };
