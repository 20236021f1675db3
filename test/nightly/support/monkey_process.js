'use strict';

// Usage: monkey_process.js URL SEED SECONDS, as a child with a message channel
//
// Calls the default SDK's methods in random order, with mostly valid arguments, and lets events
// arrive in between. In the end a push must still start.

const { setTimeout: sleep } = require('node:timers/promises');
const { openLivePush } = require('../../e2e/support/live_push');
const { Random } = require('../../js/support/random');

const [url, seed, seconds] = process.argv.slice(2);
const random = new Random(Number(seed));
const CONFIG = { width: 320, height: 180, frameRate: 15, mTargetVideoBitrate: 300 };

let live = openLivePush({ config: CONFIG });
let players = [];
const player = () => random.pick([...players, 'nobody']);
const target = () => random.pick([url, `${url}2`, 'rtmp://127.0.0.1:1/live/s', '', 'nonsense']);
const layoutOf = (id) => ({
  backgroundColor: random.below(2 ** 24),
  cropMode: random.below(4),
  mixStreams: ['local', id].map((userId, zOrder) => {
    return { userId, x: random.below(300), y: 0, width: random.below(300), height: 90, zOrder };
  }),
});

const ACTIONS = {
  startPush: () => live.push.startPush(target()),
  stopPush: () => live.push.stopPush(),
  startPreview: () => live.push.startPreview({ view: null, width: 320, height: 180 }),
  stopPreview: () => live.push.stopPreview(),
  initPusher: () => live.push.initPusher(CONFIG),
  setMute: () => live.push.setMute({ isMute: random.once(2) }),
  muteLocalCamera: () => live.push.muteLocalCamera(random.once(2)),
  startCamera: () => live.push.startCamera(),
  stopCamera: () => live.push.stopCamera(),
  setFps: () => live.push.setFps(1 + random.below(30)),
  setTargetVideoBitrate: () => live.push.setTargetVideoBitrate(100 + random.below(1000)),
  setResolution: () => live.push.setResolution({ mResolution: random.below(4) }),
  getCameraList: () => live.push.getCameraList(),
  initPlayer: () => players.push(live.push.initPlayer({})),
  startPlay: () => live.push.startPlay(player(), target()),
  stopPlay: () => live.push.stopPlay(player()),
  setRemoteAudioVolume: () => live.push.setRemoteAudioVolume(player(), random.below(500)),
  getPlayMode: () => live.push.getPlayMode(player()),
  destroyPlayer() {
    const id = player();
    live.push.destroyPlayer(id);
    players = players.filter((each) => each !== id);
  },
  mix: () => live.push.setLiveMixTranscodingConfig(random.once(3) ? null : layoutOf(player())),
  enableAudioVolumeIndication: () =>
    live.push.enableAudioVolumeIndication({ interval: random.below(300), smooth: 3, reportVad: 1 }),
  destroyPusher() {
    if (!random.once(4)) return;
    live.close();
    players = [];
    live = openLivePush({ config: CONFIG });
  },
  wait: () => sleep(random.below(100)),
};

async function main() {
  const names = Object.keys(ACTIONS);
  const until = performance.now() + Number(seconds) * 1000;
  let calls = 0;
  for (; performance.now() < until; calls += 1) {
    await ACTIONS[random.pick(names)]();
    if (random.once(4)) await sleep(random.below(30));
  }
  for (const id of players) live.push.destroyPlayer(id);
  live.close();
  live = openLivePush({ config: CONFIG });
  const started = live.next('onPushStarted');
  if (live.push.startPush(url) !== 0) throw new Error('the push is refused');
  await started;
  live.close();
  await new Promise((sent) => {
    process.send({ calls }, sent);
  });
  process.exit(0);
}

main();
