'use strict';

// Plays one stream in sixteen players at once. After SECONDS it prints, as one JSON array, how many
// frames of each player reached JavaScript.
//
// Usage: node play_process.js URL SECONDS

const { setTimeout: sleep } = require('node:timers/promises');
const { openLivePush } = require('../../test/e2e/support/live_push');
const { openPlayer } = require('../../test/e2e/support/player');

async function main(url, seconds) {
  const live = openLivePush();
  const players = Array.from({ length: 16 }, () => openPlayer(live));
  const frames = new Map(players.map(({ id }) => [id, 0]));
  await Promise.all(players.map((player) => player.play(url)));
  live.push.addEventListener('onVideoRenderData', (delivered) => {
    for (const { user_id: id } of delivered) frames.set(id, frames.get(id) + 1);
  });
  process.stdout.write('playing\n');
  await sleep(seconds * 1000);
  process.stdout.write(`${JSON.stringify([...frames.values()])}\n`);
}

main(process.argv[2], Number(process.argv[3]));
