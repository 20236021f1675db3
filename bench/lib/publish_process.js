'use strict';

// Publishes a video file and a test tone until it is terminated: the process whose processor time
// bench/publish_cost.js measures.
//
// Usage: node publish_process.js FILE URL

const { openLivePush } = require('../../test/e2e/support/live_push');

const [file, url] = process.argv.slice(2);
const live = openLivePush({
  extra: { camera: `file:${file}`, microphone: 'test' },
  config: { width: 1280, height: 720, frameRate: 30, mTargetVideoBitrate: 2000 },
});
live.next('onConnectFail').then(() => process.exit(1));
if (live.push.startPush(url) !== 0) process.exit(1);
