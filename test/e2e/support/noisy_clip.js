'use strict';

const fs = require('node:fs');
const os = require('node:os');
const path = require('node:path');
const { runChild } = require('../../../tools/rtmp/child');

/**
 * Makes a video of noise, which an encoder needs its whole bit rate for; a test pattern compresses
 * to a fraction of it.
 *
 * @returns {Promise<{camera: string, remove: () => void}>} `camera` is for the extra configuration
 */
async function makeNoisyClip() {
  const folder = fs.mkdtempSync(path.join(os.tmpdir(), 'noisy-clip-'));
  const file = path.join(folder, 'noise.mkv');
  const noise = 'color=gray:size=640x360:rate=30,noise=alls=40:allf=t+u,format=yuv420p';
  const encoded = ['-frames:v', '60', '-c:v', 'mjpeg', '-q:v', '8', file];
  await runChild('ffmpeg', ['-v', 'error', '-f', 'lavfi', '-i', noise, ...encoded], {
    deadlineSeconds: 60,
  });
  return {
    camera: `file:${file}`,
    remove: () => fs.rmSync(folder, { recursive: true, force: true }),
  };
}

module.exports = { makeNoisyClip };
