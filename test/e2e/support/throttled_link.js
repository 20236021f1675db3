'use strict';

const net = require('node:net');
const { once } = require('node:events');

// Interval at which tokens are added; between two of them a link sends nothing.
const TICK_MS = 10;

/**
 * A network of adjustable quality: a TCP relay in front of a server. The clients' data pass at an
 * adjustable rate or not at all; the server's data pass freely.
 *
 * @typedef {object} ThrottledLink
 * @property {number} port where clients connect to
 * @property {(kbps: number) => void} setRate kbit/s for all connections together; Infinity: no limit
 * @property {() => void} stall no data pass any more, connections stay open
 * @property {() => void} cut every connection breaks, like when a cable is unplugged briefly
 * @property {() => Promise<void>} close
 */

/**
 * @param {number} targetPort of the server on loopback
 * @returns {Promise<ThrottledLink>}
 */
async function openThrottledLink(targetPort) {
  const connections = new Set();
  let bytesPerTick = Infinity;
  let tokens = 0;

  // A small buffer on this side, so that data queue up at the sender.
  const server = net.createServer({ highWaterMark: 4096 }, (client) => {
    const target = net.connect(targetPort, '127.0.0.1');
    const connection = { client, target, waiting: [] };
    connections.add(connection);
    const end = () => {
      client.destroy();
      target.destroy();
      connections.delete(connection);
    };
    for (const socket of [client, target]) socket.on('error', end).on('close', end);
    client.on('data', (chunk) => {
      connection.waiting.push(chunk);
      pass(connection);
    });
    target.on('data', (chunk) => client.write(chunk));
  });

  /** Forwards as much as tokens and server allow; reads more only when nothing is left. */
  function pass({ client, target, waiting }) {
    while (waiting.length > 0 && tokens >= 1 && !target.writableNeedDrain) {
      const chunk = waiting.shift();
      const part = chunk.subarray(0, Math.min(chunk.length, tokens));
      if (part.length < chunk.length) waiting.unshift(chunk.subarray(part.length));
      tokens -= part.length;
      target.write(part);
    }
    if (waiting.length > 0) client.pause();
    else client.resume();
  }

  const ticking = setInterval(() => {
    // At most a tenth of a second's tokens accumulate.
    tokens = Math.min(tokens + bytesPerTick, bytesPerTick * 10);
    for (const connection of connections) pass(connection);
  }, TICK_MS);

  const link = {
    port: 0,
    setRate: (kbps) => {
      bytesPerTick = ((kbps * 1000) / 8 / 1000) * TICK_MS;
      tokens = bytesPerTick;
    },
    stall: () => link.setRate(0),
    cut: () => {
      for (const { client } of connections) client.resetAndDestroy();
    },
    close: async () => {
      clearInterval(ticking);
      for (const { client } of connections) client.destroy();
      server.close();
      await once(server, 'close');
    },
  };
  link.setRate(Infinity);
  server.listen(0, '127.0.0.1');
  await once(server, 'listening');
  link.port = server.address().port;
  return link;
}

module.exports = { openThrottledLink };
