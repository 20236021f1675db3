'use strict';

// The reference player: ffmpeg, which discards the decoded frames and prints a line for each.

const { setTimeout: sleep } = require('node:timers/promises');
const { startChild } = require('../../../tools/rtmp/child');
const { onLines } = require('../../../tools/rtmp/output');

/**
 * @typedef {object} ReferenceReport
 * @property {string} player its name
 * @property {number} [firstFrameMs] until the first decoded frame, its bare start-up left out
 * @property {number} [firstAudioMs]
 * @property {number} videoFrames
 * @property {number} audioSamples
 * @property {number} [width] as shown
 * @property {number} [height]
 * @property {string} [error] its last output, if it decoded nothing
 */

/**
 * Otherwise ffmpeg waits until it is certain of the frame rate, and up to half a minute for a
 * stream that an FLV header announces but that never arrives.
 */
const PROMPT = ['-fpsprobesize', '0', '-analyzeduration', '2000000'];

const QUIET = ['-hide_banner', '-nostdin', '-nostats'];

const SHOW = ['-vf', 'showinfo', '-af', 'ashowinfo', '-f', 'null', '-'];

/**
 * @param {string} url
 * @param {object} options
 * @param {number} options.seconds of the stream to be decoded
 * @param {number} options.timeoutSeconds
 * @param {string[]} [options.input] ffmpeg's options for the input
 * @param {number} options.startupMs see measureStartup()
 * @param {() => void} [options.onStart] called when it begins to open the stream
 * @returns {Promise<ReferenceReport>}
 */
async function playWithFfmpeg(url, options) {
  const { seconds, timeoutSeconds, input = [], startupMs, onStart = () => {} } = options;
  const report = { player: 'ffmpeg', videoFrames: 0, audioSamples: 0 };
  const startTime = performance.now();
  const now = () => Math.max(0, Math.round(performance.now() - startTime - startupMs));
  const length = ['-t', String(seconds)];
  const child = startChild('ffmpeg', [
    ...QUIET,
    ...PROMPT,
    ...input,
    '-i',
    url,
    ...length,
    ...SHOW,
  ]);
  setTimeout(onStart, startupMs);
  child.process.stdout.resume();
  const last = [];
  onLines(child.process.stderr, (line) => {
    const [, width, height] = line.match(/^\[Parsed_showinfo.* s:(\d+)x(\d+) /) ?? [];
    const [, samples] = line.match(/^\[Parsed_ashowinfo.* nb_samples:(\d+) /) ?? [];
    if (width) {
      report.firstFrameMs ??= now();
      report.videoFrames += 1;
      Object.assign(report, { width: +width, height: +height });
    } else if (samples) {
      report.firstAudioMs ??= now();
      report.audioSamples += Number(samples);
    } else if (!line.startsWith('[Parsed_')) {
      last.push(line);
    }
  });
  // A source that sends nothing more would otherwise keep it running.
  const limit = new AbortController();
  sleep((seconds + timeoutSeconds) * 1000, undefined, limit).then(
    () => child.stop(),
    () => {},
  );
  await child.ended;
  limit.abort();
  if (report.videoFrames + report.audioSamples === 0) report.error = last.slice(-2).join(' ');
  return report;
}

/** @returns {Promise<number>} milliseconds from the start of ffmpeg to the first frame of a filter */
async function measureStartup() {
  const times = [];
  for (let attempt = 0; attempt < 3; attempt += 1) {
    const input = ['-f', 'lavfi'];
    const options = { seconds: 0.1, timeoutSeconds: 10, input, startupMs: 0 };
    const { firstFrameMs } = await playWithFfmpeg('color=s=320x180', options);
    times.push(firstFrameMs);
  }
  return Math.min(...times);
}

module.exports = { PROMPT, measureStartup, playWithFfmpeg };
