'use strict';

/**
 * Usage: node --expose-gc hostile_sdk_process.js SEED CALLS NOTE_FILE URL
 *
 * Makes CALLS hostile calls to the default SDK, which publish to URL and play it now and then, and
 * checks that it still captures afterwards. The file holds the last call, in case this process
 * crashes. Ends with 0, or with 1 and a message on standard error.
 *
 * setLogDirPath() is left out: with any text it writes files anywhere.
 */

const fs = require('node:fs');
const path = require('node:path');
const { setTimeout: sleep } = require('node:timers/promises');
const { createLivePush, sdkDirectory } = require('../../../lib');
const { METHODS: TABLE } = require('../../../lib/methods');
const { openLivePush } = require('../../e2e/support/live_push');
const { any, hostileArguments } = require('../../js/robustness/hostile_values');
const { Random } = require('../../js/support/random');

const [seed, calls] = process.argv.slice(2, 4).map(Number);
const url = process.argv[5];
const noteFile = fs.openSync(process.argv[4], 'w');

const METHODS = Object.keys(TABLE).filter((name) => name !== 'setLogDirPath');
const CONFIG = { width: 320, height: 180, frameRate: 15, mTargetVideoBitrate: 300 };
const SETTINGS = '{"camera":"test","microphone":"test"}';

/** The texts with which a method does something. */
const TEXTS = {
  setExtraConfig: () => SETTINGS,
  registPlugin: () => sdkDirectory,
  addEventListener: ({ random }) => random.pick(EVENTS),
  startPush: () => url,
  startPlay: () => url,
};

const EVENTS = ['onPushStarted', 'onSDKError', 'onVideoRenderData', 'onPlayError', 'unknown'];
const PLUGINS = ['recording', 'inverting', 'refusing', 'missing'];
const DEEPEST = 3; // calls inside calls
const MOST_ACTS = 6; // during one call from outside
const MOST_PLAYERS = 8;
const START_EVERY = 20;
const RENEW_EVERY = 500;

/** Hostile code with access to the default SDK; see hostile_values.js for the interface. */
class World {
  #depth = 0;
  #acts = 0;
  #players = [];

  constructor() {
    this.random = new Random(seed);
    this.calls = 0;
    this.renew();
  }

  renew() {
    for (const id of this.#players) this.wrapper.destroyPlayer(id);
    this.#players = [];
    this.wrapper?.destroyPusher();
    this.wrapper = createLivePush();
    this.wrapper.registPlugin(sdkDirectory);
    this.wrapper.setExtraConfig(SETTINGS);
    for (const name of EVENTS) this.wrapper.addEventListener(name, this.listener());
  }

  /** Restarts what hostile code may have ended. */
  start() {
    this.wrapper.initPusher(CONFIG);
    this.wrapper.startPreview({ view: null, width: 320, height: 180 });
    this.wrapper.startPush(url);
    this.wrapper.startPlay(this.playerId(), url);
  }

  playerId() {
    return this.random.once(4) ? 'unknown' : (this.random.pick([...this.#players, '']) ?? '');
  }

  pluginId() {
    return this.random.pick(['a', 'b', 'cut\0off', '']);
  }

  pluginPath() {
    return path.join(sdkDirectory, 'plugins', `${this.random.pick(PLUGINS)}.so`);
  }

  textFor(method) {
    return TEXTS[method]?.(this);
  }

  listener() {
    return () => this.act();
  }

  act() {
    if (this.#depth >= DEEPEST || this.#acts >= MOST_ACTS) return;
    this.#acts += 1;
    if (this.random.once(20)) global.gc();
    else this.#call();
    if (this.random.once(6)) throw new Error('hostile code');
  }

  callFromOutside() {
    this.#acts = 0;
    this.#call();
    if (this.#players.length > MOST_PLAYERS) this.wrapper.destroyPlayer(this.#players.shift());
  }

  #call() {
    const method = this.random.pick(METHODS);
    const args = this.random.once(40)
      ? [any(this), any(this)]
      : hostileArguments(this, method, TABLE[method].takes);
    this.calls += 1;
    fs.writeSync(noteFile, `${this.calls} ${method}`.padEnd(80), 0);
    this.#depth += 1;
    const answer = this.wrapper[method](...args);
    this.#depth -= 1;
    if (method === 'initPlayer' && answer) this.#players.push(answer);
  }
}

/** Receives the exceptions of hostile listeners, and must not receive any other. */
process.on('uncaughtException', (error) => {
  if (error.message !== 'hostile code' && !/^Class constructor/.test(error.message)) fail(error);
});

function fail(error) {
  process.stderr.write(`${error.stack}\n`);
  process.exit(1);
}

async function main() {
  const world = new World();
  for (let outside = 1; world.calls < calls; outside += 1) {
    world.callFromOutside();
    if (outside % START_EVERY === 0) {
      world.start();
      await sleep(10 + world.random.below(50));
    }
    if (outside % RENEW_EVERY === 0) world.renew();
  }
  world.renew();
  world.wrapper.destroyPusher();
  const live = openLivePush();
  live.push.startPreview({ view: null, width: 320, height: 180 });
  await live.nextFrame();
  live.close();
}

main().then(() => process.exit(0), fail);
