'use strict';

/*
 * Usage: node --expose-gc hostile_process.js SEED CALLS NOTE_FILE
 *
 * Makes CALLS hostile calls, one after the other, and then sees whether the add-on still works. The
 * file keeps the call that was made last, for whoever finds this process crashed. Ends with 0, or
 * with 1 and a message on standard error.
 */

const assert = require('node:assert/strict');
const fs = require('node:fs');
const { createLivePush, flush, nextEvent, sdk } = require('../support/addon');
const { HostileWorld, isMeant } = require('./hostile_world');

const [seed, calls] = process.argv.slice(2, 4).map(Number);

// One line of fixed length, written over and over: what is written survives a crash.
const noteFile = fs.openSync(process.argv[4], 'w');
const line = Buffer.alloc(400);

function note(text) {
  line.fill(' ').write(text);
  fs.writeSync(noteFile, line, 0, line.length, 0);
}

process.on('uncaughtException', (error) => {
  if (!isMeant(error)) fail(error.stack);
});

function fail(text) {
  process.stderr.write(`${text}\n`);
  process.exit(1);
}

const EVENTS_EVERY = 100;
const RENEW_EVERY = 2000; // keeps the scripted SDK's records small

async function run() {
  const before = unended();
  const world = new HostileWorld(seed, note);
  for (let outside = 1; world.calls < calls; outside += 1) {
    world.callFromOutside();
    if (outside % EVENTS_EVERY === 0) await flush();
    if (outside % RENEW_EVERY === 0) {
      world.renew();
      assert.equal(sdk.lateCalls(), 0, 'a pusher, player or list was used after its end');
    }
    if (world.failures.length > 0) fail(world.failures[0]);
  }
  world.renew();
  global.gc();
  await flush();
  assert.deepEqual(unended(), before);
  await worksAsEver();
}

/** What the add-on makes for the length of a call. */
function unended() {
  const { strings, arrays, screenLists } = sdk.alive();
  return { strings, arrays, screenLists };
}

async function worksAsEver() {
  sdk.reset();
  const wrapper = createLivePush();
  wrapper.initPusher({ width: 640 });
  assert.equal(sdk.calls('pusher.init')[0].args.config.width, 640);
  const started = nextEvent(wrapper, 'onPushStarted');
  sdk.fire('onPushStarted', { target: sdk.alive().pushers.at(-1) });
  assert.equal((await started).receiver, wrapper);
}

run().then(
  () => process.exit(0),
  (error) => fail(error.stack),
);
