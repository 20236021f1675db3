'use strict';

const routes = require('../routes/rtsp');

// Protocol, route, then media; "* " marks quick rows.
const table = [
  [
    'RTSP, UDP',
    'gstreamer',
    '* h264 + aac',
    'h264 b-frames + aac video-first',
    'h264',
    'aac',
    'h264 25fps + aac 44.1k mono',
    'h264 60fps b-frames + aac',
    'h264 tff + aac',
    'hevc b-frames + aac',
    'vp8 + opus',
    'vp9 + opus',
    'h264 + mp3',
    'h264 + pcmu 8k mono',
    'mjpeg 320x176',
  ],
  ['RTSP, UDP', 'vlc', 'h264 + aac', 'h264 b-frames + aac video-first', 'aac 44.1k', 'h264 + mp3'],
  [
    'RTSP, TCP',
    'gstreamer',
    '* h264 + aac',
    'h264 b-frames + aac',
    'hevc + opus',
    'h264',
    'opus mono',
  ],
];

module.exports = { routes, table };
