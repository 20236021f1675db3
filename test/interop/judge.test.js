'use strict';

// The evaluation of a row: each way in which a player can fail is detected.

const assert = require('node:assert/strict');
const { describe, it } = require('node:test');
const { FrameCheck } = require('./lib/frame_check');
const { judge } = require('./lib/judge');
const { readMedia } = require('./lib/media');
const { STEPS, shownQuarters, toYuv } = require('./lib/pattern');

const WIDTH = 320;
const HEIGHT = 180;
const REFERENCE = { player: 'ffmpeg', videoFrames: 100, audioSamples: 100_000, firstFrameMs: 100 };

/** A frame of the pattern with the bar at a step; with `combed`, every other line is a step ahead. */
function frameAt(step, { combed = 0, matrix = 'bt709' } = {}) {
  const luma = Buffer.alloc(WIDTH * HEIGHT);
  const [u, v] = [0, 1].map(() => Buffer.alloc((WIDTH * HEIGHT) / 4));
  const colours = shownQuarters(0).map((rgb) => toYuv(rgb, matrix));
  for (let y = 0; y < HEIGHT; y += 1) {
    const left = ((step + (y % 2) * combed) % STEPS) * (WIDTH / STEPS);
    for (let x = 0; x < WIDTH; x += 1) {
      const inBand = y >= HEIGHT * 0.375 && y < HEIGHT * 0.625;
      const quarter = colours[2 * (y >= HEIGHT / 2) + (x >= WIDTH / 2)];
      const bar = x >= left && x < left + 16;
      luma[y * WIDTH + x] = inBand ? (bar ? 235 : 60) : quarter[0];
      const chroma = Math.floor(y / 2) * (WIDTH / 2) + Math.floor(x / 2);
      u[chroma] = quarter[1];
      v[chroma] = quarter[2];
    }
  }
  return {
    ...{ width: WIDTH, height: HEIGHT, data_y: luma, data_u: u, data_v: v },
    ...{ data_y_len: luma.length, data_u_len: u.length, data_v_len: v.length },
  };
}

/** The report of a player that shows the pattern at these steps. */
function report({ steps = Array.from({ length: 40 }, (_, step) => step), frame, media = {} } = {}) {
  const check = new FrameCheck({ upright: true, interlaced: false, ...media });
  for (const step of steps) check.add(frameAt(step, frame));
  const seconds = [2100, 3100, 4100];
  return {
    ...{ startedMs: 90, firstFrameMs: 100, endMs: 4100, ended: false },
    frameTimes: Array.from({ length: 120 }, (_, index) => 100 + index * 33.3),
    frames: check.summary(),
    statistics: seconds.map((ms) => ({
      ...{ ms, videoWidth: WIDTH, videoHeight: HEIGHT, renderFps: 30, decodeFps: 30 },
      audioBitrate: 128,
    })),
  };
}

const AUDIBLE = { firstMs: 80, silenceMs: 0, gaps: [], pitch: [440, 660] };

function reasonsOf(ours, { audible = AUDIBLE, words = 'h264 + aac', reference = REFERENCE } = {}) {
  return judge(readMedia(words), ours, audible, reference);
}

describe('a row', () => {
  it('is ok when frames and audio are right', () => {
    assert.deepEqual(reasonsOf(report()).reasons, []);
    assert.equal(reasonsOf(report()).result, 'ok');
  });

  it('fails with wrong colours, those of another matrix too', () => {
    const other = report({ frame: { matrix: 'smpte170m' } });
    assert.match(reasonsOf(other).reasons.join(), /wrong colours/);
    const ours = report();
    ours.frames.quarters[0] = [16, 128, 128];
    assert.match(reasonsOf(ours).reasons.join(), /wrong colours/);
  });

  const failures = {
    'frames out of order': [
      report({ steps: [0, 2, 1, 3, 5, 4, 6, 7, 8, 9, 10, 11] }),
      /2 frames out/,
    ],
    'frozen frames': [report({ steps: Array(40).fill(3) }), /only 1 different/],
    'too few frames': [{ ...report(), frameTimes: [100, 2000, 3000] }, /reach JavaScript/],
    'no frames': [{ ...report(), frameTimes: [], firstFrameMs: undefined }, /no video/],
    'an error': [{ ...report(), error: { code: -3203, msg: 'x', ms: 15_000 } }, /-3203 after 15 s/],
    'a crash': [{ crash: 'SIGSEGV' }, /the process ended: SIGSEGV/],
    'a late first frame': [{ ...report(), firstFrameMs: 500 }, /after 500 ms, reference 100 ms/],
  };
  for (const [name, [ours, pattern]] of Object.entries(failures)) {
    it(`fails with ${name}`, () => {
      const { result, reasons } = reasonsOf(ours);
      assert.equal(result, 'failed');
      assert.match(reasons.join('; '), pattern);
    });
  }

  it('fails with combed frames of an interlaced stream', () => {
    const ours = report({ frame: { combed: 3 }, media: { interlaced: true } });
    for (const one of ours.statistics) one.renderFps = 25;
    assert.match(reasonsOf(ours, { words: 'h264 tff + aac' }).reasons.join(), /combed/);
  });

  const broken = {
    'interrupted audio': [
      { ...AUDIBLE, silenceMs: 200, gaps: [1100, 2500] },
      /200 ms silent, gaps at 1.1, 2.5 s/,
    ],
    'audio at a wrong rate': [{ ...AUDIBLE, pitch: [404, 606] }, /tones of 404 and 606 Hz/],
    'swapped channels': [{ ...AUDIBLE, pitch: [660, 440] }, /tones of 660 and 440 Hz/],
    silence: [{ silenceMs: 0, gaps: [], pitch: [0, 0] }, /no audio is audible/],
  };
  for (const [name, [audible, pattern]] of Object.entries(broken)) {
    it(`fails with ${name}`, () => {
      assert.match(reasonsOf(report(), { audible }).reasons.join('; '), pattern);
    });
  }

  it('requires no more than the reference decodes', () => {
    const ours = { ...report(), frameTimes: [], firstFrameMs: undefined };
    const reference = { ...REFERENCE, videoFrames: 0, firstFrameMs: undefined, firstAudioMs: 100 };
    const { result, remarks } = reasonsOf(ours, { reference });
    assert.equal(result, 'ok');
    assert.deepEqual(remarks, ['the reference decodes no video']);
    const nothing = { ...REFERENCE, videoFrames: 0, audioSamples: 0 };
    assert.equal(reasonsOf(report(), { reference: nothing }).result, 'no reference');
  });
});
