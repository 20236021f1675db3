'use strict';

// RTSP servers.

const crypto = require('node:crypto');
const {
  ORDINARY,
  SDP,
  describeReply,
  reply,
  rtspFromTheStart,
  rtspServer,
} = require('../support/rtsp');

const CODE = { timeout: -3003, notFound: -3201, rejected: -3202, undecodable: -3203 };
const timeout = { play: { code: CODE.timeout, withinMs: 10_000 } };
const rejected = { play: { code: CODE.rejected } };

const redirect = (location) =>
  rtspServer('DESCRIBE', (peer, { cseq }) =>
    peer.write(reply(cseq, { status: '302 Moved', headers: [`Location: ${location}`] })),
  );

/** Streams `media` over the request's own connection once it plays. */
const interleaved = (media) =>
  rtspServer('PLAY', async (peer, { cseq }) => {
    await peer.write(reply(cseq, ORDINARY.PLAY()));
    await peer.flood(media, 1_000_000);
  });

/** Interleaved RTP between replies: a channel, a length, and the bytes. */
const frame = (channel, length, bytes) =>
  Buffer.concat([Buffer.from([0x24, channel, length >> 8, length & 255]), bytes]);

module.exports = [
  { name: 'silence from the start', serve: rtspFromTheStart(() => {}), ...timeout, quick: true },
  { name: 'closes at once', serve: rtspFromTheStart((peer) => peer.end()), ...rejected },
  { name: 'resets at once', serve: rtspFromTheStart((peer) => peer.reset()), ...rejected },
  {
    name: 'random bytes instead of an answer',
    serve: rtspFromTheStart((peer) => peer.flood(crypto.randomBytes(100_000))),
    play: { code: [CODE.rejected, CODE.timeout], withinMs: 10_000 },
    quick: true,
  },
  {
    name: 'a status line without end',
    serve: rtspServer('OPTIONS', (peer) => peer.flood(Buffer.alloc(64 * 1024, 'a'))),
    ...rejected,
  },
  {
    name: 'headers without end',
    serve: rtspServer('OPTIONS', async (peer, { cseq }) => {
      await peer.write(`RTSP/1.0 200 OK\r\nCSeq: ${cseq}\r\n`);
      await peer.flood(Buffer.from('X-Header: value\r\n'.repeat(4000)));
    }),
    ...rejected,
    quick: true,
  },
  {
    name: 'a body of 2 GB',
    serve: rtspServer('DESCRIBE', async (peer, { cseq }) => {
      const head = ['Content-Type: application/sdp', 'Content-Length: 2000000000'];
      await peer.write(reply(cseq, { headers: head }));
      await peer.flood(Buffer.alloc(64 * 1024, 'a'), 50_000_000);
    }),
    ...rejected,
  },
  ...['OPTIONS', 'DESCRIBE', 'SETUP', 'PLAY'].map((method) => ({
    name: `no answer to ${method}`,
    serve: rtspServer(method, () => {}),
    ...timeout,
  })),
  {
    name: 'wrong CSeq',
    serve: rtspServer('DESCRIBE', (peer) => peer.write(reply('4711', describeReply(SDP)))),
    ...rejected,
  },
  {
    name: 'redirects to itself for ever',
    serve: rtspServer('DESCRIBE', function again(peer, { cseq }) {
      return peer.write(reply(cseq, { status: '302 Moved', headers: ['Location: /stream'] }));
    }),
    ...rejected,
  },
  ...[
    'http://127.0.0.1:1/',
    'file:///etc/passwd',
    'srt://127.0.0.1:1?mode=listener',
    'nonsense',
  ].map((location) => ({
    name: `redirects to ${location}`,
    serve: redirect(location),
    ...rejected,
    quick: location.startsWith('file'),
  })),
  {
    name: 'redirects to rtsp-sdp:',
    serve: redirect(`rtsp-sdp://${encodeURI(SDP.join('\r\n'))}`),
    ...rejected,
  },
  {
    name: 'an SDP of 5000 media',
    serve: rtspServer('DESCRIBE', (peer, { cseq }) => {
      const media = SDP.slice(-3);
      const many = Array.from({ length: 5000 }, () => media).flat();
      return peer.write(reply(cseq, describeReply([...SDP, ...many])));
    }),
    play: { code: [CODE.rejected, CODE.timeout], withinMs: 10_000 },
    quick: true,
  },
  {
    name: 'an SDP that is none',
    serve: rtspServer('DESCRIBE', (peer, { cseq }) =>
      peer.write(reply(cseq, describeReply(['=', 'm=', 'a=control', 'c=IN IP4']))),
    ),
    play: { code: [CODE.rejected, CODE.undecodable, CODE.timeout], withinMs: 10_000 },
  },
  {
    name: 'interleaved garbage',
    serve: interleaved(crypto.randomBytes(60_000)),
    play: { code: [CODE.rejected, CODE.timeout], withinMs: 10_000 },
    quick: true,
  },
  {
    name: 'interleaved packets of random RTP',
    serve: interleaved(
      Buffer.concat(Array.from({ length: 50 }, () => frame(0, 1000, crypto.randomBytes(1000)))),
    ),
    play: { ...rejected.play, withinMs: 3000 },
  },
  {
    name: 'interleaved packets on channels that nobody set up',
    serve: interleaved(frame(77, 1000, Buffer.alloc(1000))),
    play: { ...rejected.play, withinMs: 3000 },
  },
];
