'use strict';

// Frames of a player always have the same colorimetry, whatever that of the file: BT.709, limited
// range, and a width that is a multiple of 8. The clips are written here code by code, so that the
// expectation does not depend on another converter.

const assert = require('node:assert/strict');
const fs = require('node:fs');
const os = require('node:os');
const path = require('node:path');
const { after, afterEach, before, describe, it } = require('node:test');
const { runChild } = require('../../tools/rtmp/child');
const { openLivePush, pixel } = require('./support/live_push');
const { openPlayer } = require('./support/player');

const GUARD = { timeout: 90_000 };

// Shares of red and blue in luma.
const MATRICES = {
  smpte170m: [0.299, 0.114],
  bt709: [0.2126, 0.0722],
  smpte240m: [0.212, 0.087],
  bt2020nc: [0.2627, 0.0593],
};

// Red, green and blue of the bars, from left to right.
const BARS = [
  ...[
    [1, 1, 1],
    [1, 1, 0],
    [0, 1, 1],
    [0, 1, 0],
    [1, 0, 1],
    [1, 0, 0],
    [0, 0, 1],
    [0, 0, 0],
  ],
  ...[
    [0.75, 0.75, 0],
    [0, 0.75, 0.75],
    [0, 0.75, 0],
    [0.75, 0, 0.75],
    [0.75, 0, 0],
  ],
  ...[
    [0, 0, 0.75],
    [0.5, 0.5, 0.5],
    [1, 1, 1],
  ],
];

/** @returns {number[]} codes of Y, U and V */
function codes([red, green, blue], [kr, kb], range, bits = 8) {
  const y = kr * red + (1 - kr - kb) * green + kb * blue;
  const u = (blue - y) / (1 - kb) / 2;
  const v = (red - y) / (1 - kr) / 2;
  const unit = 2 ** (bits - 8);
  const most = 2 ** bits - 1;
  const [black, luma, chroma] =
    range === 'pc' ? [0, most, most] : [16 * unit, 219 * unit, 224 * unit];
  return [black + luma * y, 128 * unit + chroma * u, 128 * unit + chroma * v].map((code) =>
    Math.min(most, Math.round(code)),
  );
}

// FFmpeg's names of planar formats: the chroma subsampling, and the bits of a sample.
const FORMATS = {
  yuv420p: [1, 1, 8],
  yuv422p: [1, 0, 8],
  yuv444p: [0, 0, 8],
  yuvj420p: [1, 1, 8],
  yuvj422p: [1, 0, 8],
  yuv420p10le: [1, 1, 10],
};

/** One frame of bars. */
function barsFrame({ width, height, space, range, format }) {
  const [across, down, bits] = FORMATS[format];
  const planes = [0, 1, 2].map((plane) => {
    const columns = plane === 0 ? width : Math.ceil(width / 2 ** across);
    const rows = plane === 0 ? height : Math.ceil(height / 2 ** down);
    const samples = Array.from({ length: columns }, (_none, x) => {
      const bar = BARS[Math.floor((x * BARS.length) / columns)];
      return codes(bar, MATRICES[space], range, bits)[plane];
    });
    const row = bits > 8 ? Buffer.from(Uint16Array.from(samples).buffer) : Buffer.from(samples);
    return Buffer.concat(Array(rows).fill(row));
  });
  return Buffer.concat(planes);
}

/** Writes two seconds of the frame, labelled with its coding. */
async function writeClip(file, clip) {
  const { width, height, space, range, format, encoder } = clip;
  const raw = `${file}.yuv`;
  fs.writeFileSync(raw, barsFrame(clip));
  const input = ['-f', 'rawvideo', '-pix_fmt', format, '-video_size', `${width}x${height}`];
  const label = `setparams=colorspace=${space}:range=${range}`;
  await runChild(
    'ffmpeg',
    [
      ...['-v', 'error', '-nostdin', ...input, '-framerate', '30', '-i', raw],
      ...['-vf', `${label},loop=loop=59:size=1`, ...encoder, '-y', file],
    ],
    { deadlineSeconds: 60 },
  );
}

const H264 = ['-c:v', 'libx264', '-preset', 'ultrafast', '-crf', '2'];
const CLIP = { width: 640, height: 360, space: 'bt709', range: 'tv', format: 'yuv420p' };
const CLIPS = [
  ...Object.keys(MATRICES).flatMap((space) => ['tv', 'pc'].map((range) => ({ space, range }))),
  { space: 'smpte170m', format: 'yuv422p' },
  { space: 'smpte170m', format: 'yuv444p', range: 'pc' },
  { format: 'yuv444p', range: 'pc' },
  { format: 'yuv420p10le', range: 'pc' },
  { format: 'yuv420p10le', space: 'bt2020nc' },
  {
    space: 'smpte170m',
    range: 'pc',
    format: 'yuvj420p',
    name: 'avi',
    encoder: ['-c:v', 'mjpeg', '-q:v', '1'],
  },
  {
    space: 'smpte170m',
    range: 'pc',
    format: 'yuvj422p',
    name: 'avi',
    encoder: ['-c:v', 'mjpeg', '-q:v', '1'],
  },
  { space: 'smpte170m', width: 854, height: 480 },
  { width: 1282, height: 722 },
].map((clip) => ({ name: 'mp4', encoder: H264, ...CLIP, ...clip }));

function assertBars(frame, visible, title) {
  for (const [index, bar] of BARS.entries()) {
    const wanted = codes(bar, MATRICES.bt709, 'tv');
    const x = ((index + 0.5) * visible) / BARS.length / frame.width;
    for (const y of [0.1, 0.9]) {
      const seen = pixel(frame, x, y);
      const near = seen.every((code, plane) => Math.abs(code - wanted[plane]) <= 3);
      assert.ok(near, `${title}, bar ${index}: ${seen}, not ${wanted}`);
    }
  }
}

/** Checks the padding beside the visible columns. */
function assertPadding(frame, visible) {
  const stride = frame.data_y_len / frame.height;
  for (let row = 0; row < frame.height; row += 1) {
    const last = frame.data_y[row * stride + visible - 1];
    for (let x = visible; x < frame.width; x += 1) {
      assert.equal(frame.data_y[row * stride + x], last, `row ${row}, column ${x}`);
    }
  }
}

describe('the colours of a player', GUARD, () => {
  let folder;
  let live;
  let player;
  before(() => {
    folder = fs.mkdtempSync(path.join(os.tmpdir(), 'colour-'));
    live = openLivePush();
  });
  afterEach(() => {
    player?.close();
    player = undefined;
  });
  after(() => {
    live.close();
    fs.rmSync(folder, { recursive: true });
  });

  for (const clip of CLIPS) {
    const { width, height, space, range, format, name } = clip;
    const title = `${width}x${height} ${format} ${space} ${range} in ${name}`;
    it(`are BT.709 in limited range: ${title}`, async () => {
      const file = path.join(folder, `${title.replaceAll(' ', '-')}.${name}`);
      await writeClip(file, clip);
      player = openPlayer(live);
      const frame = await player.play(file);
      assert.deepEqual([frame.width, frame.height], [Math.ceil(width / 8) * 8, height]);
      assertBars(frame, width, title);
      assertPadding(frame, width);
    });
  }
});
