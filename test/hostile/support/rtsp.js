'use strict';

// The server's side of RTSP, as far as hostile servers need it.

const { serveTcp } = require('./tcp_server');

const SDP = [
  'v=0',
  'o=- 1 1 IN IP4 127.0.0.1',
  's=stream',
  'c=IN IP4 127.0.0.1',
  't=0 0',
  'a=control:*',
  'm=video 0 RTP/AVP 96',
  'a=rtpmap:96 H264/90000',
  'a=control:track0',
];

const textOf = (lines) => `${lines.join('\r\n')}\r\n`;

/** @param {string[]} [headers] @param {string} [body] */
function reply(cseq, { status = '200 OK', headers = [], body = '' } = {}) {
  const length = body ? [`Content-Length: ${Buffer.byteLength(body)}`] : [];
  return `${textOf([`RTSP/1.0 ${status}`, `CSeq: ${cseq}`, ...headers, ...length])}\r\n${body}`;
}

const describeReply = (sdp) => ({ headers: ['Content-Type: application/sdp'], body: textOf(sdp) });

/** The answers of an ordinary server. */
const ORDINARY = {
  OPTIONS: () => ({ headers: ['Public: OPTIONS, DESCRIBE, SETUP, PLAY, TEARDOWN'] }),
  DESCRIBE: () => describeReply(SDP),
  // Over the request's own connection only.
  SETUP: ({ transport }) =>
    transport.includes('TCP')
      ? { headers: ['Session: 1234', 'Transport: RTP/AVP/TCP;unicast;interleaved=0-1'] }
      : { status: '461 Unsupported Transport' },
  PLAY: () => ({ headers: ['Session: 1234'] }),
  GET_PARAMETER: () => ({}),
  TEARDOWN: () => ({}),
};

/**
 * A server that answers requests as usual up to the first of method `at`, which the script answers.
 *
 * @param {string} at
 * @param {(peer: object, request: {method: string, cseq: string, transport: string}) => unknown}
 *   script
 */
const rtspServer = (at, script) => () =>
  serveTcp(
    async (peer) => {
      for (;;) {
        const text = String(await peer.readUntil('\r\n\r\n'));
        const header = (name) => text.match(new RegExp(`^${name}: *(.*)\r$`, 'im'))?.[1] ?? '';
        const [method] = text.split(' ');
        const request = { method, cseq: header('CSeq'), transport: header('Transport') };
        if (method === at) {
          peer.attack();
          await script(peer, request);
        } else {
          const answer = ORDINARY[method] ?? (() => ({ status: '501 Not Implemented' }));
          await peer.write(reply(request.cseq, answer(request)));
        }
      }
    },
    (port) => `rtsp://127.0.0.1:${port}/stream`,
  );

/** A server whose hostile part begins with the connection. */
const rtspFromTheStart = (script) => () =>
  serveTcp(
    async (peer) => {
      peer.attack();
      await script(peer);
    },
    (port) => `rtsp://127.0.0.1:${port}/stream`,
  );

module.exports = { ORDINARY, SDP, describeReply, reply, rtspFromTheStart, rtspServer };
