'use strict';

const { startChild } = require('./child');

/**
 * Publishes a test picture (ffmpeg's) and a tone until it is stopped: a stream that owes nothing
 * to the SDK.
 *
 * @param {string} url
 * @param {object} [picture]
 * @param {number} [picture.width]
 * @param {number} [picture.height]
 * @param {number} [picture.frameRate]
 * @returns {import('./child').Child}
 */
function startTestPublisher(url, { width = 640, height = 360, frameRate = 30 } = {}) {
  const video = `testsrc2=size=${width}x${height}:rate=${frameRate}`;
  return startChild('ffmpeg', [
    ...['-v', 'error', '-nostdin', '-re', '-f', 'lavfi', '-i', video],
    ...['-re', '-f', 'lavfi', '-i', 'sine=frequency=440:sample_rate=48000'],
    ...['-c:v', 'libx264', '-preset', 'ultrafast', '-tune', 'zerolatency'],
    ...['-pix_fmt', 'yuv420p', '-g', String(frameRate), '-c:a', 'aac', '-f', 'flv', url],
  ]);
}

module.exports = { startTestPublisher };
