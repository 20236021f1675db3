'use strict';

// Checks that a recorded tone is continuous: no silence within it, and no jump of its phase, which
// a lost, repeated or inserted audio chunk causes.

const GAP_MS = 2;
const SILENT = 0.02; // of the tone's peak
const JUMP_RADIANS = 0.3;
const JUMP_MS = 5;
const JUMP_HOLD_MS = 30; // one disturbance is one jump
const PERIODS = 2; // of the tone, over which its phase is taken

/**
 * @typedef {object} ToneReport
 * @property {number} seconds examined
 * @property {{ms: number, lengthMs: number}[]} gaps silences of more than 2 ms; `ms` since the start
 * @property {number} silenceMs their sum
 * @property {number[]} jumps of the phase by more than 0.3 rad within 5 ms: ms since the start
 */

/**
 * @param {import('./audio_recorder').Recording} recording
 * @param {object} [options]
 * @param {number} [options.hertz] the tone's
 * @param {number} [options.settleSeconds] left out after the tone's beginning
 * @param {number} [options.tailSeconds] left out before the recording's end
 * @returns {ToneReport}
 * @throws {Error} when there is no tone
 */
function examineTone(recording, { hertz = 440, settleSeconds = 3, tailSeconds = 0.5 } = {}) {
  const { samples, rate } = recording;
  const peak = samples.reduce((most, value) => Math.max(most, Math.abs(value)), 0);
  const begin = peak > 0.01 ? samples.findIndex((value) => Math.abs(value) > peak / 2) : -1;
  const from = begin + Math.round(settleSeconds * rate);
  const to = samples.length - Math.round(tailSeconds * rate);
  if (begin < 0 || to - from < rate) throw new Error('no tone was recorded');
  const tone = samples.subarray(from, to);
  const gaps = findGaps(tone, rate, peak * SILENT);
  return {
    seconds: tone.length / rate,
    gaps,
    silenceMs: gaps.reduce((sum, { lengthMs }) => sum + lengthMs, 0),
    jumps: findJumps(tone, rate, hertz),
  };
}

function findGaps(tone, rate, threshold) {
  const gaps = [];
  let silent = 0;
  for (let i = 0; i <= tone.length; i += 1) {
    if (i < tone.length && Math.abs(tone[i]) < threshold) {
      silent += 1;
      continue;
    }
    const lengthMs = (silent / rate) * 1000;
    if (lengthMs > GAP_MS) gaps.push({ ms: ((i - silent) / rate) * 1000, lengthMs });
    silent = 0;
  }
  return gaps;
}

/** Amplitude and phase against a reference of that frequency, once a millisecond. */
function demodulate(tone, rate, hertz) {
  const length = Math.round((PERIODS * rate) / hertz);
  const step = rate / 1000;
  const points = [];
  const turn = (2 * Math.PI * hertz) / rate;
  let [real, imaginary] = [0, 0];
  for (let i = 0; i < tone.length; i += 1) {
    real += tone[i] * Math.cos(turn * i);
    imaginary -= tone[i] * Math.sin(turn * i);
    const left = i - length;
    if (left < 0) continue;
    real -= tone[left] * Math.cos(turn * left);
    imaginary += tone[left] * Math.sin(turn * left);
    if (i % step === 0) {
      const amplitude = (2 * Math.hypot(real, imaginary)) / length;
      points.push({ ms: i / step, amplitude, phase: Math.atan2(imaginary, real) });
    }
  }
  return points;
}

function findJumps(tone, rate, hertz) {
  const points = demodulate(tone, rate, hertz);
  const usual = points.map(({ amplitude }) => amplitude).sort((a, b) => a - b)[points.length >> 1];
  const jumps = [];
  let last = Number.NEGATIVE_INFINITY;
  for (let i = JUMP_MS; i < points.length; i += 1) {
    const [before, now] = [points[i - JUMP_MS], points[i]];
    if (Math.min(before.amplitude, now.amplitude) < usual / 2) continue;
    const turned = now.phase - before.phase;
    const wrapped = turned - 2 * Math.PI * Math.round(turned / (2 * Math.PI));
    if (Math.abs(wrapped) < JUMP_RADIANS) continue;
    if (now.ms - last > JUMP_HOLD_MS) jumps.push(now.ms);
    last = now.ms;
  }
  return jumps;
}

module.exports = { examineTone };
