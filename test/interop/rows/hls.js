const routes = require('../routes/hls');

// Protocol, route, then media; "* " marks quick rows.
const table = [
  ['HLS, TS', 'ffmpeg, live', '* h264 b-frames + aac'],
  ['HLS, TS', 'ffmpeg, live, HTTPS', 'h264 + aac'],
  ['HLS, TS', 'ffmpeg, live, AES-128', 'h264 + aac'],
  ['HLS, TS', 'ffmpeg, live, master playlist', 'h264 + aac'],
  ['HLS, TS', 'ffmpeg, live, audio rendition', 'h264 + aac'],
  ['HLS, TS', 'ffmpeg, nginx, live', 'h264 b-frames + aac'],
  ['HLS, TS', 'gstreamer, live', 'h264 + aac'],
  ['HLS, TS', 'ffmpeg, recorded', 'h264 + aac'],
  ['HLS, fMP4', 'ffmpeg, live', '* h264 b-frames + aac'],
  ['HLS, fMP4', 'ffmpeg, live, master playlist', 'h264 + aac'],
  ['HLS, fMP4', 'ffmpeg, live, audio rendition', 'h264 + aac'],
  ['HLS, fMP4', 'ffmpeg, recorded', 'h264 + aac'],
  ['HLS, fMP4', 'ffmpeg, recorded, byte ranges', 'h264 + aac'],
];

module.exports = { routes, table };
