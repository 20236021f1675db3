'use strict';

// A push with four players while the server is killed, frozen and throttled, at random. After each
// disturbance both must resume within their time once the server works again.

const { setTimeout: sleep } = require('node:timers/promises');
const { freePort, startRtmpServer } = require('../../../tools/rtmp/rtmp_server');
const { openThrottledLink } = require('../../e2e/support/throttled_link');
const { Random } = require('../../js/support/random');
const { runScenario } = require('../support/scenario');

const SHARE = 0.5; // of the run's time
const BACK_MS = 30_000;
const LIMITS = { mib: 64, descriptors: 8, threads: 8 };

/** Disturbs the server or the network in one way, and restores it. */
async function disturb(state, random) {
  const actions = {
    async kill() {
      await state.server.kill();
      await sleep(random.below(4000));
      state.server = await startRtmpServer({ rtmpPort: state.port });
    },
    async freeze() {
      state.server.freeze();
      await sleep(random.below(8000));
      state.server.thaw();
    },
    async throttle() {
      state.link.setRate(50 + random.below(300));
      await sleep(random.below(8000));
      state.link.setRate(Infinity);
    },
    async cut() {
      state.link.cut();
    },
  };
  const name = random.pick(Object.keys(actions));
  await actions[name]();
  return name;
}

async function run({ minutes, seed }, report) {
  const random = new Random(seed);
  const port = await freePort();
  const state = { port, server: await startRtmpServer({ rtmpPort: port }) };
  state.link = await openThrottledLink(port);
  const until = performance.now() + minutes * 60_000 * SHARE;
  const counts = {};
  const usages = [];
  const failures = [];
  let lastFrame = performance.now();
  let ended = false;
  const url = (to) => `rtmp://127.0.0.1:${to}/live/stream`;
  const running = runScenario('turmoil_process.js', [url(state.link.port), url(port)], {
    deadlineSeconds: minutes * 60 * SHARE + 180,
    onMessage: ({ frames }, usage) => {
      // The frames return to JavaScript through the server.
      if (frames > 0) lastFrame = performance.now();
      usages.push(usage());
    },
  }).then((found) => {
    ended = true;
    failures.push(...found);
  });
  await sleep(5000);
  while (performance.now() < until && !ended) {
    const name = await disturb(state, random);
    counts[name] = (counts[name] ?? 0) + 1;
    const well = performance.now();
    while (lastFrame < well && !ended) {
      if (performance.now() - well > BACK_MS) {
        failures.push(`nothing for ${BACK_MS / 1000} s after ${name}`);
        break;
      }
      await sleep(100);
    }
    await sleep(random.below(5000));
  }
  await state.server.kill(); // which ends the scenario
  await running;
  await state.link.close();
  const figures = Object.entries(counts).map(([name, count]) => `${name} ${count}`);
  const [before, after] = [usages[5], usages.at(-5)];
  for (const name of after ? Object.keys(LIMITS) : []) {
    const growth = after[name] - before[name];
    if (growth > LIMITS[name]) failures.push(`${growth.toFixed(0)} ${name} more`);
    figures.push(`${name} ${before[name].toFixed(0)} to ${after[name].toFixed(0)}`);
  }
  report({ what: `seed ${seed}`, figures: figures.join(', '), failures });
}

module.exports = { run };
