'use strict';

const routes = require('../routes/srt');

// Protocol, route, then media; "* " marks quick rows.
const table = [
  [
    'SRT',
    'ffmpeg listening',
    '* h264 b-frames + aac video-first',
    'h264 + aac audio-first',
    'h264 + aac late-audio',
    '* h264',
    'aac',
    'h264 25fps + aac 44.1k mono',
    'h264 vfr + aac',
    '* h264 tff + mp2',
    'h264 180x320 b-frames + aac',
    'h264 10bit + aac',
    'h264 + mp3',
    'h264 + ac3',
    'h264 + opus',
    'hevc + aac',
    'hevc 10bit b-frames + aac',
    'mpeg2 tff 640x360 + mp2',
  ],
  ['SRT', 'ffmpeg listening, encrypted', 'h264 b-frames + aac'],
  [
    'SRT',
    'gstreamer listening',
    'h264 + aac',
    'h264 b-frames + aac video-first',
    'hevc + aac',
    'h264',
    'aac',
  ],
  ['SRT', 'gstreamer listening, latency 500 ms', 'h264 + aac'],
  ['SRT', 'gstreamer listening, stream ID', 'h264 + aac'],
  [
    'SRT',
    'ffmpeg, srt-live-transmit',
    'h264 + aac',
    'h264 b-frames + aac video-first',
    'hevc + ac3',
    'aac',
  ],
];

module.exports = { routes, table };
