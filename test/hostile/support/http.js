'use strict';

// The server's side of HTTP, as far as hostile servers need it: raw bytes for each request.

const { serveTcp } = require('./tcp_server');

/**
 * A server that runs a script for each connection, once the request has arrived.
 *
 * @param {(peer: object, target: string) => Promise<void>} script `target` as requested
 */
const httpServer = (script) => () =>
  serveTcp(
    async (peer) => {
      const request = (await peer.readUntil('\r\n\r\n')).toString('latin1');
      await script(peer, request.split(' ')[1]);
    },
    (port) => `http://127.0.0.1:${port}/stream`,
  );

/** Status line and headers. */
const head = (status, headers = {}) =>
  Buffer.from(
    `HTTP/1.1 ${status} Whatever\r\n${Object.entries(headers)
      .map(([name, value]) => `${name}: ${value}\r\n`)
      .join('')}\r\n`,
  );

/** A whole response. */
const response = (body, headers = {}) =>
  Buffer.concat([head(200, { 'Content-Length': body.length, ...headers }), Buffer.from(body)]);

/** Answers and closes. */
async function answer(peer, bytes) {
  await peer.write(bytes);
  peer.end();
}

/** A chunk of a chunked body. */
const chunk = (bytes) =>
  Buffer.concat([Buffer.from(`${bytes.length.toString(16)}\r\n`), bytes, Buffer.from('\r\n')]);

/** A playlist of one segment. @param {string[]} [tags] before it */
const playlistOf = (address, tags = []) =>
  [
    '#EXTM3U',
    '#EXT-X-VERSION:3',
    '#EXT-X-TARGETDURATION:2',
    ...tags,
    '#EXTINF:2,',
    address,
    '',
  ].join('\n');

/** A playlist that names another one. */
const masterOf = (address) => `#EXTM3U\n#EXT-X-STREAM-INF:BANDWIDTH=100000\n${address}\n`;

module.exports = { answer, chunk, head, httpServer, masterOf, playlistOf, response };
