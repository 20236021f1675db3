'use strict';

// The application that connects to a hostile server: a process of its own with one pusher or player
// of the default SDK, driven by messages of its parent.
//
// Usage: client_process.js ROLE SETTINGS CLIP, as a child with a message channel
//   ROLE      push or play
//   SETTINGS  extra configuration, JSON
//   CLIP      a small file; its playing loads what players use
//
// Messages in: {do: 'start', url}, {do: 'stop'}, {do: 'destroy'}, {do: 'exit'}. Each is answered by
// {done, ms, result}, and each event of the SDK is sent as {event, code, msg}. All times are
// measured here: the parent is busy as the server.

const { openLivePush } = require('../../e2e/support/live_push');
const { openPlayer } = require('../../e2e/support/player');

const [role, settings, clip] = process.argv.slice(2);
const CONFIG = { width: 320, height: 180, frameRate: 15, mTargetVideoBitrate: 300 };
const ERRORS = { push: 'onSDKError', play: 'onPlayError' };
const STOPPED = { push: 'onPushStopped', play: 'onPlayStopped' };

const open = () => openLivePush({ extra: JSON.parse(settings), config: CONFIG });
let live = open();
let player = role === 'play' ? openPlayer(live) : undefined;
let seen = 0;

function relayEvents() {
  for (const { name, payload } of live.events.slice(seen)) {
    process.send({ event: name, code: payload?.code, msg: payload?.msg });
  }
  seen = live.events.length;
}
setInterval(relayEvents, 10);

const actions = {
  start: ({ url }) => (role === 'push' ? live.push.startPush(url) : player.start(url)),

  async stop() {
    const stopped = live.next(STOPPED[role]);
    const failed = live.next(ERRORS[role]);
    const result = role === 'push' ? live.push.stopPush() : live.push.stopPlay(player.id);
    if (result === 0) await Promise.race([stopped, failed]);
    return result;
  },

  // With a new pusher or player afterwards; the old one's connection ends in the background.
  destroy() {
    if (role === 'push') live.close();
    else player.close();
  },

  reopen() {
    relayEvents();
    if (role === 'push') {
      live = open();
      seen = 0;
    } else {
      player = openPlayer(live);
    }
  },

  async exit() {
    await new Promise((sent) => {
      process.send({ done: 'exiting' }, sent);
    });
    process.exit(0);
  },
};

process.on('message', async (message) => {
  const began = performance.now();
  const result = await actions[message.do](message);
  const ms = performance.now() - began;
  relayEvents();
  process.send({ done: message.do, ms, result });
});
process.on('disconnect', () => process.exit(1));

// Loads everything that pushing or playing needs, so that only the server's effects are measured.
// No server listens on port 1.
const REFUSED = {
  push: ['rtmp://127.0.0.1:1/live/stream'],
  play: [
    'rtmp://127.0.0.1:1/live/stream',
    'http://127.0.0.1:1/s',
    'rtsp://127.0.0.1:1/s',
    'srt://127.0.0.1:1',
  ],
};

async function warmUp() {
  if (role === 'play') {
    await player.play(clip);
    await player.stop();
  }
  for (const url of REFUSED[role]) {
    const failed = live.next(ERRORS[role]);
    actions.start({ url });
    await failed;
  }
  globalThis.gc?.();
  relayEvents();
  process.send({ done: 'warm' });
}

warmUp();
