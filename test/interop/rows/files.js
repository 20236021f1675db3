const routes = require('../routes/files');

// Protocol, route, then media; "* " marks quick rows.
const table = [
  ['file', 'MP4', '* h264 642x362 b-frames + aac', 'h264 rotated90 + aac', 'hevc 10bit + opus'],
  ['file', 'Matroska', 'vp9 + opus', 'av1 + vorbis'],
  ['HTTP file', 'MP4', 'h264 b-frames + aac 44.1k'],
  ['HTTP file', 'MP4, HTTPS', 'h264 + aac'],
  ['HTTP file', 'MP4, no ranges', 'h264 + aac'],
  ['HTTP file', 'FLV', 'h264 + mp3'],
];

module.exports = { routes, table };
