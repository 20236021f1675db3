'use strict';

// The media of a row, written as words: "h264 b-frames 25fps + aac 44.1k mono video-first".
// readMedia() turns them into figures; lib/clips.js makes a file of them.

/**
 * @typedef {object} Media
 * @property {string} words as given
 * @property {VideoMedia} [video]
 * @property {AudioMedia} [audio]
 * @property {Order} order
 *
 * @typedef {'' | 'audio-first' | 'video-first' | 'late-audio' | 'late-video'} Order "first": the
 *   stream begins with one packet of it, then they alternate; "late": it begins a second later
 *
 * @typedef {object} VideoMedia
 * @property {string} codec
 * @property {number} width as encoded, pixels
 * @property {number} height
 * @property {string} rate frames per second as ffmpeg writes it; the source's, where it is variable
 * @property {number[]} fps frames per second that a player may show
 * @property {number} gop seconds between key frames
 * @property {boolean} bFrames
 * @property {boolean} variable frame rate
 * @property {'' | 'tff' | 'bff'} fields interlaced: which field comes first
 * @property {string} pixels ffmpeg's pixel format
 * @property {number} rotation degrees
 * @property {string} matrix ffmpeg's colour space
 * @property {string} profile words for the encoder, "" for its default
 *
 * @typedef {object} AudioMedia
 * @property {string} codec
 * @property {number} rate Hz
 * @property {number} channels
 */

const VIDEO_CODECS = [
  ...['h264', 'hevc', 'vp8', 'vp9', 'av1', 'mpeg2', 'mpeg4', 'mjpeg', 'theora'],
];
const AUDIO_CODECS = [
  ...['aac', 'mp2', 'mp3', 'opus', 'ac3', 'eac3', 'vorbis', 'flac', 'alac', 'pcm', 'pcmu'],
];
const RATES = { '23.976fps': '24000/1001', '29.97fps': '30000/1001', '59.94fps': '60000/1001' };
const CHANNELS = { mono: 1, stereo: 2, 5.1: 6 };

// Of 30 frames a second these are kept.
const VARIABLE = { fps: 18, filter: "select='gt(mod(floor(n*0.618),5),1)'" };

/** One entry for each kind of word; the first that matches has it. */
const WORDS = [
  [
    /^(\d+)x(\d+)$/,
    ({ video }, width, height) => Object.assign(video, { width: +width, height: +height }),
  ],
  [
    /^[\d.]+fps$/,
    ({ video }, word) => {
      video.rate = RATES[word] ?? String(Number.parseFloat(word));
      video.fps = [Number.parseFloat(word)];
    },
  ],
  [/^gop([\d.]+)s$/, ({ video }, seconds) => Object.assign(video, { gop: +seconds })],
  [/^b-frames$/, ({ video }) => Object.assign(video, { bFrames: true })],
  [/^vfr$/, ({ video }) => Object.assign(video, { variable: true, fps: [VARIABLE.fps] })],
  // 25 frames, or 50 where each field becomes a frame.
  [
    /^(tff|bff)$/,
    ({ video }, fields) => Object.assign(video, { fields, rate: '50', fps: [25, 50] }),
  ],
  [/^10bit$/, ({ video }) => Object.assign(video, { pixels: 'yuv420p10le' })],
  [/^4:2:2$/, ({ video }) => Object.assign(video, { pixels: 'yuv422p' })],
  [/^4:4:4$/, ({ video }) => Object.assign(video, { pixels: 'yuv444p' })],
  [/^rotated(90|180|270)$/, ({ video }, degrees) => Object.assign(video, { rotation: +degrees })],
  [/^bt709$/, ({ video }) => Object.assign(video, { matrix: 'bt709' })],
  [/^(baseline|main|high)$/, ({ video }, profile) => Object.assign(video, { profile })],
  [/^([\d.]+)k$/, ({ audio }, thousands) => Object.assign(audio, { rate: thousands * 1000 })],
  [/^(mono|stereo|5\.1)$/, ({ audio }, word) => Object.assign(audio, { channels: CHANNELS[word] })],
  [/^((audio|video)-first|late-(audio|video))$/, (media, order) => Object.assign(media, { order })],
];

/**
 * @param {string} words
 * @returns {Media}
 * @throws {Error} that names a word without a meaning
 */
function readMedia(words) {
  const list = words.split(/\s+/).filter((word) => word && word !== '+');
  const media = { words, order: '' };
  const videoCodec = list.find((word) => VIDEO_CODECS.includes(word));
  const audioCodec = list.find((word) => AUDIO_CODECS.includes(word));
  if (videoCodec) media.video = { codec: videoCodec, ...VIDEO_DEFAULTS, fps: [30] };
  if (audioCodec) media.audio = { codec: audioCodec, rate: 48_000, channels: 2 };
  if (videoCodec === 'mjpeg') media.video.pixels = 'yuvj420p';
  for (const word of list) {
    if (word === videoCodec || word === audioCodec) continue;
    const [pattern, apply] = WORDS.find(([each]) => each.test(word)) ?? [];
    if (!apply) throw new Error(`"${words}": "${word}" has no meaning`);
    const parts = word.match(pattern);
    apply(media, ...(parts.length > 1 ? parts.slice(1) : parts));
  }
  return media;
}

const VIDEO_DEFAULTS = {
  width: 320,
  height: 180,
  rate: '30',
  gop: 1,
  bFrames: false,
  variable: false,
  fields: '',
  pixels: 'yuv420p',
  rotation: 0,
  matrix: 'smpte170m',
  profile: '',
};

/** @returns {{width: number, height: number}} of the frames as they are to be shown */
function shownSize({ width, height, rotation }) {
  return rotation % 180 === 0 ? { width, height } : { width: height, height: width };
}

module.exports = { VARIABLE, readMedia, shownSize };
