const routes = require('../routes/rtsp');

// Protocol, route, then media; "* " marks quick rows.
const table = [
  ['RTSP, UDP', 'gstreamer', '* h264 + aac', 'h264 b-frames + aac', 'hevc + opus'],
  ['RTSP, UDP', 'vlc', 'h264 + aac'],
  ['RTSP, TCP', 'gstreamer', '* h264 + aac'],
  ['RTSP, TCP', 'vlc', 'h264 + aac'],
];

module.exports = { routes, table };
