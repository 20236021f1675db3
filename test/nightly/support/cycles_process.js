'use strict';

// Usage: cycles_process.js URL SEED COUNT, as a child with a message channel
//
// Creates short-lived pushers and players, some of them only for the time that a connection takes,
// and sends {used: cycles} before the first and after the last.

const { setTimeout: sleep } = require('node:timers/promises');
const { openLivePush } = require('../../e2e/support/live_push');
const { openPlayer } = require('../../e2e/support/player');
const { Random } = require('../../js/support/random');

const [url, seed, count] = process.argv.slice(2);
const random = new Random(Number(seed));
const CONFIG = { width: 320, height: 180, frameRate: 15, mTargetVideoBitrate: 300 };
const WARM_UP = 20;

async function cycle(whole) {
  const live = openLivePush({ config: CONFIG });
  const player = openPlayer(live);
  const started = live.next('onPushStarted');
  const flows = live.next('onFirstFramePushed');
  live.push.startPush(url);
  if (whole) {
    await Promise.all([started, flows]);
    const frame = live.next('onVideoRenderData', (frames) =>
      frames.some(({ user_id: id }) => id === player.id),
    );
    player.start(url);
    await frame;
  } else {
    player.start(url);
    await sleep(20 + random.below(40));
  }
  if (random.once(2)) {
    live.push.stopPush();
    live.push.stopPlay(player.id);
    await sleep(random.below(20));
  }
  player.close();
  live.close();
}

/** Waits until background work has ended. */
async function used(cycles) {
  await sleep(2000);
  globalThis.gc();
  process.send({ used: cycles });
  await sleep(500);
}

async function main() {
  for (let index = 0; index < WARM_UP; index += 1) await cycle(index % 2 === 0);
  await used(0);
  for (let index = 0; index < Number(count); index += 1) await cycle(random.once(4));
  await used(Number(count));
  process.exit(0);
}

main();
