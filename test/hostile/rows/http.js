'use strict';

// HTTP servers, for players. docs/security.md documents the limits, docs/sdk.md the codes.

const crypto = require('node:crypto');
const { setTimeout: sleep } = require('node:timers/promises');
const zlib = require('node:zlib');
const { answer, chunk, head, httpServer, response } = require('../support/http');

const TIMEOUT = -3003;
const NOT_FOUND = -3201;
const REJECTED = -3202;
const UNDECODABLE = -3203;
const TEN_SECONDS = 10_000;

const KIB_64 = Buffer.alloc(65_536, 'a');
const FLV_HEADER = Buffer.from('464c5601050000000900000000', 'hex');

/** Attacks as soon as the request has arrived. */
const afterRequest = (script) =>
  httpServer(async (peer, target) => {
    peer.attack();
    await script(peer, target);
  });

const answers = (bytes) => afterRequest((peer) => answer(peer, bytes));

/** Repeats the same bytes, slowly. */
async function drip(peer, piece) {
  for (;;) {
    await peer.write(piece);
    await sleep(100);
  }
}

/** A tag of that size, announced and sent. */
const id3 = (size) => {
  const bits = [21, 14, 7, 0].map((shift) => (size >>> shift) & 127);
  return Buffer.from([...Buffer.from('ID3'), 4, 0, 0, ...bits]);
};

const ape = (size) => {
  const bytes = Buffer.alloc(32);
  bytes.write('APETAGEX');
  bytes.writeUInt32LE(2000, 8);
  bytes.writeUInt32LE(size, 12);
  return bytes;
};

const floodBehind = (...parts) =>
  afterRequest(async (peer) => {
    for (const part of parts) await peer.write(part);
    await peer.flood(KIB_64, 50_000_000);
  });

const undecodable = { code: UNDECODABLE };
const rejected = (msg) => ({ code: REJECTED, msg });
const inTime = (...codes) => ({ code: codes, withinMs: TEN_SECONDS });

/** @type {import('../support/case').Row[]} */
module.exports = [
  {
    name: 'silence',
    serve: afterRequest((peer) => peer.hold()),
    play: inTime(TIMEOUT),
  },
  {
    name: 'closes',
    serve: afterRequest(async (peer) => peer.end()),
    play: { code: REJECTED },
  },
  {
    name: 'resets',
    serve: afterRequest(async (peer) => peer.reset()),
    play: { code: REJECTED },
  },
  {
    name: 'a status line without end',
    quick: true,
    serve: floodBehind(Buffer.from('HTTP/1.1 200 ')),
    play: rejected(/headers.*64 KiB/),
  },
  {
    name: 'a status line without end, slowly',
    serve: afterRequest((peer) => drip(peer, 'a')),
    play: inTime(TIMEOUT),
  },
  {
    name: 'no HTTP',
    serve: answers(crypto.randomBytes(100_000)),
    play: { code: REJECTED },
  },
  {
    name: 'headers without end',
    quick: true,
    serve: afterRequest(async (peer) => {
      await peer.write('HTTP/1.1 200 OK\r\n');
      await peer.flood(Buffer.from('X-Name: value\r\n'.repeat(1000)), 50_000_000);
    }),
    play: rejected(/headers.*64 KiB/),
  },
  {
    name: 'headers without end, slowly',
    serve: afterRequest(async (peer) => {
      await peer.write('HTTP/1.1 200 OK\r\n');
      await drip(peer, 'X-Name: value\r\n');
    }),
    play: inTime(TIMEOUT),
  },
  {
    name: 'interim responses without end',
    serve: afterRequest((peer) => peer.flood(Buffer.concat(Array(1000).fill(head(100))), 50e6)),
    play: rejected(/headers.*64 KiB/),
  },
  {
    name: 'a body byte by byte',
    serve: afterRequest(async (peer) => {
      await peer.write(head(200));
      for (const byte of FLV_HEADER) {
        await peer.write(Buffer.from([byte]));
        await sleep(100);
      }
      await drip(peer, Buffer.from([0]));
    }),
    play: inTime(TIMEOUT, NOT_FOUND),
  },
  {
    name: 'random bytes without end',
    serve: afterRequest(async (peer) => {
      await peer.write(head(200));
      await peer.flood(crypto.randomBytes(65_536), 50_000_000);
    }),
    play: undecodable,
  },
  {
    name: 'chunks without end',
    serve: afterRequest(async (peer) => {
      await peer.write(head(200, { 'Transfer-Encoding': 'chunked' }));
      await peer.flood(chunk(Buffer.alloc(65_536)), 50_000_000);
    }),
    play: undecodable,
  },
  {
    name: 'a chunk without end of its size',
    serve: floodBehind(head(200, { 'Transfer-Encoding': 'chunked' })),
    play: rejected(/headers.*64 KiB/),
  },
  {
    name: 'a chunk of 2^64 bytes',
    serve: answers(
      Buffer.concat([
        head(200, { 'Transfer-Encoding': 'chunked' }),
        Buffer.from('10000000000000000\r\n'),
      ]),
    ),
    play: { code: REJECTED },
  },
  {
    name: 'a redirect to itself',
    quick: true,
    serve: answers(head(302, { Location: '/stream', 'Content-Length': 0 })),
    play: rejected(/10 redirects/),
  },
  ...['file:///etc/passwd', 'fd://0', 'udp://127.0.0.1:5000', 'srt://:5000?mode=listener'].map(
    (target) => ({
      name: `a redirect to ${target}`,
      quick: target.startsWith('fd'),
      serve: answers(head(302, { Location: target, 'Content-Length': 0 })),
      play: rejected(/scheme/),
    }),
  ),
  {
    name: 'a gzip bomb',
    quick: true,
    serve: answers(
      response(zlib.gzipSync(Buffer.alloc(100_000_000)), { 'Content-Encoding': 'gzip' }),
    ),
    play: rejected(/compresses/),
  },
  {
    name: 'less than announced',
    serve: answers(Buffer.concat([head(200, { 'Content-Length': 1e9 }), FLV_HEADER])),
    play: { code: [REJECTED, UNDECODABLE] },
  },
  {
    name: 'more than announced',
    serve: floodBehind(head(200, { 'Content-Length': FLV_HEADER.length }), FLV_HEADER),
    play: { code: [REJECTED, UNDECODABLE] },
  },
  {
    name: 'a negative length',
    serve: answers(head(200, { 'Content-Length': -1 })),
    play: { code: REJECTED },
  },
  {
    name: 'two lengths',
    serve: answers(
      Buffer.from('HTTP/1.1 200 OK\r\nContent-Length: 5\r\nContent-Length: 7\r\n\r\n'),
    ),
    play: { code: REJECTED },
  },
  {
    name: 'an ID3 tag of 256 MB',
    quick: true,
    serve: floodBehind(head(200), id3(2 ** 28 - 1)),
    play: rejected(/tags.*8 MiB/),
  },
  {
    name: 'an APE tag of 4 GB',
    serve: floodBehind(head(200), ape(2 ** 32 - 1)),
    play: rejected(/tags.*8 MiB/),
  },
];
