'use strict';

const net = require('node:net');
const tls = require('node:tls');
const { setTimeout: sleep } = require('node:timers/promises');

/** Listens on a free loopback port. @returns {Promise<number>} */
function listening(server) {
  return new Promise((resolve, reject) => {
    server.once('error', reject);
    server.listen(0, '127.0.0.1', () => resolve(server.address().port));
  });
}

/** A TLS tunnel to a loopback port. @returns {tls.Server} */
const tunnelTo = (port, identity) =>
  tls.createServer(identity, (socket) => {
    const inner = net.connect(port, '127.0.0.1');
    socket.pipe(inner).pipe(socket);
    for (const end of [socket, inner]) end.on('error', () => inner.destroy());
    socket.on('close', () => inner.destroy());
  });

/**
 * Calls `condition` every 20 ms until it holds.
 *
 * @param {string} what is waited for
 * @param {() => unknown} condition may be asynchronous
 * @param {import('../../../tools/rtmp/child').Child[]} children that must not end meanwhile
 * @throws {Error} after 30 s, or when one of the children has ended
 */
async function until(what, condition, children = []) {
  let ended;
  for (const child of children) {
    child.ended.then((reason) => {
      ended = reason;
    });
  }
  const limit = performance.now() + 30_000;
  while (!(await condition())) {
    if (ended) throw new Error(`${what}: ${ended.trim()}`);
    if (performance.now() > limit) throw new Error(`${what}: not within 30 s`);
    await sleep(20);
  }
}

/** Returns whether the kernel has a listening TCP socket on that port; no connection is made. */
function isListening(port) {
  const fs = require('node:fs');
  const wanted = `:${port.toString(16).toUpperCase().padStart(4, '0')}`;
  return ['/proc/net/tcp', '/proc/net/tcp6'].some((file) =>
    fs
      .readFileSync(file, 'utf8')
      .split('\n')
      .some((line) => {
        const [, local, , state] = line.trim().split(/\s+/);
        return state === '0A' && local.endsWith(wanted);
      }),
  );
}

module.exports = { isListening, listening, tunnelTo, until };
