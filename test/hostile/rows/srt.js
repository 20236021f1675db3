'use strict';

// SRT servers.

const crypto = require('node:crypto');
const dgram = require('node:dgram');
const { EventEmitter, once } = require('node:events');
const { startChild } = require('../../../tools/rtmp/child');
const { freePort } = require('../../../tools/rtmp/rtmp_server');

const CODE = { timeout: -3003, rejected: -3202, notFound: -3201, undecodable: -3203 };
// SRT's own time-out.
const timeout = { play: { code: CODE.timeout, withinMs: 3500 } };

// Cases in which SRT itself would wait forever.
const watched = { play: { code: CODE.timeout, withinMs: 10_000 } };

/** @param {(datagram: Buffer, reply: (bytes: Buffer) => void) => void} script */
const udpServer = (script) => async () => {
  const server = new EventEmitter();
  const socket = dgram.createSocket('udp4');
  socket.on('message', (datagram, { port, address }) => {
    server.emit('attack');
    script(datagram, (bytes) => socket.send(bytes, port, address, () => {}));
  });
  socket.bind(0, '127.0.0.1');
  await once(socket, 'listening');
  return Object.assign(server, {
    url: `srt://127.0.0.1:${socket.address().port}`,
    close: async () => socket.close(),
  });
};

/**
 * A program that listens, and is restarted whenever it has ended.
 *
 * @param {(port: number) => string[]} commandOf
 * @param {{livesMs?: number}} [options] it is killed after that time
 */
const program =
  (commandOf, { livesMs } = {}) =>
  async () => {
    const server = new EventEmitter();
    const port = await freePort();
    const [command, ...args] = commandOf(port);
    let child;
    let closed = false;
    (async () => {
      while (!closed) {
        child = startChild(command, args);
        const end = livesMs && setTimeout(() => child.process.kill('SIGKILL'), livesMs);
        await child.ended;
        clearTimeout(end);
      }
    })();
    const timer = setInterval(() => server.emit('attack'), 300);
    return Object.assign(server, {
      url: `srt://127.0.0.1:${port}`,
      async close() {
        closed = true;
        clearInterval(timer);
        await child.stop();
      },
    });
  };

const gstreamer = (source) => (port) => [
  ...['gst-launch-1.0', '-q', ...source, '!'],
  ...['srtsink', `uri=srt://127.0.0.1:${port}?mode=listener`, 'wait-for-connection=true'],
];

module.exports = [
  { name: 'silence', serve: udpServer(() => {}), ...timeout, quick: true },
  {
    name: 'random bytes instead of a handshake',
    serve: udpServer((_datagram, reply) => reply(crypto.randomBytes(200))),
    ...timeout,
    quick: true,
  },
  {
    name: 'sends back what comes',
    serve: udpServer((datagram, reply) => reply(datagram)),
    ...watched,
  },
  {
    name: 'handshakes with random fields',
    serve: udpServer((datagram, reply) => {
      const answer = Buffer.from(datagram);
      // The header stays, and the socket that it goes to.
      crypto.randomFillSync(answer, Math.min(16, answer.length));
      for (let count = 0; count < 20; count += 1) reply(answer);
    }),
    play: { code: [CODE.timeout, CODE.rejected], withinMs: 3500 },
  },
  {
    name: 'a handshake that rejects',
    serve: udpServer((datagram, reply) => {
      const answer = Buffer.from(datagram);
      // The reply goes to the requesting socket; the type is the reason of the refusal.
      datagram.copy(answer, 12, 40, 44);
      answer.writeUInt32BE(1003, 36);
      reply(answer);
    }),
    play: { code: [CODE.timeout, CODE.rejected], withinMs: 3500 },
    quick: true,
  },
  {
    name: 'a thousand datagrams for each that comes',
    serve: udpServer((datagram, reply) => {
      for (let count = 0; count < 1000; count += 1) reply(datagram);
    }),
    ...watched,
  },
  {
    name: 'accepts, then silence',
    serve: program(gstreamer(['appsrc'])),
    ...watched,
  },
  {
    name: 'accepts, then dies',
    serve: program(gstreamer(['appsrc']), { livesMs: 700 }),
    play: { code: [CODE.rejected, CODE.timeout, CODE.notFound], withinMs: 11_000 },
  },
  {
    name: 'accepts, then random bytes',
    serve: program(gstreamer(['filesrc', 'location=/dev/urandom', 'blocksize=1316'])),
    // The sender may give up, since it cannot send this much.
    play: { code: [CODE.undecodable, CODE.notFound, CODE.rejected], withinMs: 10_000 },
  },
  {
    name: 'demands a passphrase',
    serve: program((port) => [
      ...['gst-launch-1.0', '-q', 'appsrc', '!', 'srtsink', 'passphrase=0123456789abc'],
      `uri=srt://127.0.0.1:${port}?mode=listener`,
    ]),
    ...watched,
  },
];
