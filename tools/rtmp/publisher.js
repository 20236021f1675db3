'use strict';

const { runChild, startChild } = require('./child');

/**
 * @typedef {object} TestVideo
 * @property {number} [width]
 * @property {number} [height]
 * @property {number} [frameRate]
 * @property {string} [source] ffmpeg's name of the video source, for example "color=red"
 * @property {number} [tone] Hz
 */

/**
 * ffmpeg's arguments for test video and a tone: H.264 with a key frame per second, and AAC.
 *
 * @param {TestVideo} [options]
 * @returns {string[]}
 */
function testStream(options = {}) {
  const { width = 640, height = 360, frameRate = 30, source = 'testsrc2', tone = 440 } = options;
  const size = `size=${width}x${height}:rate=${frameRate}`;
  const video = `${source}${source.includes('=') ? ':' : '='}${size}`;
  return [
    ...['-v', 'error', '-nostdin', '-re', '-f', 'lavfi', '-i', video],
    ...['-re', '-f', 'lavfi', '-i', `sine=frequency=${tone}:sample_rate=48000`],
    ...['-c:v', 'libx264', '-preset', 'ultrafast', '-tune', 'zerolatency'],
    ...['-pix_fmt', 'yuv420p', '-g', String(frameRate), '-c:a', 'aac'],
  ];
}

/**
 * Publishes ffmpeg's test video and a tone until it is stopped: a stream that does not depend on
 * the SDK.
 *
 * @param {string} url
 * @param {TestVideo & {format?: string}} [options] `format` is that of the stream, default "flv"
 * @returns {import('./child').Child}
 */
function startTestPublisher(url, { format = 'flv', ...options } = {}) {
  return startChild('ffmpeg', [...testStream(options), '-f', format, url]);
}

/**
 * Writes a file of test video and a tone.
 *
 * @param {string} file its extension selects the format
 * @param {number} seconds
 * @param {TestVideo} [options]
 */
async function writeTestFile(file, seconds, options) {
  // As fast as possible.
  const stream = testStream(options).filter((option) => option !== '-re');
  const output = ['-t', String(seconds), '-y', file];
  await runChild('ffmpeg', [...stream, ...output], { deadlineSeconds: 60 });
}

module.exports = { startTestPublisher, testStream, writeTestFile };
