'use strict';

const routes = require('../routes/hls');

// Protocol, route, then media; "* " marks quick rows.
const table = [
  [
    'HLS, TS',
    'ffmpeg, live',
    '* h264 + aac',
    'h264 b-frames + aac video-first',
    'h264 b-frames + aac audio-first',
    'h264',
    'aac',
    'h264 25fps + aac 44.1k mono',
    'h264 60fps b-frames + aac',
    'h264 tff + aac',
    'h264 + ac3',
    'hevc + aac',
  ],
  ['HLS, TS', 'ffmpeg, live, HTTPS', 'h264 b-frames + aac'],
  ['HLS, TS', 'ffmpeg, live, AES-128', 'h264 b-frames + aac'],
  ['HLS, TS', 'ffmpeg, live, master playlist', 'h264 b-frames + aac'],
  ['HLS, TS', 'ffmpeg, live, audio rendition', 'h264 b-frames + aac'],
  [
    'HLS, TS',
    'ffmpeg, nginx, live',
    'h264 + aac',
    'h264 b-frames + aac video-first',
    'h264 25fps + aac 44.1k',
  ],
  ['HLS, TS', 'gstreamer, live', 'h264 + aac', 'h264 b-frames + aac'],
  ['HLS, TS', 'ffmpeg, recorded', 'h264 b-frames + aac', 'h264 vfr + aac'],
  [
    'HLS, fMP4',
    'ffmpeg, live',
    '* h264 b-frames + aac',
    'h264 + aac video-first',
    'h264 + aac audio-first mono',
    'h264',
    'aac',
    'hevc b-frames + aac',
    'hevc 10bit + aac',
    'av1 + opus',
    'vp9 + opus',
    'h264 29.97fps 854x480 + aac',
  ],
  ['HLS, fMP4', 'ffmpeg, live, master playlist', 'h264 b-frames + aac'],
  ['HLS, fMP4', 'ffmpeg, live, audio rendition', 'h264 b-frames + aac'],
  ['HLS, fMP4', 'ffmpeg, recorded', 'h264 b-frames + aac', 'hevc + ac3'],
  ['HLS, fMP4', 'ffmpeg, recorded, byte ranges', 'h264 b-frames + aac'],
];

module.exports = { routes, table };
