'use strict';

const { freePort } = require('../../../tools/rtmp/rtmp_server');
const { isListening, until } = require('../lib/network');
const { sendWithFfmpeg, sendWithGstreamer } = require('../lib/senders');
const { startWebServer, streaming } = require('../lib/web_server');
const { senders, viaNodeMediaServer } = require('./rtmp');

const TYPES = { flv: 'video/x-flv', mpegts: 'video/mp2t', webm: 'video/webm', mp3: 'audio/mpeg' };

/** A web server that starts ffmpeg for each client. */
const ffmpegBehindWebServer =
  (format, encrypted = false) =>
  async (media, context) => {
    const send = () => sendWithFfmpeg(media, format, 'pipe:1');
    const answer = streaming(context, TYPES[format], send);
    const address = await startWebServer(context, answer, encrypted);
    return { url: `${address}/live/stream.${format === 'mpegts' ? 'ts' : format}` };
  };

async function gstreamerBehindWebServer(media, context) {
  const muxer = 'flvmux streamable=true name=m';
  const send = () => sendWithGstreamer(media, muxer, 'fdsink fd=1', { output: true });
  return { url: `${await startWebServer(context, streaming(context, TYPES.flv, send))}/live.flv` };
}

/** ffmpeg as a web server: one client at a time. */
async function ffmpegListening(media, context) {
  const open = async () => {
    const port = await freePort();
    const url = `http://127.0.0.1:${port}/stream.flv`;
    const sender = await sendWithFfmpeg(media, 'flv', url, ['-listen', '1']);
    context.atEnd(() => sender.stop());
    await until('ffmpeg listening', () => isListening(port), [sender]);
    return { url };
  };
  return { ...(await open()), again: open };
}

const needsServer = (start) => ({ needs: ['node-media-server'], start });

module.exports = {
  'HTTP-FLV': {
    'ffmpeg, node-media-server': needsServer(viaNodeMediaServer(senders.ffmpeg, 'http')),
    'gstreamer, node-media-server': needsServer(viaNodeMediaServer(senders.gstreamer, 'http')),
    'FFmpeg 8, node-media-server': {
      needs: ['node-media-server', 'node-av'],
      start: viaNodeMediaServer(senders.ffmpeg8, 'http'),
    },
    'ffmpeg, web server': { start: ffmpegBehindWebServer('flv') },
    'gstreamer, web server': { start: gstreamerBehindWebServer },
    'ffmpeg listening': { start: ffmpegListening },
  },
  'HTTPS-FLV': {
    'ffmpeg, node-media-server': needsServer(viaNodeMediaServer(senders.ffmpeg, 'https')),
    'ffmpeg, web server': { start: ffmpegBehindWebServer('flv', true) },
  },
  'HTTP live': {
    'ffmpeg, web server, MPEG-TS': { start: ffmpegBehindWebServer('mpegts') },
    'ffmpeg, web server, WebM': { start: ffmpegBehindWebServer('webm') },
    'ffmpeg, web server, MP3': { start: ffmpegBehindWebServer('mp3') },
  },
};
