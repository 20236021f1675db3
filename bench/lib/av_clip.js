'use strict';

const { spawn } = require('node:child_process');
const { once } = require('node:events');
const fs = require('node:fs');
const { BITS } = require('./frame_code');

const CLIP = { width: 320, height: 180, fps: 30, rate: 48_000 };
const FLASH_FRAMES = 2;
const WHITE = 235;
const BLACK = 16;
// The second is recognisable by its pitch: an offset of up to two seconds has one reading only.
const PITCHES = [1000, 1300, 1700, 2200];
const BEEP_SECONDS = FLASH_FRAMES / CLIP.fps;
const LEVEL = 0.5; // of full scale

/** One I420 frame: its number coded above, white for a flash, else a dark pattern that moves. */
function drawFrame(target, index) {
  const { width, height, fps } = CLIP;
  const isFlash = index % fps < FLASH_FRAMES;
  const codeRows = Math.floor(height / 16);
  for (let x = 0; x < width; x += 1) {
    const bit = BITS - 1 - Math.floor((x * BITS) / width);
    target[x] = Math.floor(index / 2 ** bit) % 2 ? WHITE : BLACK;
  }
  for (let y = 1; y < codeRows; y += 1) target.copy(target, y * width, 0, width);
  for (let y = codeRows; y < height; y += 1) {
    for (let x = 0; x < width; x += 1) {
      const pattern = BLACK + (((x + 3 * index) ^ (y + index)) & 31);
      target[y * width + x] = isFlash ? WHITE : pattern;
    }
  }
  target.fill(128, width * height);
}

/** @returns {Buffer} of 16-bit samples: a beep at the beginning of each second */
function beeps(seconds) {
  const audio = Buffer.alloc(seconds * CLIP.rate * 2);
  for (let second = 0; second < seconds; second += 1) {
    const pitch = PITCHES[second % PITCHES.length];
    for (let i = 0; i < BEEP_SECONDS * CLIP.rate; i += 1) {
      const value = LEVEL * Math.sin((2 * Math.PI * pitch * i) / CLIP.rate);
      audio.writeInt16LE(Math.round(value * 32767), (second * CLIP.rate + i) * 2);
    }
  }
  return audio;
}

/**
 * @returns {Buffer} of 16-bit samples: a continuous tone
 */
function tone(seconds, hertz) {
  const audio = Buffer.alloc(seconds * CLIP.rate * 2);
  for (let i = 0; i < seconds * CLIP.rate; i += 1) {
    const value = LEVEL * Math.sin((2 * Math.PI * hertz * i) / CLIP.rate);
    audio.writeInt16LE(Math.round(value * 32767), 2 * i);
  }
  return audio;
}

/**
 * Writes an MP4 file of H.264 and AAC whose every second begins with a white flash and a beep.
 *
 * @param {string} file
 * @param {number} seconds
 * @param {{bFrames?: boolean, hertz?: number}} [options] with `hertz`, a steady tone instead of
 *   the beeps
 */
async function writeClip(file, seconds, { bFrames = false, hertz } = {}) {
  const { width, height, fps, rate } = CLIP;
  const audio = `${file}.s16`;
  fs.writeFileSync(audio, hertz ? tone(seconds, hertz) : beeps(seconds));
  const codec = bFrames ? ['-preset', 'veryfast', '-bf', '3'] : ['-tune', 'zerolatency'];
  const child = spawn(
    'ffmpeg',
    [
      ...['-v', 'error', '-y', '-f', 'rawvideo', '-pix_fmt', 'yuv420p', '-s', `${width}x${height}`],
      ...['-r', String(fps), '-i', 'pipe:0', '-f', 's16le', '-ar', String(rate), '-ac', '1'],
      ...['-i', audio, '-c:v', 'libx264', '-preset', 'veryfast', ...codec, '-g', String(fps)],
      ...['-crf', '18', '-c:a', 'aac', '-b:a', '160k', '-movflags', '+faststart', file],
    ],
    { stdio: ['pipe', 'inherit', 'inherit'] },
  );
  const closed = once(child, 'close');
  for (let index = 0; index < seconds * fps; index += 1) {
    const frame = Buffer.allocUnsafe((width * height * 3) / 2);
    drawFrame(frame, index);
    if (!child.stdin.write(frame)) await once(child.stdin, 'drain');
  }
  child.stdin.end();
  const [code] = await closed;
  fs.rmSync(audio);
  if (code !== 0) throw new Error(`ffmpeg: exit code ${code}`);
}

module.exports = { BEEP_SECONDS, CLIP, PITCHES, writeClip };
