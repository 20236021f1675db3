'use strict';

const { shownSize } = require('./media');
const { shownQuarters, toYuv } = require('./pattern');

const LIMITS = {
  firstFrameFactor: 1.2, // of the reference
  firstFrameMs: 300,
  rate: 0.1,
  deliveredRate: 0.2, // JavaScript takes the newest frame every 33 ms
  silenceMs: 60,
  pitch: 0.02,
  colour: 10, // Y, U and V
  combing: 400,
};

// All frames are delivered in this form, whatever the source.
const DELIVERED_MATRIX = 'bt709';

const TONES = [440, 660];
const POLL_INTERVAL = 33; // ms between two polls for frames

const average = (values) => values.reduce((sum, value) => sum + value, 0) / values.length;
const round = (value, digits = 1) => Number(value.toFixed(digits));

/**
 * The result of a row.
 *
 * @typedef {object} Result
 * @property {'ok' | 'failed' | 'no reference'} result "no reference": the reference does not play
 *   it either
 * @property {string[]} reasons why it is not ok
 * @property {string[]} remarks what the result leaves out
 * @property {object} ours figures
 * @property {object} reference figures
 *
 * @typedef {object} Allowance on top of LIMITS
 * @property {number} [firstFrameMs]
 * @property {number} [silenceMs]
 */

/**
 * @param {import('./media').Media} media
 * @param {object} ours an OurReport
 * @param {import('./audio_monitor').AudibleAudio} [audible] absent without an audio server
 * @param {import('./ffmpeg_reference').ReferenceReport} reference
 * @param {Allowance} allowance where circumstances differ
 * @returns {Result}
 */
function judge(media, ours, audible, reference, allowance = {}) {
  const figures = figuresOf(ours, audible);
  const reasons = [
    ...failures(ours),
    ...(ours.crash || ours.error ? [] : videoReasons(media, figures, ours, reference)),
    ...(ours.crash || ours.error ? [] : audioReasons(media, figures, reference, allowance)),
  ];
  const first = figures.firstMs;
  const peer = reference.firstFrameMs ?? reference.firstAudioMs;
  const limit =
    Math.max(LIMITS.firstFrameFactor * peer, LIMITS.firstFrameMs) + (allowance.firstFrameMs ?? 0);
  if (first > limit) reasons.push(`first frame after ${first} ms, reference ${peer} ms`);
  const played = reference.videoFrames + reference.audioSamples > 0;
  const result = played || ours.crash ? (reasons.length > 0 ? 'failed' : 'ok') : 'no reference';
  return { result, reasons, remarks: remarks(media, reference), ours: figures, reference };
}

/** Our player is not required to have what the reference lacks. */
function remarks(media, { videoFrames, audioSamples }) {
  if (videoFrames + audioSamples === 0) return [];
  if (media.video && videoFrames === 0) return ['the reference decodes no video'];
  if (media.audio && audioSamples === 0) return ['the reference decodes no audio'];
  return [];
}

function failures(ours) {
  if (ours.crash) return [`the process ended: ${ours.crash}`];
  if (ours.error) {
    const { code, msg, ms } = ours.error;
    return [`error ${code} after ${round(ms / 1000)} s: ${msg}`];
  }
  if (ours.ended) return ['the stream ended at once'];
  return [];
}

/** Figures of our player. */
function figuresOf(ours, audible) {
  if (ours.crash) return {};
  const begin = ours.firstFrameMs ?? ours.startedMs;
  const settled = (ours.statistics ?? []).filter(({ ms }) => ms >= begin + 1900);
  const last = settled.at(-1) ?? ours.statistics?.at(-1);
  const times = ours.frameTimes.filter((ms) => ms >= begin + 1000);
  const figures = {
    firstMs: ours.firstFrameMs ?? ours.startedMs,
    error: ours.error?.code,
    renderFps: settled.length ? round(average(settled.map((one) => one.renderFps))) : 0,
    decodeFps: settled.length ? round(average(settled.map((one) => one.decodeFps))) : 0,
    deliveredFps:
      begin === undefined ? 0 : round((times.length * 1000) / (ours.endMs - begin - 1000)),
    audioKbps: last?.audioBitrate ?? 0,
    shown: last && `${last.videoWidth}x${last.videoHeight}`,
    ...ours.frames,
  };
  if (audible) figures.audible = audible;
  return figures;
}

function videoReasons({ video }, figures, ours, reference) {
  if (!video || reference.videoFrames === 0) return [];
  if (ours.frameTimes.length === 0) return ['no video'];
  const reasons = [];
  const near = (value, wanted, part) => Math.abs(value - wanted) <= wanted * part;
  if (!video.fps.some((wanted) => near(figures.renderFps, wanted, LIMITS.rate))) {
    reasons.push(`${figures.renderFps} instead of ${video.fps.join(' or ')} frames/s`);
  }
  const wanted = Math.min(video.fps[0], 1000 / POLL_INTERVAL);
  if (figures.deliveredFps < wanted * (1 - LIMITS.deliveredRate)) {
    reasons.push(`${figures.deliveredFps} of ${round(wanted)} frames/s reach JavaScript`);
  }
  const { width, height } = shownSize(video);
  const padded = `${Math.ceil(width / 8) * 8}x${height}`;
  if (figures.shown !== `${width}x${height}`) reasons.push(`the statistics have ${figures.shown}`);
  if (`${figures.width}x${figures.height}` !== padded) {
    reasons.push(`frames of ${figures.width}x${figures.height} instead of ${padded}`);
  }
  reasons.push(...contentReasons(video, figures));
  return reasons;
}

function contentReasons(video, figures) {
  const reasons = [];
  const wanted = shownQuarters(video.rotation).map((rgb) => toYuv(rgb, DELIVERED_MATRIX));
  const off = figures.quarters.map((quarter, index) =>
    Math.max(...quarter.map((value, plane) => Math.abs(value - wanted[index][plane]))),
  );
  if (Math.max(...off) > LIMITS.colour) reasons.push(`wrong colours, by ${off.map(Math.round)}`);
  if (video.rotation) return reasons;
  if (figures.backward > 0) reasons.push(`${figures.backward} frames out of order`);
  if (figures.distinct < 10) reasons.push(`only ${figures.distinct} different frames`);
  if (video.fields && figures.combing > LIMITS.combing) reasons.push(`combed (${figures.combing})`);
  return reasons;
}

function audioReasons({ audio }, figures, reference, allowance) {
  if (!audio || reference.audioSamples === 0) return [];
  const { audible } = figures;
  const reasons = [];
  if (!(figures.audioKbps > 0)) reasons.push('no audio in the statistics');
  if (!audible) return reasons;
  if (audible.firstMs === undefined) return [...reasons, 'no audio is audible'];
  const gapTimes = `${audible.gaps.map((ms) => round(ms / 1000)).join(', ') || 'the end'}`;
  if (audible.silenceMs > LIMITS.silenceMs + (allowance.silenceMs ?? 0)) {
    reasons.push(`torn audio: ${audible.silenceMs} ms silent, gaps at ${gapTimes} s`);
  }
  const wanted = audio.channels === 1 ? [TONES[0], TONES[0]] : TONES;
  const wrong = wanted.some(
    (hertz, side) => Math.abs(audible.pitch[side] - hertz) > hertz * LIMITS.pitch,
  );
  if (wrong)
    reasons.push(`tones of ${audible.pitch.join(' and ')} Hz instead of ${wanted.join(' and ')}`);
  return reasons;
}

module.exports = { LIMITS, judge };
