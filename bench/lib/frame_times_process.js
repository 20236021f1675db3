'use strict';

// Plays a URL with the add-on and prints each frame that reaches JavaScript, in the form of
// native/frame_report.h.
//
// Usage: node frame_times_process.js URL [SETTINGS]

const { openLivePush } = require('../../test/e2e/support/live_push');
const { openPlayer } = require('../../test/e2e/support/player');
const { readCode } = require('./frame_code');

const STEP = 4; // pixels, in both directions

function meanLuma(frame, stride) {
  let sum = 0;
  let count = 0;
  for (let y = frame.height >> 3; y < frame.height; y += STEP) {
    for (let x = 0; x < frame.width; x += STEP) {
      sum += frame.data_y[y * stride + x];
      count += 1;
    }
  }
  return Math.round(sum / count);
}

const [url, settings = '{}'] = process.argv.slice(2);
const live = openLivePush({ extra: JSON.parse(settings) });
const player = openPlayer(live);
live.push.addEventListener('onVideoRenderData', (frames) => {
  const now = process.hrtime.bigint();
  for (const frame of frames) {
    if (frame.user_id !== player.id) continue;
    const stride = frame.data_y_len / frame.height;
    const code = readCode(frame.data_y.subarray((frame.height >> 5) * stride), frame.width);
    const text = Number.isNaN(code) ? -1 : code;
    process.stdout.write(`frame ${now} ${text} ${meanLuma(frame, stride)}\n`);
  }
});
player.next('onPlayStarted').then(() => process.stdout.write('event started\n'));
player.next('onPlayError').then(({ msg }) => process.stdout.write(`error ${msg}\n`));
if (player.start(url) !== 0) process.stdout.write('error startPlay refused the URL\n');
