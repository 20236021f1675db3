'use strict';

// Creates the files of the senders. They are kept in a temporary folder between runs, under names
// made of their parameters.

const crypto = require('node:crypto');
const fs = require('node:fs');
const os = require('node:os');
const path = require('node:path');
const { runChild } = require('../../../tools/rtmp/child');
const { VARIABLE } = require('./media');
const { videoPattern } = require('./pattern');

const SECONDS = 30;
const FOLDER = path.join(os.tmpdir(), `interop-clips-${os.userInfo().username}`);
const DEADLINE = { deadlineSeconds: 300 };

const VIDEO_ENCODERS = {
  h264: ['libx264', '-preset', 'veryfast', '-sc_threshold', '0'],
  hevc: [
    'libx265',
    '-preset',
    'ultrafast',
    '-tag:v',
    'hvc1',
    '-x265-params',
    'log-level=none:scenecut=0',
  ],
  vp8: ['libvpx', '-deadline', 'realtime', '-cpu-used', '8', '-b:v', '500k'],
  vp9: ['libvpx-vp9', '-deadline', 'realtime', '-cpu-used', '8', '-b:v', '500k'],
  av1: ['libsvtav1', '-preset', '12', '-crf', '40'],
  mpeg2: ['mpeg2video', '-b:v', '1500k'],
  mpeg4: ['mpeg4', '-q:v', '4'],
  // RTP omits the standard Huffman tables.
  mjpeg: ['mjpeg', '-q:v', '5', '-huffman', 'default'],
  theora: ['libtheora', '-q:v', '7'],
};

const AUDIO_ENCODERS = {
  aac: ['aac', '-b:a', '128k'],
  mp2: ['mp2', '-b:a', '128k'],
  mp3: ['libmp3lame', '-b:a', '128k'],
  opus: ['libopus', '-b:a', '96k'],
  ac3: ['ac3', '-b:a', '192k'],
  eac3: ['eac3', '-b:a', '192k'],
  vorbis: ['libvorbis', '-q:a', '4'],
  flac: ['flac'],
  alac: ['alac'],
  pcm: ['pcm_s16le'],
  pcmu: ['pcm_mulaw'],
};

// MP4 holds these; everything else goes into Matroska.
const IN_MP4 = ['h264', 'hevc', 'vp9', 'av1', 'mpeg4', 'aac', 'mp3', 'opus', 'ac3', 'eac3', 'alac'];

const LAYOUTS = { 1: 'mono', 2: 'stereo', 6: '5.1' };

const frameRate = ({ rate, fields }) =>
  rate.split('/').reduce((over, under) => over / under) / (fields ? 2 : 1);

function videoOptions(video) {
  const [encoder, ...options] = VIDEO_ENCODERS[video.codec];
  const list = [
    '-c:v',
    encoder,
    ...options,
    '-g',
    String(Math.round(frameRate(video) * video.gop)),
  ];
  if (['h264', 'mpeg2', 'mpeg4'].includes(video.codec)) list.push('-bf', video.bFrames ? '2' : '0');
  if (video.codec === 'hevc')
    list[list.indexOf('-x265-params') + 1] += `:bframes=${video.bFrames ? 3 : 0}`;
  if (video.profile) list.push('-profile:v', video.profile);
  if (video.fields) list.push('-flags', '+ildct+ilme', '-top', video.fields === 'tff' ? '1' : '0');
  if (['h264', 'hevc', 'av1', 'mpeg2', 'vp9'].includes(video.codec)) {
    const transfer = video.matrix === 'bt709' ? 'bt709' : 'smpte170m';
    list.push('-colorspace', video.matrix, '-color_primaries', transfer, '-color_trc', transfer);
    list.push('-color_range', 'tv');
  }
  // Without repeated frames before a late beginning or between irregular ones.
  return [...list, '-fps_mode', 'passthrough', '-pix_fmt', video.pixels];
}

function videoFilter(video) {
  const parts = [videoPattern(video)];
  if (video.variable) parts.push(VARIABLE.filter);
  if (video.fields) {
    parts.push(`tinterlace=${video.fields === 'tff' ? 'interleave_top' : 'interleave_bottom'}`);
  }
  return parts.join(',');
}

/** Left 440 Hz, right 660 Hz, other channels silent; one channel has 440 Hz. */
function audioSource({ rate, channels }) {
  const tone = (hertz) => `0.25*sin(2*PI*${hertz}*t)`;
  const all = [tone(440), tone(660), '0', '0', '0', '0'].slice(0, channels);
  return `aevalsrc=exprs=${all.join('|')}:s=${rate}:c=${LAYOUTS[channels]}`;
}

/**
 * When video and audio begin, in seconds. Frames that are reordered have decoding times before
 * their presentation; AAC begins with about 0.02 s of silence.
 */
function beginnings({ video, order }) {
  const reordering = video?.bFrames ? 2 / frameRate(video) : 0;
  return {
    '': { video: 0, audio: 0 },
    'video-first': { video: reordering, audio: 0.031 },
    'audio-first': { video: reordering + 0.05, audio: 0 },
    'late-audio': { video: 0, audio: 1 },
    'late-video': { video: 1, audio: 0 },
  }[order];
}

/** @param {import('./media').Media} media @param {string} file */
async function encode(media, file) {
  const { video, audio, order } = media;
  const begins = beginnings(media);
  const args = ['-v', 'error', '-nostdin'];
  const kinds = (order === 'audio-first' ? ['audio', 'video'] : ['video', 'audio']).filter(
    (kind) => media[kind],
  );
  for (const kind of kinds) {
    if (begins[kind]) args.push('-itsoffset', String(begins[kind]));
    args.push('-f', 'lavfi', '-i', kind === 'video' ? videoFilter(video) : audioSource(audio));
  }
  for (const index of kinds.keys()) args.push('-map', String(index));
  if (video) args.push(...videoOptions(video));
  if (audio) args.push('-c:a', ...AUDIO_ENCODERS[audio.codec]);
  await runChild('ffmpeg', [...args, '-strict', '-2', '-t', String(SECONDS), '-y', file], DEADLINE);
}

/** Copies a clip into another container. @param {string[]} options ffmpeg's, for the output */
const remux = (from, file, options) =>
  runChild(
    'ffmpeg',
    [
      '-v',
      'error',
      '-nostdin',
      '-i',
      from,
      '-map',
      '0',
      '-c',
      'copy',
      '-strict',
      '-2',
      ...options,
      '-y',
      file,
    ],
    DEADLINE,
  );

const making = new Map();

/** A cached file: `make(file)` writes it, unless an earlier run has. @returns {Promise<string>} */
function kept(name, make) {
  if (!making.has(name)) {
    making.set(
      name,
      (async () => {
        const file = path.join(FOLDER, name);
        if (fs.existsSync(file)) return file;
        fs.mkdirSync(FOLDER, { recursive: true });
        // Another run may create the same file; the last one replaces it by equal content.
        const unfinished = path.join(FOLDER, `${process.pid}-${name}`);
        await make(unfinished);
        fs.renameSync(unfinished, file);
        return file;
      })(),
    );
  }
  return making.get(name);
}

const keyOf = (...parameters) =>
  crypto.createHash('sha256').update(JSON.stringify(parameters)).digest('hex').slice(0, 12);

/**
 * @param {import('./media').Media} media
 * @returns {Promise<string>} an MP4 or Matroska file, 30 s long
 */
function clipOf(media) {
  const codecs = [media.video?.codec, media.audio?.codec].filter(Boolean);
  const ending = codecs.every((codec) => IN_MP4.includes(codec)) ? 'mp4' : 'mkv';
  const args = { ...media, words: undefined };
  const { rotation } = media.video ?? {};
  const name = `${codecs.join('-')}-${keyOf(args, VIDEO_ENCODERS, AUDIO_ENCODERS, videoPattern.toString(), 6)}`;
  if (!rotation) return kept(`${name}.${ending}`, (file) => encode(media, file));
  return kept(`${name}.${ending}`, async (file) => {
    const upright = await clipOf({ ...media, video: { ...media.video, rotation: 0 } });
    await remux(upright, file, ['-metadata:s:v:0', `rotate=${360 - rotation}`]);
  });
}

/**
 * @param {import('./media').Media} media
 * @param {string} ending file name extension; selects the container
 * @param {string[]} [options] ffmpeg's, for the muxer
 * @returns {Promise<string>} the same clip in that container
 */
async function clipIn(media, ending, options = []) {
  const clip = await clipOf(media);
  if (clip.endsWith(`.${ending}`) && options.length === 0) return clip;
  const base = path.basename(clip).replace(/\.\w+$/, '');
  return kept(`${base}-${keyOf(options)}.${ending}`, (file) => remux(clip, file, options));
}

module.exports = { SECONDS, clipIn, clipOf };
