'use strict';

const { startChild } = require('../../../tools/rtmp/child');
const { freePort, startRtmpServer } = require('../../../tools/rtmp/rtmp_server');
const { clipOf } = require('../lib/clips');
const { isListening, listening, tunnelTo, until } = require('../lib/network');
const { startNodeMediaServer } = require('../lib/node_media_server');
const { sendWithFfmpeg, sendWithFfmpeg8, sendWithGstreamer } = require('../lib/senders');

const NAME = 'stream';

const senders = {
  ffmpeg: (media, url) => sendWithFfmpeg(media, 'flv', url),
  ffmpeg8: (media, url) => sendWithFfmpeg8(media, 'flv', url),
  gstreamer: (media, url) =>
    sendWithGstreamer(media, 'flvmux streamable=true name=m', `rtmp2sink location=${url}`),
};

/** A sender publishes to nginx. `connect` gives the address to play. */
const viaNginx = (send, connect) => async (media, context) => {
  const server = await startRtmpServer();
  context.atEnd(() => server.stop());
  const sender = await send(media, server.url(NAME));
  context.atEnd(() => sender.stop());
  const arrived = async () => (await server.status(NAME)).bytesIn > 2000;
  await until('publishing to nginx', arrived, [sender]);
  return connect(server, context);
};

const viaNodeMediaServer = (send, scheme) => async (media, context) => {
  const server = await startNodeMediaServer(context.folder, context.identityFiles);
  context.atEnd(() => server.stop());
  const sender = await send(media, server.rtmp(NAME));
  context.atEnd(() => sender.stop());
  await server.published(NAME, sender);
  return { url: server[scheme](NAME) };
};

/** ffmpeg waits for one player at a time, and begins to send when that has come. */
async function ffmpegListening(media, context) {
  const open = async () => {
    const port = await freePort();
    const url = `rtmp://127.0.0.1:${port}/live/${NAME}`;
    const clip = ['-i', await clipOf(media), '-map', '0', '-c', 'copy', '-strict', '-2'];
    const listen = ['-f', 'flv', '-listen', '1', url];
    const sender = startChild('ffmpeg', [
      ...['-v', 'error', '-nostdin', '-re', '-stream_loop', '-1', ...clip, ...listen],
    ]);
    context.atEnd(() => sender.stop());
    await until('ffmpeg listening', () => isListening(port), [sender]);
    return { url };
  };
  return { ...(await open()), again: open };
}

const plain = (server) => ({ url: server.url(NAME) });

async function encrypted(server, context) {
  const tunnel = tunnelTo(server.rtmpPort, context.identity);
  context.atEnd(() => tunnel.close());
  return { url: `rtmps://127.0.0.1:${await listening(tunnel)}/live/${NAME}` };
}

module.exports = {
  rtmp: {
    'ffmpeg, nginx': { start: viaNginx(senders.ffmpeg, plain) },
    'gstreamer, nginx': { start: viaNginx(senders.gstreamer, plain) },
    'ffmpeg, node-media-server': {
      needs: ['node-media-server'],
      start: viaNodeMediaServer(senders.ffmpeg, 'rtmp'),
    },
    'gstreamer, node-media-server': {
      needs: ['node-media-server'],
      start: viaNodeMediaServer(senders.gstreamer, 'rtmp'),
    },
    'FFmpeg 8, node-media-server': {
      needs: ['node-media-server', 'node-av'],
      start: viaNodeMediaServer(senders.ffmpeg8, 'rtmp'),
    },
    'FFmpeg 8, nginx': { needs: ['node-av'], start: viaNginx(senders.ffmpeg8, plain) },
    'ffmpeg listening': { start: ffmpegListening },
  },
  rtmps: {
    'ffmpeg, nginx behind TLS': { start: viaNginx(senders.ffmpeg, encrypted) },
    'ffmpeg, node-media-server': {
      needs: ['node-media-server'],
      start: viaNodeMediaServer(senders.ffmpeg, 'rtmps'),
    },
  },
  senders,
  viaNodeMediaServer,
};
