'use strict';

// Usage: publish_and_play_process.js URL SECONDS [EXTRA], as a child with a message channel
//   EXTRA  extra configuration, JSON
//
// Publishes a stream and plays it for that time, and sends {errors, frames} at the end, where
// errors are the codes of all error events, or the result if no pusher can be created. Only a
// crash, an exception or a hang are failures: on a system that lacks resources, errors are
// expected.

const { setTimeout: sleep } = require('node:timers/promises');
const { openLivePush } = require('../../e2e/support/live_push');

const [url, seconds, extra = '{}'] = process.argv.slice(2);
const CONFIG = { width: 320, height: 180, frameRate: 15, mTargetVideoBitrate: 300 };

const NO_PUSHER = -102;

/** Opens a pusher; none if too few descriptors or threads are left. */
function openIfPossible() {
  try {
    return openLivePush({ config: CONFIG, extra: JSON.parse(extra) });
  } catch (error) {
    if (error.result === NO_PUSHER) return undefined;
    throw error;
  }
}

function answer(message) {
  process.send(message, () => process.exit(0));
}

async function main() {
  const live = openIfPossible();
  if (!live) return answer({ errors: [NO_PUSHER], frames: 0 });
  const { push } = live;
  let frames = 0;
  live.next('onVideoRenderData', () => {
    frames += 1;
    return false; // it keeps being polled
  });
  if (process.env.LOG_FOLDER) push.setLogDirPath(process.env.LOG_FOLDER, 512);
  push.startPreview({ view: null, width: 320, height: 180 });
  push.startPush(url);
  const player = push.initPlayer({});
  if (player) push.startPlay(player, url);
  await sleep(Number(seconds) * 1000);
  const errors = live.events.flatMap(({ name, payload }) =>
    ['onSDKError', 'onSystemError', 'onPlayError'].includes(name) ? [payload.code] : [],
  );
  if (player) push.destroyPlayer(player);
  live.close();
  return answer({ errors: [...new Set(errors)], frames });
}

main();
