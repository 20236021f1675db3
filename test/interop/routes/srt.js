'use strict';

const dgram = require('node:dgram');
const fs = require('node:fs');
const { startChild } = require('../../../tools/rtmp/child');
const { freePort } = require('../../../tools/rtmp/rtmp_server');
const { until } = require('../lib/network');
const { sendWithFfmpeg, sendWithGstreamer } = require('../lib/senders');

const PACKETS = 'pkt_size=1316';
const PASSPHRASE = 'correct-horse-battery'; // of characters that no URL parser changes

/** Whether the kernel has a bound UDP socket on that port. */
function isBound(port) {
  const wanted = `:${port.toString(16).toUpperCase().padStart(4, '0')}`;
  return ['/proc/net/udp', '/proc/net/udp6'].some((file) =>
    fs
      .readFileSync(file, 'utf8')
      .split('\n')
      .some((line) => line.trim().split(/\s+/)[1]?.endsWith(wanted)),
  );
}

/** One player at a time, which begins with the clip's beginning. */
const ffmpegListening =
  (parameters = '') =>
  async (media, context) => {
    const open = async () => {
      const port = await freePort();
      const url = `srt://127.0.0.1:${port}`;
      const target = `${url}?mode=listener&${PACKETS}${parameters && `&${parameters}`}`;
      const sender = await sendWithFfmpeg(media, 'mpegts', target);
      context.atEnd(() => sender.stop());
      await until('ffmpeg listening', () => isBound(port), [sender]);
      return { url: parameters ? `${url}?${parameters}` : url };
    };
    return { ...(await open()), again: open };
  };

const gstreamerListening =
  (parameters = '') =>
  async (media, context) => {
    const port = await freePort();
    const url = `srt://127.0.0.1:${port}`;
    const sink = `srtsink uri=${url}?mode=listener wait-for-connection=false`;
    const sender = await sendWithGstreamer(media, 'mpegtsmux alignment=7 name=m', sink);
    context.atEnd(() => sender.stop());
    await until('GStreamer listening', () => isBound(port), [sender]);
    return { url: `${url}${parameters}` };
  };

/** ffmpeg sends datagrams, srt-live-transmit relays them to one player at a time. */
async function viaLiveTransmit(media, context) {
  const probe = dgram.createSocket('udp4');
  await new Promise((resolve) => probe.bind(0, '127.0.0.1', resolve));
  const { port: udp } = probe.address();
  await new Promise((resolve) => probe.close(resolve));
  const port = await freePort();
  const relay = startChild('srt-live-transmit', [
    ...['-loglevel:error', `udp://127.0.0.1:${udp}`, `srt://127.0.0.1:${port}?mode=listener`],
  ]);
  relay.process.stdout.resume();
  context.atEnd(() => relay.stop());
  await until('srt-live-transmit', () => isBound(port), [relay]);
  const sender = await sendWithFfmpeg(media, 'mpegts', `udp://127.0.0.1:${udp}?${PACKETS}`);
  context.atEnd(() => sender.stop());
  const url = `srt://127.0.0.1:${port}`;
  // A player joins anywhere in a GOP, which lasts a second.
  return { url, again: async () => ({ url }), allowanceMs: 1000 };
}

module.exports = {
  SRT: {
    'ffmpeg listening': { start: ffmpegListening() },
    'ffmpeg listening, encrypted': {
      start: ffmpegListening(`passphrase=${PASSPHRASE}&pbkeylen=16`),
    },
    'gstreamer listening': { start: gstreamerListening() },
    'gstreamer listening, latency 500 ms': { start: gstreamerListening('?latency=500') },
    'gstreamer listening, stream ID': { start: gstreamerListening('?streamid=live/stream') },
    'ffmpeg, srt-live-transmit': { needs: ['srt-tools'], start: viaLiveTransmit },
  },
};
