'use strict';

const { EventEmitter, once } = require('node:events');
const net = require('node:net');
const { setTimeout: sleep } = require('node:timers/promises');

class PeerGone extends Error {}

/** One connection, as passed to a script. Waits for the peer reject when it has disconnected. */
class Peer {
  #socket;
  #server;
  #received = Buffer.alloc(0);
  #changed = new EventEmitter();

  constructor(socket, server) {
    this.#socket = socket;
    this.#server = server;
    socket.on('error', () => {}); // "close" follows
    for (const event of ['close', 'drain']) {
      socket.on(event, () => this.#changed.emit('change'));
    }
    socket.on('data', (data) => {
      // The end is enough to search for texts; more would cost memory in a flood.
      this.#received = Buffer.concat([this.#received, data]).subarray(-100_000);
      this.#changed.emit('change');
    });
  }

  get gone() {
    return this.#socket.destroyed;
  }

  /** The hostile part begins. */
  attack() {
    this.#server.emit('attack');
  }

  async #until(holds) {
    while (!holds()) {
      if (this.gone) throw new PeerGone();
      await once(this.#changed, 'change');
    }
  }

  /** Takes that many bytes. */
  async read(count) {
    await this.#until(() => this.#received.length >= count);
    const taken = this.#received.subarray(0, count);
    this.#received = this.#received.subarray(count);
    return taken;
  }

  /** Consumes and returns the data up to and including a text. */
  async readUntil(text) {
    await this.#until(() => this.#received.includes(text));
    return this.read(this.#received.indexOf(text) + Buffer.byteLength(text));
  }

  /** Writes, and waits while the peer does not read. */
  async write(bytes) {
    if (this.gone) throw new PeerGone();
    this.#socket.write(bytes);
    await this.#until(() => !this.#socket.writableNeedDrain);
  }

  /** Writes chunks until the peer has disconnected, `bytesPerSecond` at most. */
  async flood(piece, bytesPerSecond = 6_000_000) {
    const began = performance.now();
    for (let sent = 0; ; sent += piece.length) {
      await this.write(piece);
      const ahead = (sent / bytesPerSecond) * 1000 - (performance.now() - began);
      await (ahead > 0 ? sleep(ahead) : new Promise(setImmediate));
    }
  }

  /** Resolves when the peer has disconnected; there is no timeout. */
  hold() {
    return this.#until(() => false);
  }

  pause() {
    this.#socket.pause();
  }

  end() {
    this.#socket.end();
  }

  reset() {
    this.#socket.resetAndDestroy();
  }
}

/**
 * A server on loopback that runs a script for each connection and leaves the connection open at
 * the script's end.
 *
 * @param {(peer: Peer, index: number) => Promise<void>} script `index`: number of the connection,
 *   from 0 on
 * @param {(port: number) => string} urlOf
 * @returns {Promise<import('./case').HostileServer>}
 */
async function serveTcp(script, urlOf) {
  const server = new EventEmitter();
  const sockets = new Set();
  let count = 0;
  const listener = net.createServer(async (socket) => {
    sockets.add(socket);
    socket.once('close', () => sockets.delete(socket));
    try {
      await script(new Peer(socket, server), count++);
    } catch (error) {
      if (!(error instanceof PeerGone)) throw error;
    }
  });
  listener.listen(0, '127.0.0.1');
  await once(listener, 'listening');
  return Object.assign(server, {
    url: urlOf(listener.address().port),
    async close() {
      for (const socket of sockets) socket.destroy();
      listener.close();
    },
  });
}

module.exports = { serveTcp };
