'use strict';

// Usage: turmoil_process.js PUSH_URL PLAY_URL, as a child with a message channel
//
// Publishes and plays with four players, restarts whatever has ended, and reports once a second the
// smallest number of frames of a player. Ends when the server has been away for three quarters of a
// minute.

const { openLivePush } = require('../../e2e/support/live_push');

const [pushUrl, playUrl] = process.argv.slice(2);
const CONFIG = { width: 320, height: 180, frameRate: 15, mTargetVideoBitrate: 300 };
const PLAYERS = 4;
const AWAY_SECONDS = 45;

const live = openLivePush({ config: CONFIG, extra: { reconnect: { maxDelayMs: 1000 } } });
const { push } = live;
const received = new Map();
let away = 0;

live.next('onVideoRenderData', (frames) => {
  for (const { user_id: id } of frames) received.set(id, (received.get(id) ?? 0) + 1);
  return false; // it keeps being polled
});

function keepPushing() {
  push.startPush(pushUrl); // refused while it is pushing
}

function keepPlaying(id) {
  push.startPlay(id, playUrl);
}

const players = Array.from({ length: PLAYERS }, () => push.initPlayer({}));

setInterval(() => {
  keepPushing();
  for (const id of players) keepPlaying(id);
  const frames = Math.min(...players.map((id) => received.get(id) ?? 0));
  received.clear();
  live.events.length = 0;
  process.send({ frames });
  away = frames > 0 ? 0 : away + 1;
  if (away >= AWAY_SECONDS) {
    live.close();
    process.exit(0);
  }
}, 1000);
process.on('disconnect', () => process.exit(1));
