const routes = require('../routes/http_flv');

// Protocol, route, then media; "* " marks quick rows.
const table = [
  ['HTTP-FLV', 'ffmpeg, node-media-server', 'h264 b-frames gop2s + aac video-first', 'h264', 'aac'],
  [
    'HTTP-FLV',
    'ffmpeg, web server',
    '* h264 b-frames + aac video-first',
    '* h264 + aac audio-first',
  ],
  ['HTTP-FLV', 'gstreamer, web server', 'h264 + aac'],
  ['HTTP-FLV', 'FFmpeg 8, node-media-server', 'hevc + aac', 'av1 + opus'],
  ['HTTP-FLV', 'ffmpeg listening', 'h264 + aac'],
  ['HTTPS-FLV', 'ffmpeg, node-media-server', 'h264 + aac'],
  ['HTTPS-FLV', 'ffmpeg, web server', 'h264 + aac'],
  ['HTTP live', 'ffmpeg, web server, MPEG-TS', 'h264 b-frames + aac'],
  ['HTTP live', 'ffmpeg, web server, MP3', 'mp3'],
  ['HTTP live', 'ffmpeg, web server, WebM', 'vp8 + opus'],
];

module.exports = { routes, table };
