'use strict';

const routes = require('../routes/http_flv');

// Protocol, route, then media; "* " marks quick rows.
const table = [
  [
    'HTTP-FLV',
    'ffmpeg, node-media-server',
    'h264 + aac video-first',
    'h264 b-frames gop2s + aac video-first',
    'h264 b-frames + aac audio-first',
    'h264',
    'aac',
    'h264 29.97fps b-frames + aac 44.1k video-first',
  ],
  ['HTTP-FLV', 'gstreamer, node-media-server', 'h264 b-frames + aac video-first'],
  [
    'HTTP-FLV',
    'FFmpeg 8, node-media-server',
    'hevc + aac',
    'hevc b-frames 25fps + aac video-first',
    'av1 + opus',
    'vp9 + opus',
  ],
  [
    'HTTP-FLV',
    'ffmpeg, web server',
    '* h264 b-frames + aac video-first',
    '* h264 + aac audio-first',
    'h264 b-frames + aac late-audio',
    'h264 + aac late-video',
    'h264 b-frames',
    'mp3',
    'h264 50fps b-frames + aac video-first',
    'h264 bff + aac',
    'h264 180x320 + aac mono',
    'h264 4:4:4 b-frames + aac',
  ],
  ['HTTP-FLV', 'gstreamer, web server', 'h264 + aac', 'h264 b-frames + aac video-first'],
  ['HTTP-FLV', 'ffmpeg listening', 'h264 + aac', 'h264 b-frames + aac video-first'],
  ['HTTPS-FLV', 'ffmpeg, node-media-server', 'h264 + aac', 'h264 b-frames gop2s + aac video-first'],
  ['HTTPS-FLV', 'ffmpeg, web server', 'h264 + aac', 'h264 b-frames + aac video-first'],
  [
    'HTTP live',
    'ffmpeg, web server, MPEG-TS',
    'h264 + aac video-first',
    'h264 b-frames + aac audio-first',
    'h264 tff + mp2',
    'hevc b-frames + aac',
    'aac',
    'mpeg2 25fps + mp2',
  ],
  ['HTTP live', 'ffmpeg, web server, WebM', 'vp8 + vorbis', 'vp9 + opus', 'opus'],
  ['HTTP live', 'ffmpeg, web server, MP3', 'mp3', 'mp3 44.1k mono'],
];

module.exports = { routes, table };
