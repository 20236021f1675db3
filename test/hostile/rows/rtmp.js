'use strict';

// RTMP servers, for pushers and players. docs/network.md and docs/sdk.md document the codes and
// times.

const crypto = require('node:crypto');
const { setTimeout: sleep } = require('node:timers/promises');
const rtmp = require('../support/rtmp');

const { TYPE, command, control, message, rtmpServer, status, u16, u24, u32 } = rtmp;

const CODE = { timeout: -3003, rejected: -3004, lost: -3006, denied: -3008 };
const PLAY = { notFound: -3201, rejected: -3202, undecodable: -3203 };
const TEN_SECONDS = { withinMs: 10_000 };

/** The same outcome for both roles, with their codes. */
const both = (push, play, more = {}) => ({
  push: { code: push, ...more },
  play: { code: play, ...more },
});
const timeout = both(CODE.timeout, CODE.timeout, TEN_SECONDS);
const rejected = both(CODE.rejected, PLAY.rejected);

/** A server whose hostile part begins with the connection. */
const fromTheStart = (script) =>
  rtmpServer(async (peer, role) => {
    peer.attack();
    await script(peer, role);
  });

/** ... after the handshake. */
const afterHandshake = (script) =>
  rtmpServer(async (peer, role) => {
    await rtmp.shakeHands(peer);
    peer.attack();
    await script(peer, role);
  });

/** ... with the answer to "connect". */
const answersConnect = (...answers) =>
  rtmpServer(async (peer) => {
    await rtmp.shakeHands(peer);
    await peer.readUntil('connect');
    peer.attack();
    await peer.write(Buffer.concat(answers));
  });

/** ... with the answer to "createStream". */
const answersCreateStream = (...values) =>
  rtmpServer(async (peer) => {
    await rtmp.acceptConnection(peer);
    await peer.readUntil('createStream');
    peer.attack();
    await peer.write(command(...values));
  });

/** ... when everything has been accepted. */
const afterAcceptance = (script) =>
  rtmpServer(async (peer, role) => {
    await rtmp.acceptStream(peer, role);
    // By then a publisher has started.
    if (role === 'push') await peer.readUntil('onMetaData');
    peer.attack();
    await script(peer, role);
  });

const fillOf = (count, make) => Buffer.concat(Array.from({ length: count }, (_, i) => make(i)));

const openObject = Buffer.concat([Buffer.from([3]), u16(1), Buffer.from('a')]);
const openArray = Buffer.concat([Buffer.from([10]), u32(1)]);
const resultOf = (transaction, value) =>
  message(TYPE.command, Buffer.concat([rtmp.amf('_result'), rtmp.amf(transaction), value]));

/** The beginnings of messages on many chunk streams, each with a part of its body. */
const pendingMessages = (count, length, piece) =>
  fillOf(count, (index) =>
    Buffer.concat([
      rtmp.chunkHeader({ chunkStream: 64 + index, length, type: TYPE.video }),
      Buffer.alloc(Math.min(piece, 128), 1),
    ]),
  );

const IN_STREAM = { chunkStream: 4, stream: 1 };
// Baseline profile, 64x64 pixels.
const AVC_CONFIGURATION = Buffer.from(
  '0142c00affe100176742c00ad90426c044000003000400000300c83c48992001000568cb83cb20',
  'hex',
);
const AAC_CONFIGURATION = Buffer.from([0x11, 0x90]); // low complexity, 48 kHz, stereo

const flvTag = (type, timestamp, body) =>
  Buffer.concat([
    Buffer.from([type]),
    u24(body.length),
    u24(timestamp & 0xffffff),
    Buffer.from([timestamp >>> 24, 0, 0, 0]),
    body,
    u32(body.length + 11),
  ]);

const START = [
  {
    name: 'silence from the start',
    serve: fromTheStart(() => {}),
    ...timeout,
    quick: true,
  },
  {
    name: 'closes at once',
    serve: fromTheStart((peer) => peer.end()),
    ...rejected,
    quick: true,
  },
  { name: 'resets at once', serve: fromTheStart((peer) => peer.reset()), ...rejected },
  {
    name: 'half a handshake',
    serve: fromTheStart((peer) => peer.write(Buffer.alloc(800, 3))),
    ...timeout,
  },
  {
    name: 'random bytes instead of a handshake',
    serve: fromTheStart((peer) =>
      peer.write(Buffer.concat([Buffer.from([0x47]), crypto.randomBytes(1_000_000)])),
    ),
    ...rejected,
  },
  {
    name: 'another version byte',
    serve: fromTheStart((peer) => peer.write(Buffer.alloc(3073, 32))),
    ...rejected,
  },
  {
    name: 'a handshake, one byte at a time',
    serve: fromTheStart(async (peer) => {
      for (const byte of Buffer.alloc(3073, 3)) {
        await peer.write(Buffer.from([byte]));
        await sleep(10);
      }
    }),
    ...timeout,
  },
];

const AFTER_HANDSHAKE = [
  { name: 'handshake, then silence', serve: afterHandshake(() => {}), ...timeout },
  { name: 'handshake, then closes', serve: afterHandshake((peer) => peer.end()), ...rejected },
  {
    name: 'handshake, then 1 MB of random bytes',
    serve: afterHandshake((peer) =>
      // A chunk stream that begins with its fourth kind of header, which no random start may miss.
      peer.write(Buffer.concat([Buffer.from([0xc3]), crypto.randomBytes(1_000_000)])),
    ),
    ...rejected,
    quick: true,
  },
  {
    name: 'handshake, then zeros without end',
    serve: afterHandshake((peer) => peer.flood(Buffer.alloc(64 * 1024))),
    ...timeout,
  },
  ...[0, 0x80000000, 0xffffffff].map((size) => ({
    name: `chunk size ${size | 0}`,
    serve: afterHandshake((peer) => peer.write(control(TYPE.setChunkSize, size))),
    ...rejected,
  })),
  {
    name: 'chunk size 1',
    serve: answersConnect(
      control(TYPE.setChunkSize, 1),
      message(TYPE.command, Buffer.concat([rtmp.amf('_error'), rtmp.amf(1)]), { chunkSize: 1 }),
    ),
    ...rejected,
  },
  {
    name: 'chunk size 2^31-1, then a message of 16 MB',
    serve: afterHandshake(async (peer) => {
      await peer.write(control(TYPE.setChunkSize, 0x7fffffff));
      await peer.write(rtmp.chunkHeader({ length: 0xffffff, type: TYPE.video }));
      await peer.flood(Buffer.alloc(64 * 1024));
    }),
    ...rejected,
  },
  {
    name: 'messages that begin on 30,000 chunk streams',
    serve: afterHandshake(async (peer) => {
      await peer.write(pendingMessages(30_000, 8_000_000, 128));
    }),
    ...rejected,
    quick: true,
  },
  {
    name: 'messages of 8 MB that never end, on 60 chunk streams',
    serve: afterHandshake(async (peer) => {
      const size = 1_000_000;
      await peer.write(control(TYPE.setChunkSize, size));
      for (let index = 0; index < 60; index += 1) {
        await peer.write(
          rtmp.chunkHeader({ chunkStream: 4 + index, length: 8_000_000, type: TYPE.video }),
        );
        await peer.write(Buffer.alloc(size));
      }
    }),
    ...rejected,
  },
];

const AMF = [
  {
    name: 'AMF objects nested 20,000 deep',
    serve: answersConnect(
      resultOf(
        1,
        fillOf(20_000, () => openObject),
      ),
    ),
    ...rejected,
    quick: true,
  },
  {
    name: 'AMF arrays nested 20,000 deep',
    serve: answersConnect(
      resultOf(
        1,
        fillOf(20_000, () => openArray),
      ),
    ),
    ...rejected,
  },
  {
    name: 'an AMF array of 2^32-1 entries',
    serve: answersConnect(
      resultOf(1, Buffer.concat([Buffer.from([10]), u32(0xffffffff), Buffer.alloc(100_000, 5)])),
    ),
    ...rejected,
  },
  {
    name: 'an AMF text of 2^31 bytes',
    serve: answersConnect(
      resultOf(1, Buffer.concat([Buffer.from([12]), u32(0x80000000), Buffer.alloc(100_000, 65)])),
    ),
    ...rejected,
  },
  {
    name: 'a command without end',
    serve: afterHandshake(async (peer) => {
      await peer.write(control(TYPE.setChunkSize, 0xffffff));
      await peer.write(rtmp.chunkHeader({ length: 8_000_000, type: TYPE.command }));
      await peer.write(rtmp.amf('_result'));
      await peer.write(Buffer.alloc(7_000_000));
    }),
    ...timeout,
  },
];

const REFUSALS = [
  {
    name: '_error for connect, connection kept open',
    serve: answersConnect(
      command('_error', 1, null, { level: 'error', code: 'NetConnection.Connect.Rejected' }),
    ),
    ...rejected,
    quick: true,
  },
  {
    name: 'connect accepted, then no stream',
    serve: rtmpServer(async (peer) => {
      await rtmp.acceptConnection(peer);
      peer.attack();
    }),
    push: timeout.push,
    // Two clocks of ten seconds: that of the connection and that of the playback.
    play: { code: [CODE.timeout, PLAY.notFound], ...TEN_SECONDS },
  },
  {
    name: '_error for createStream',
    serve: answersCreateStream('_error', 4, null, { level: 'error', code: 'x' }),
    ...rejected,
  },
  ...[Number.NaN, -1, 1.5, 2 ** 40, 'one'].map((id) => ({
    name: `createStream gives stream ${id}`,
    serve: answersCreateStream('_result', 4, null, id),
    ...rejected,
  })),
];

const ACCEPTED = [
  {
    name: 'accepts, then resets',
    serve: afterAcceptance((peer) => peer.reset()),
    ...both(CODE.lost, PLAY.rejected),
    quick: true,
  },
  {
    name: 'accepts, then aborts all chunk streams',
    serve: afterAcceptance(async (peer) => {
      for (let id = 0; id < 65_600; id += 1) await peer.write(control(TYPE.abort, id));
    }),
    push: {},
    play: { code: PLAY.notFound, ...TEN_SECONDS },
  },
  ...[0, 1].map((window) => ({
    name: `acknowledgement window ${window}, then data`,
    serve: afterAcceptance(async (peer) => {
      await peer.write(control(TYPE.windowSize, window));
      await peer.flood(command('onBWDone', 0, null));
    }),
    push: {},
    play: { code: PLAY.notFound, ...TEN_SECONDS },
  })),
  {
    name: 'absurd acknowledgements',
    serve: afterAcceptance((peer) =>
      peer.flood(
        Buffer.concat([0xffffffff, 0, 0x80000000].map((n) => control(TYPE.acknowledgement, n))),
        100_000,
      ),
    ),
    push: {},
    play: { code: PLAY.notFound, ...TEN_SECONDS },
  },
  {
    name: 'a flood of pings, 6 MB/s',
    serve: afterAcceptance((peer) => peer.flood(fillOf(2000, () => rtmp.ping))),
    push: {},
    play: { code: PLAY.notFound, ...TEN_SECONDS },
    quick: true,
  },
  {
    name: 'a flood of pings, and nothing is read',
    serve: afterAcceptance((peer) => {
      peer.pause();
      return peer.flood(fillOf(2000, () => rtmp.ping));
    }),
    push: {},
    play: { code: PLAY.notFound, ...TEN_SECONDS },
    quick: true,
  },
  {
    name: 'a broken aggregate message',
    serve: afterAcceptance((peer) => peer.write(message(TYPE.aggregate, Buffer.alloc(10, 9)))),
    ...both(CODE.lost, PLAY.rejected),
  },
  {
    name: 'aggregate messages of empty parts, without end',
    serve: afterAcceptance((peer) => {
      const parts = fillOf(1000, () => flvTag(TYPE.audio, 0, Buffer.alloc(0)));
      return peer.flood(message(TYPE.aggregate, parts));
    }),
    push: {},
    // Either limit may be exceeded first: the time, or the bytes that cannot be decoded.
    play: { code: [PLAY.notFound, PLAY.undecodable], ...TEN_SECONDS },
  },
  {
    name: 'time stamps that wrap',
    serve: afterAcceptance(async (peer) => {
      for (let index = 0; ; index += 1) {
        const timestamp = index % 2 === 0 ? 0xfffffff0 : 5;
        await peer.write(
          message(TYPE.audio, Buffer.alloc(100, 0x3e), { timestamp, chunkStream: 4, stream: 1 }),
        );
        await sleep(5);
      }
    }),
    push: {},
    play: { holdMs: 5000 },
  },
  {
    name: 'broken H.264 and AAC',
    serve: afterAcceptance(async (peer) => {
      // Headers of a key frame and of AAC, and their configurations; the media are noise.
      const media = [
        [TYPE.video, Buffer.from([0x17, 0, 0, 0, 0]), AVC_CONFIGURATION],
        [TYPE.audio, Buffer.from([0xaf, 0]), AAC_CONFIGURATION],
      ];
      for (const [type, head, configuration] of media) {
        await peer.write(message(type, Buffer.concat([head, configuration]), IN_STREAM));
      }
      for (let timestamp = 0; ; timestamp += 40) {
        for (const [type, head] of media) {
          head[1] = 1;
          const body = Buffer.concat([head, crypto.randomBytes(500)]);
          await peer.write(message(type, body, { ...IN_STREAM, timestamp }));
        }
        await sleep(40);
      }
    }),
    push: {},
    play: { code: PLAY.undecodable, withinMs: 25_000 },
  },
  {
    name: 'status texts without end',
    serve: afterAcceptance((peer) => peer.flood(status('NetStream.Play.Start'), 1_000_000)),
    push: {},
    play: { code: PLAY.notFound, ...TEN_SECONDS },
  },
];

module.exports = [...START, ...AFTER_HANDSHAKE, ...AMF, ...REFUSALS, ...ACCEPTED];
