'use strict';

// Plays one stream in sixteen players concurrently. Prints "playing" when all of them play, and
// after SECONDS, as one JSON array, how many frames per second of each player reached JavaScript.
//
// Usage: node play_process.js URL SECONDS

const { setTimeout: sleep } = require('node:timers/promises');
const { openLivePush } = require('../../test/e2e/support/live_push');
const { openPlayer } = require('../../test/e2e/support/player');

const SETTLE_SECONDS = 2; // for the jitter buffers to settle

async function main(url, seconds) {
  const live = openLivePush();
  const players = Array.from({ length: 16 }, () => openPlayer(live));
  const frames = new Map(players.map(({ id }) => [id, 0]));
  await Promise.all(players.map((player) => player.play(url)));
  live.push.addEventListener('onVideoRenderData', (delivered) => {
    for (const { user_id: id } of delivered) frames.set(id, frames.get(id) + 1);
  });
  process.stdout.write('playing\n');
  await sleep(SETTLE_SECONDS * 1000);
  for (const id of frames.keys()) frames.set(id, 0);
  const began = performance.now();
  await sleep((seconds - SETTLE_SECONDS) * 1000);
  const passed = (performance.now() - began) / 1000;
  process.stdout.write(`${JSON.stringify([...frames.values()].map((count) => count / passed))}\n`);
}

main(process.argv[2], Number(process.argv[3]));
