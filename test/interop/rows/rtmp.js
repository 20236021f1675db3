const routes = require('../routes/rtmp');

// protocol, route, then media; "* " marks quick rows.
const table = [
  [
    'rtmp',
    'ffmpeg, nginx',
    '* h264 + aac video-first',
    '* h264 b-frames gop2s + aac video-first',
    'h264 b-frames + aac audio-first',
    'h264 + aac audio-first 44.1k mono',
  ],
  ['rtmp', 'gstreamer, nginx', 'h264 b-frames + aac'],
  [
    'rtmp',
    'ffmpeg, node-media-server',
    'h264 b-frames gop2s + aac video-first',
    'h264 + aac',
    'h264',
    'aac',
  ],
  ['rtmp', 'FFmpeg 8, node-media-server', 'hevc + aac', 'av1 + opus'],
  ['rtmp', 'ffmpeg listening', 'h264 + aac', 'h264 b-frames + aac'],
  ['rtmps', 'ffmpeg, nginx behind TLS', 'h264 + aac'],
  ['rtmps', 'ffmpeg, node-media-server', 'h264 + aac'],
];

module.exports = { routes, table };
