'use strict';

// Live streams whose senders and servers can be disturbed.

const { once } = require('node:events');
const http = require('node:http');
const path = require('node:path');
const { setTimeout: sleep } = require('node:timers/promises');
const { startChild } = require('../../../tools/rtmp/child');
const { freePort, startRtmpServer } = require('../../../tools/rtmp/rtmp_server');
const { buildDirectory } = require('../../js/support/build_directory');

/**
 * @typedef {object} LiveSource
 * @property {string} url
 * @property {() => void} freeze the sender stops with its connections open
 * @property {() => void} thaw
 * @property {(clip: string) => Promise<void>} change the sender ends, another one sends that clip
 * @property {() => Promise<void>} restart the server dies and restarts at the same address
 * @property {() => Promise<void>} stop
 */

/** A sender that is started again whenever it ends, as an encoder's operator would. */
function keepSending(startSender) {
  let sender;
  let stopped = false;
  const start = () => {
    if (stopped) return;
    sender = startSender();
    sender.ended.then(() => sleep(200)).then(start);
  };
  start();
  return {
    freeze: () => sender.process.kill('SIGSTOP'),
    thaw: () => sender.process.kill('SIGCONT'),
    /** Ends it at once; it comes back by itself. */
    async kill() {
      sender.process.kill('SIGKILL');
      await sender.ended;
    },
    async stop() {
      stopped = true;
      sender.process.kill('SIGCONT');
      await sender.stop();
    },
  };
}

const send = (clip, ...output) =>
  startChild('ffmpeg', [
    ...['-v', 'error', '-nostdin', '-re', '-i', clip, '-c', 'copy'],
    ...output,
  ]);

/** @returns {Promise<LiveSource>} */
async function startRtmp(clip) {
  let current = clip;
  let server = await startRtmpServer();
  const url = server.url();
  const sender = keepSending(() => send(current, '-f', 'flv', url));
  while (!(await server.status()).publishing) await sleep(20);
  return {
    ...{ url, freeze: sender.freeze, thaw: sender.thaw },
    async change(next) {
      current = next;
      await sender.kill();
    },
    async restart() {
      await server.kill();
      server = await startRtmpServer({ rtmpPort: server.rtmpPort });
    },
    async stop() {
      await sender.stop();
      await server.stop();
    },
  };
}

/** @returns {Promise<LiveSource>} */
async function startHttpFlv(clip) {
  let current = clip;
  let sender;
  const open = async (port) => {
    const server = http.createServer((_request, response) => {
      const own = send(current, '-f', 'flv', '-flvflags', 'no_duration_filesize', 'pipe:1');
      sender = own;
      response.writeHead(200, { 'Content-Type': 'video/x-flv' });
      own.process.stdout.pipe(response);
      response.on('close', () => own.process.kill('SIGKILL'));
    });
    server.listen(port, '127.0.0.1');
    await once(server, 'listening');
    return server;
  };
  let server = await open(0);
  const { port } = server.address();
  const close = async () => {
    server.closeAllConnections();
    await new Promise((resolve) => server.close(resolve));
  };
  return {
    url: `http://127.0.0.1:${port}/live.flv`,
    freeze: () => sender.process.kill('SIGSTOP'),
    thaw: () => sender.process.kill('SIGCONT'),
    async change(next) {
      current = next;
      sender.process.kill('SIGKILL');
    },
    async restart() {
      await close();
      server = await open(port);
    },
    stop: close,
  };
}

/** The sender is the server, so every disturbance affects both. @returns {Promise<LiveSource>} */
async function startSelfServing(clip, url, startSender) {
  let current = clip;
  const sender = keepSending(() => startSender(current));
  await sleep(500); // there is no way to check that a UDP port listens
  return {
    ...{ url, freeze: sender.freeze, thaw: sender.thaw, restart: sender.kill, stop: sender.stop },
    async change(next) {
      current = next;
      await sender.kill();
    },
  };
}

async function startSrt(clip) {
  const url = `srt://127.0.0.1:${await freePort()}`;
  const target = `${url}?mode=listener&pkt_size=1316`;
  return startSelfServing(clip, url, (current) => send(current, '-f', 'mpegts', target));
}

async function startRtsp(clip, transport) {
  const port = await freePort();
  const program = path.join(buildDirectory, 'bench/rtsp_file_server');
  return startSelfServing(clip, `rtsp://127.0.0.1:${port}/clip`, (current) =>
    startChild(program, [current, transport, '1', String(port)]),
  );
}

const LIVE_SOURCES = {
  rtmp: startRtmp,
  'http-flv': startHttpFlv,
  srt: startSrt,
  'rtsp-udp': (clip) => startRtsp(clip, 'udp'),
  'rtsp-tcp': (clip) => startRtsp(clip, 'tcp'),
};

module.exports = { LIVE_SOURCES };
