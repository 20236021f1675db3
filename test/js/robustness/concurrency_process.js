'use strict';

/*
 * Usage: node --expose-gc concurrency_process.js CASE ROUNDS
 *
 * In each of ROUNDS rounds eight native threads make every callback at once while JavaScript does
 * what CASE says. Ends with 0 when every event came that had to come, once and in order, and with 1
 * and a message otherwise.
 */

const assert = require('node:assert/strict');
const path = require('node:path');
const { createLivePush, eventNames, flush, scriptedDirectory, sdk } = require('../support/addon');
const { buildDirectory } = require('../support/build_directory');
const { HostileWorld, isMeant } = require('./hostile_world');
const { OUTCOMES: methods } = require('../methods/outcomes');

const THREADS = 8;
const FIRES = 128; // of each thread in a round: every callback more than once
const HANG_GUARD = 60_000;

const noop = () => {};
const turn = () => new Promise(setImmediate);

// ------------------------------------------------------------------------------------ callbacks

/** The events whose payload has room to say which callback it was, and those callbacks. */
const NUMBERED = {
  onSystemError: (text) => ({ callback: 'pusher.onSystemError', msg: text }),
  onSDKError: (text) => ({ callback: 'pusher.onSDKError', msg: text }),
  onSetLiveMixTranscodingConfig: (text) => ({
    callback: 'pusher.onSetLiveMixTranscodingConfig',
    message: text,
  }),
  onPlayError: (text) => ({ callback: 'player.onError', message: text }),
};
const NUMBERED_NAMES = Object.keys(NUMBERED);
const numberedCallbacks = Object.values(NUMBERED).map((fireOf) => fireOf('').callback);
const OTHERS = sdk.names().callbacks.filter((callback) => !numberedCallbacks.includes(callback));

const SIZES = [
  { width: 320, height: 180 },
  { width: 161, height: 97 },
  { width: 4, height: 1 },
];

/** A frame of one colour; its size changes from one to the next. */
function frameOf(thread, number) {
  const size = SIZES[(thread + number) % SIZES.length];
  return { source: number % 3, frame: { ...size, fill: 1 + (number % 255) } };
}

/** What a thread fires: numbered callbacks and all others in turn. */
function fireOf(thread, number) {
  if (number % 2 === 0) {
    return NUMBERED[NUMBERED_NAMES[(number / 2) % NUMBERED_NAMES.length]](`${thread} ${number}`);
  }
  const callback = OTHERS[(thread * 4 + (number - 1) / 2) % OTHERS.length];
  if (callback.endsWith('VideoSample')) return { callback, ...frameOf(thread, number) };
  if (callback.endsWith('VolumeCallback')) return { callback, volumes: [{ userType: 2 }] };
  return { callback };
}

/** Listens for the numbered events. Returns their numbers, by thread, as they come. */
function listenForNumbers(wrapper) {
  const heard = Array.from({ length: THREADS }, () => []);
  for (const name of NUMBERED_NAMES) {
    wrapper.addEventListener(name, ({ msg }) => {
      const [thread, number] = msg.split(' ').map(Number);
      heard[thread].push(number);
    });
  }
  return heard;
}

/**
 * Lets eight threads fire while `work` runs, round after round. Whatever `work` does, every
 * numbered callback that found the add-on's listener must have come as an event at the end.
 * @param {object} wrapper keeps its listeners for the numbered events
 * @param {number} rounds
 * @param {(round: number) => any} work
 * @param {(fire: object) => object} [aim] may add a target; else the newest objects are called
 */
async function whileThreadsFire(wrapper, rounds, work, aim = (fire) => fire) {
  const heard = listenForNumbers(wrapper);
  const delivered = Array.from({ length: THREADS }, () => []);
  for (let round = 0; round < rounds; round += 1) {
    const first = round * FIRES;
    const fire = (thread, repetition) => aim(fireOf(thread, first + repetition));
    const ticket = sdk.startFrom(THREADS, fire, { times: FIRES });
    await work(round);
    sdk.collect(ticket).forEach((results, thread) => {
      const numbers = [...results.keys()].filter((repetition) => results[repetition].delivered);
      delivered[thread].push(...numbers.map((repetition) => first + repetition));
    });
  }
  await flush();
  const expected = delivered.map((numbers) => numbers.filter((number) => number % 2 === 0));
  assert.ok(expected.flat().length > 0, 'nothing was delivered');
  assert.deepEqual(heard, expected);
  assert.equal(sdk.lateCalls(), 0, 'a pusher or a player was used after its end');
}

/** A wrapper with a pusher and a player, and listeners for everything. */
function newBusyWrapper() {
  const wrapper = createLivePush();
  wrapper.registPlugin(scriptedDirectory);
  wrapper.initPusher({});
  wrapper.initPlayer({});
  for (const name of eventNames) wrapper.addEventListener(name, noop);
  return wrapper;
}

/** The newest pusher and player. */
function newestTargets() {
  const { pushers, players } = sdk.alive();
  return { pusher: pushers.at(-1), player: players.at(-1) };
}

/** Aims a fire at one of the targets. */
function aimAt(targets, fire) {
  const [object] = fire.callback.split('.');
  return { ...fire, target: targets[object] };
}

async function until(condition) {
  const deadline = Date.now() + HANG_GUARD;
  while (!condition()) {
    assert.ok(Date.now() < deadline, 'the condition does not come true');
    await turn();
  }
}

// ---------------------------------------------------------------------------------------- cases

/** Every method, also those that take the callbacks' targets away. */
async function everyMethod(rounds) {
  const wrapper = newBusyWrapper();
  const plugin = { id: 'a', path: path.join(buildDirectory, 'plugins', 'inverting.so') };
  let player = '';
  const values = {
    boolean: () => true,
    function: () => noop,
    integer: () => 3,
    number: () => 5,
    object: (method) => (method === 'addPlugin' ? plugin : { width: 640 }),
    'object or null': () => null,
    string: (method) => (method === 'registPlugin' ? scriptedDirectory : 'onVideoRenderData'),
    player: () => player,
    'plug-in': () => 'a',
  };
  const names = Object.keys(methods);
  await whileThreadsFire(wrapper, rounds, async (round) => {
    for (let i = 0; i < names.length; i += 1) {
      const method = names[(round * 11 + i) % names.length];
      const { accepts } = methods[method];
      const answer = wrapper[method](...accepts.map((type) => values[type](method)));
      if (method === 'initPlayer') player = answer;
      if (method === 'destroyPusher') wrapper.initPusher({});
      if (i % 10 === 0) await turn();
    }
  });
}

/** Hostile calls, on wrappers of their own. */
async function hostileCalls(rounds) {
  const lasting = newBusyWrapper();
  const lastingTargets = newestTargets();
  process.on('uncaughtException', (error) => {
    if (!isMeant(error)) fail(error);
  });
  const world = new HostileWorld(1);
  await whileThreadsFire(
    lasting,
    rounds,
    async () => {
      for (let i = 0; i < 40; i += 1) {
        world.callFromOutside();
        if (i % 10 === 0) await turn();
      }
      assert.deepEqual(world.failures, []);
    },
    (fire) => (numberedCallbacks.includes(fire.callback) ? aimAt(lastingTargets, fire) : fire),
  );
}

/** Wrappers without listeners are dropped and collected under the callbacks that aim at them. */
async function collection(rounds) {
  const lasting = newBusyWrapper();
  const lastingTargets = newestTargets();
  let made = 0;
  let collected = 0;
  const registry = new FinalizationRegistry(() => {
    collected += 1;
  });
  const makeAndDrop = () => {
    const wrapper = createLivePush();
    wrapper.initPusher({});
    wrapper.initPlayer({});
    registry.register(wrapper);
    made += 1;
    return newestTargets();
  };
  let dropped = [makeAndDrop(), makeAndDrop()];
  await whileThreadsFire(
    lasting,
    rounds,
    async () => {
      for (let i = 0; i < 3; i += 1) {
        global.gc();
        await turn();
      }
      dropped = [makeAndDrop(), makeAndDrop()];
    },
    (fire) => {
      const isNumbered = numberedCallbacks.includes(fire.callback);
      return aimAt(isNumbered ? lastingTargets : dropped[fire.callback.length % 2], fire);
    },
  );
  await until(() => {
    global.gc();
    return collected === made;
  });
}

/** Listeners are added and replaced; one that was replaced is never called again. */
async function listeners(rounds) {
  const wrapper = newBusyWrapper();
  const names = eventNames.filter((name) => !NUMBERED_NAMES.includes(name));
  const newest = {};
  await whileThreadsFire(wrapper, rounds, async (round) => {
    for (let i = 0; i < 20; i += 1) {
      for (const name of names.filter((one) => one !== 'onVideoRenderData' || i === 0)) {
        const mine = {};
        newest[name] = mine;
        wrapper.addEventListener(name, () => assert.equal(newest[name], mine, name));
      }
      wrapper.addEventListener(`further ${round} ${i}`, noop);
      await turn();
    }
  });
}

/** Pushers and players come and go. */
async function targets(rounds) {
  const wrapper = newBusyWrapper();
  const players = [];
  await whileThreadsFire(wrapper, rounds, async (round) => {
    for (let i = 0; i < 20; i += 1) {
      wrapper.destroyPusher();
      wrapper.initPusher({});
      players.push(wrapper.initPlayer({}));
      if (players.length > 1 + (round % 3)) wrapper.destroyPlayer(players.shift());
      if (i % 4 === 0) await turn();
    }
  });
}

/** Frames are taken while eight threads put others into their places: each comes whole. */
async function rawFrames(rounds) {
  const wrapper = newBusyWrapper();
  let seen = 0;
  const check = ({ width, height, ...frame }) => {
    const halfHeight = (height + 1) >> 1;
    assert.equal(width % 8, 0);
    assert.equal(frame.data_y.length, width * height);
    for (const plane of [frame.data_u, frame.data_v]) {
      assert.equal(plane.length, (width / 2) * halfHeight);
    }
    const bytes = Buffer.concat([frame.data_y, frame.data_u, frame.data_v]);
    const colour = bytes.find((byte) => byte !== 0); // 0 is around the frame
    assert.ok(bytes.every((byte) => byte === 0 || byte === colour));
    seen += 1;
  };
  for (let round = 0; round < rounds; round += 1) {
    const before = seen;
    wrapper.addEventListener('onVideoRenderData', (frames) => frames.forEach(check));
    const fire = (thread, repetition) => ({
      callback: thread % 2 ? 'pusher.onCaptureVideoSample' : 'player.onRemoteVideoSample',
      ...frameOf(thread, repetition + round),
    });
    const ticket = sdk.startFrom(THREADS, fire, { times: FIRES });
    await until(() => seen > before);
    sdk.collect(ticket);
  }
}

// ----------------------------------------------------------------------------------------------

function fail(error) {
  process.stderr.write(`${error.stack}\n`);
  process.exit(1);
}

const CASES = { everyMethod, hostileCalls, collection, listeners, targets, rawFrames };
const [name, rounds] = process.argv.slice(2);
CASES[name](Number(rounds)).then(() => process.exit(0), fail);
