'use strict';

// A clip sent over each protocol that players support. Every source plays the clip once, in real
// time, from its start or, if each client gets a stream of its own, from the client's connection.

const { once } = require('node:events');
const fs = require('node:fs');
const http = require('node:http');
const path = require('node:path');
const { setTimeout: sleep } = require('node:timers/promises');
const { buildFolder } = require('../../tools/lib/project');
const { startChild } = require('../../tools/rtmp/child');
const { freePort, startRtmpServer } = require('../../tools/rtmp/rtmp_server');

/**
 * @typedef {object} Source
 * @property {(client: number) => string} url for the client of that number, from 0
 * @property {() => Promise<void>} stop
 */

/**
 * Sends a file's streams unchanged with ffmpeg. `pace` is the sender's clock against the true one.
 */
const send = (clip, pace, ...output) =>
  startChild('ffmpeg', [
    ...['-v', 'error', '-nostdin', '-readrate', String(pace), '-i', clip, '-c', 'copy'],
    ...output,
  ]);

/** @returns {Promise<Source>} */
async function sendFile({ clip }) {
  return { url: () => clip, stop: async () => {} };
}

async function sendHttpFile({ clip }) {
  const server = await startRtmpServer();
  fs.copyFileSync(clip, path.join(server.filesFolder, 'clip.mp4'));
  return { url: () => server.fileUrl('clip.mp4'), stop: () => server.stop() };
}

async function sendRtmp({ clip, pace }) {
  const server = await startRtmpServer();
  const sender = send(clip, pace, '-f', 'flv', server.url());
  while (!(await server.status()).publishing) await sleep(20);
  return {
    url: () => server.url(),
    stop: async () => {
      await sender.stop();
      await server.stop();
    },
  };
}

async function sendHttpFlv({ clip, pace }) {
  const senders = new Set();
  const server = http.createServer((_request, response) => {
    const sender = send(clip, pace, '-f', 'flv', '-flvflags', 'no_duration_filesize', 'pipe:1');
    senders.add(sender);
    response.writeHead(200, { 'Content-Type': 'video/x-flv' });
    sender.process.stdout.pipe(response);
    response.on('close', () => sender.stop());
  });
  server.listen(0, '127.0.0.1');
  await once(server, 'listening');
  return {
    url: () => `http://127.0.0.1:${server.address().port}/live.flv`,
    stop: async () => {
      for (const sender of senders) await sender.stop();
      server.closeAllConnections();
      server.close();
    },
  };
}

async function sendHls({ clip, pace }) {
  const server = await startRtmpServer();
  const list = path.join(server.filesFolder, 'live.m3u8');
  const hls = ['-f', 'hls', '-hls_time', '1', '-hls_list_size', '6'];
  const sender = send(clip, pace, ...hls, '-hls_flags', 'delete_segments', list);
  while (!fs.existsSync(list) || fs.readFileSync(list, 'utf8').split('#EXTINF').length < 5) {
    await sleep(50);
  }
  return {
    url: () => server.fileUrl('live.m3u8'),
    stop: async () => {
      await sender.stop();
      await server.stop();
    },
  };
}

// A listener of ffmpeg's takes one caller: one for each client.
async function sendSrt({ clip, pace, clients }) {
  const ports = [];
  for (let client = 0; client < clients; client += 1) ports.push(await freePort());
  const senders = ports.map((port) =>
    send(clip, pace, '-f', 'mpegts', `srt://127.0.0.1:${port}?mode=listener&pkt_size=1316`),
  );
  await sleep(500); // there is no way to check that a UDP port listens
  return {
    url: (client) => `srt://127.0.0.1:${ports[client]}`,
    stop: async () => {
      for (const sender of senders) await sender.stop();
    },
  };
}

async function sendRtsp({ clip, pace, transport }) {
  const program = path.join(buildFolder('release'), 'bench/rtsp_file_server');
  const server = startChild(program, [clip, transport, String(pace)]);
  const [port] = await once(server.process.stdout, 'data');
  return {
    url: () => `rtsp://127.0.0.1:${Number(port)}/clip`,
    stop: async () => {
      await server.stop();
    },
  };
}

/** @type {Record<string, (options: object) => Promise<Source>>} */
const SOURCES = {
  file: sendFile,
  http: sendHttpFile,
  rtmp: sendRtmp,
  'http-flv': sendHttpFlv,
  hls: sendHls,
  srt: sendSrt,
  'rtsp-udp': (options) => sendRtsp({ ...options, transport: 'udp' }),
  'rtsp-tcp': (options) => sendRtsp({ ...options, transport: 'tcp' }),
};

module.exports = { SOURCES };
