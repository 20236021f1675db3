'use strict';

const { BEEP_SECONDS, CLIP, PITCHES } = require('./av_clip');

const FRAME_MS = 1000 / CLIP.fps;
const BRIGHT = 128;
const PITCH_TOLERANCE = 0.08;
const TAIL_SECONDS = 1.5; // a flash this late may have its beep after the recording's end

/**
 * Finds the beeps of a recording: when each was played, and which second of the clip it belongs to,
 * modulo the number of pitches.
 *
 * @param {import('../../test/e2e/support/audio_recorder').Recording} recording
 * @returns {{ms: number, pitch: number}[]}
 */
function findBeeps({ samples, rate, startMs }) {
  const peak = samples.reduce((most, value) => Math.max(most, Math.abs(value)), 0);
  if (peak < 0.05) return [];
  const quiet = Math.round(rate * 0.2);
  const length = Math.round(rate * BEEP_SECONDS); // around its ends, codec artefacts of silence
  const beeps = [];
  let lastLoud = -quiet;
  for (let i = 0; i < samples.length; i += 1) {
    if (Math.abs(samples[i]) < peak * 0.3) continue;
    if (i - lastLoud >= quiet && i + length < samples.length) {
      const hertz = pitchOf(samples.subarray(i + length * 0.15, i + length * 0.75), rate);
      const pitch = PITCHES.findIndex((value) => Math.abs(hertz / value - 1) < PITCH_TOLERANCE);
      if (pitch >= 0) beeps.push({ ms: startMs + (i / rate) * 1000, pitch }); // else it has a gap
    }
    lastLoud = i;
  }
  return beeps;
}

/** Counts upward zero crossings, between the first and the last. */
function pitchOf(samples, rate) {
  const rises = [];
  for (let i = 1; i < samples.length; i += 1) {
    if (samples[i - 1] < 0 && samples[i] >= 0) rises.push(i);
  }
  return ((rises.length - 1) * rate) / (rises.at(-1) - rises[0]);
}

/**
 * Finds the time of each second's flash. If its first frame is missing, the second is used, and the
 * first is assumed to have been due one frame earlier.
 *
 * @param {import('./av_players').Frame[]} frames
 * @returns {Map<number, number>} second -> ms
 */
function findFlashes(frames) {
  const flashes = new Map();
  for (const { ms, code, luma } of frames) {
    const part = code % CLIP.fps;
    const second = Math.floor(code / CLIP.fps);
    if (code < 0 || luma < BRIGHT || part > 1 || flashes.has(second)) continue;
    flashes.set(second, ms - part * FRAME_MS);
  }
  return flashes;
}

/** @returns {{mean: number, deviation: number, min: number, max: number}} */
function spread(values) {
  const mean = values.reduce((sum, value) => sum + value, 0) / values.length;
  const square = values.reduce((sum, value) => sum + (value - mean) ** 2, 0) / values.length;
  const [min, max] = [Math.min(...values), Math.max(...values)];
  return { mean, deviation: Math.sqrt(square), min, max };
}

/** @returns {number} slope of the straight line through the points, least squares */
function slope(xs, ys) {
  const { mean: x } = spread(xs);
  const { mean: y } = spread(ys);
  const over = xs.reduce((sum, value, i) => sum + (value - x) * (ys[i] - y), 0);
  return over / xs.reduce((sum, value) => sum + (value - x) ** 2, 0);
}

/**
 * The offset of audio to video for each second of the clip; positive where audio is late.
 *
 * @param {object} observed
 * @param {import('./av_players').Frame[]} observed.frames
 * @param {import('../../test/e2e/support/audio_recorder').Recording} observed.recording
 * @param {object} options
 * @param {number} options.recorderOffsetMs of the recorder, subtracted
 * @param {number} options.settleSeconds left out of the figures after the first flash
 */
function measureSync({ frames, recording }, { recorderOffsetMs, settleSeconds }) {
  const flashes = findFlashes(frames);
  const beeps = findBeeps(recording);
  const points = [];
  for (const [second, flashMs] of flashes) {
    const own = beeps.filter(({ pitch }) => pitch === second % PITCHES.length);
    const offsets = own.map(({ ms }) => ms - recorderOffsetMs - flashMs);
    const offset = offsets.sort((a, b) => Math.abs(a) - Math.abs(b))[0];
    // Half of the pitches' period: a larger offset belongs to another second.
    if (Math.abs(offset) < 500 * PITCHES.length) points.push({ second, ms: flashMs, offset });
  }
  const from = Math.min(...flashes.values()) + settleSeconds * 1000;
  const to = recording.startMs + (recording.samples.length / recording.rate - TAIL_SECONDS) * 1000;
  const isMeasured = (ms) => ms >= from && ms <= to;
  const used = points.filter(({ ms }) => isMeasured(ms));
  const settled = frames.filter(({ ms }) => isMeasured(ms));
  const seconds = (settled.at(-1)?.ms - settled[0]?.ms) / 1000 || 0;
  const seen = [...flashes.values()].filter(isMeasured).length;
  const figures = {
    points,
    frames: settled.length,
    fps: seconds > 0 ? (settled.length - 1) / seconds : 0,
    missingFlashes: seconds > 0 ? Math.max(0, Math.floor(seconds) - seen) : 0,
    missingBeeps: seen - used.length,
    intervalDeviation: seconds > 1 ? spread(intervals(settled)).deviation : Number.NaN,
  };
  if (used.length < 3) return { ...figures, offset: undefined, driftPerMinute: Number.NaN };
  const offsets = used.map(({ offset }) => offset);
  const minutes = used.map(({ ms }) => ms / 60_000);
  return { ...figures, offset: spread(offsets), driftPerMinute: slope(minutes, offsets) };
}

const intervals = (frames) => frames.slice(1).map(({ ms }, i) => ms - frames[i].ms);

module.exports = { findBeeps, measureSync, slope, spread };
