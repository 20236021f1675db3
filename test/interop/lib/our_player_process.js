'use strict';

// Plays one stream through the public interface. After 'ready' the parent sends {url, seconds,
// timeoutSeconds, media}; the reply is one message of type OurReport, and this process exits.
//
// Usage: node our_player_process.js CLIP CERTIFICATES
//   CLIP  a file that is played briefly before, so that libraries are loaded: the reference's
//         start-up is not counted either

const { setTimeout: sleep } = require('node:timers/promises');
const { LivePush } = require('../../../lib');
const { FrameCheck } = require('./frame_check');

/**
 * @typedef {object} OurReport times are in milliseconds since startPlay was called
 * @property {number} startedAt when startPlay was called, in milliseconds of the wall clock
 * @property {number} [startedMs] until onPlayStarted
 * @property {number} [firstFrameMs] until the first frame was delivered to JavaScript
 * @property {number} endMs
 * @property {{code: number, msg: string, ms: number}} [error]
 * @property {boolean} ended the stream signalled its end
 * @property {number[]} frameTimes of all frames delivered to JavaScript
 * @property {object} frames from FrameCheck.summary()
 * @property {object[]} statistics of each second, with `ms`
 */

async function warmUp(live, clip) {
  const player = live.createPlayer({});
  player.setRemoteAudioVolume(0);
  const drawn = new Promise((resolve) => {
    player.on('onFirstRemoteVideoFrameDrawn', resolve);
    player.on('onPlayError', resolve); // the row itself will fail as well
  });
  player.startPlay(clip).catch(() => {});
  await Promise.race([drawn, sleep(10_000)]);
  player.dispose();
}

async function play(live, { url, seconds, timeoutSeconds, media }) {
  const player = live.createPlayer({});
  const check = new FrameCheck(media);
  const report = { frameTimes: [], statistics: [], ended: false };
  const startTime = performance.now();
  const now = () => Math.round(performance.now() - startTime);
  report.startedAt = Date.now();

  await new Promise((resolve) => {
    const limit = setTimeout(resolve, timeoutSeconds * 1000);
    const begins = () => {
      clearTimeout(limit);
      sleep(seconds * 1000).then(resolve);
    };
    player.on('onPlayStarted', () => {
      report.startedMs = now();
      if (!media.video) begins();
    });
    player.on('onFirstRemoteVideoFrameDrawn', () => {
      report.firstFrameMs ??= now();
      begins();
    });
    player.on('onVideoRenderData', ([frame]) => {
      report.frameTimes.push(now());
      check.add(frame);
    });
    player.on('onPlayerStatistics', (figures) => report.statistics.push({ ms: now(), ...figures }));
    player.on('onPlayError', ({ code, msg }) => {
      report.error = { code, msg, ms: now() };
      resolve();
    });
    player.on('onPlayStopped', () => {
      report.ended = true;
      resolve();
    });
    player.startPlay(url).catch(() => {}); // a failure is also raised as an event
  });
  report.endMs = now();
  report.frames = check.summary();
  player.dispose();
  return report;
}

process.on('disconnect', () => process.exit(1));
const [clip, trustedCertificates] = process.argv.slice(2);
const live = new LivePush({
  extraConfig: { camera: 'test', microphone: 'test', trustedCertificates },
});
process.once('message', (order) => {
  play(live, order).then(
    (report) => process.send(report, () => process.exit(0)),
    (error) => {
      console.error(error);
      process.exit(1);
    },
  );
});
warmUp(live, clip).then(() => process.send('ready'));
