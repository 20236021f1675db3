const routes = require('../routes/srt');

// Protocol, route, then media; "* " marks quick rows.
const table = [
  ['SRT', 'ffmpeg listening', '* h264 b-frames + aac', 'h264 tff + mp2', 'hevc + aac'],
  ['SRT', 'ffmpeg listening, encrypted', 'h264 + aac'],
  ['SRT', 'gstreamer listening', 'h264 + aac'],
  ['SRT', 'gstreamer listening, latency 500 ms', 'h264 + aac'],
  ['SRT', 'gstreamer listening, stream ID', 'h264 + aac'],
  ['SRT', 'ffmpeg, srt-live-transmit', 'h264 + aac'],
];

module.exports = { routes, table };
