'use strict';

const { runChild, startChild } = require('./child');

/**
 * @typedef {object} Picture
 * @property {number} [width]
 * @property {number} [height]
 * @property {number} [frameRate]
 * @property {string} [source] ffmpeg's name of the picture's source: "color=red", say
 * @property {number} [tone] Hz
 */

/**
 * What ffmpeg is told to make a picture and a tone: H.264 with a key frame a second, and AAC.
 *
 * @param {Picture} [picture]
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
 * Publishes a test picture (ffmpeg's) and a tone until it is stopped: a stream that owes nothing
 * to the SDK.
 *
 * @param {string} url
 * @param {Picture & {format?: string}} [picture] `format` is that of the stream, default "flv"
 * @returns {import('./child').Child}
 */
function startTestPublisher(url, { format = 'flv', ...options } = {}) {
  return startChild('ffmpeg', [...testStream(options), '-f', format, url]);
}

/**
 * Writes a file of test picture and tone.
 *
 * @param {string} file its ending tells the format
 * @param {number} seconds
 * @param {Picture} [picture]
 */
async function writeTestFile(file, seconds, options) {
  // As fast as it goes.
  const stream = testStream(options).filter((option) => option !== '-re');
  const output = ['-t', String(seconds), '-y', file];
  await runChild('ffmpeg', [...stream, ...output], { deadlineSeconds: 60 });
}

module.exports = { startTestPublisher, testStream, writeTestFile };
