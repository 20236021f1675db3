'use strict';

const { once } = require('node:events');
const { setTimeout: sleep } = require('node:timers/promises');
const { startClient } = require('./client');

/** Limits of every case. */
const LIMITS = { stopMs: 500, destroyMs: 1000, exitMs: 1000, memoryMib: 64 };

// How long a server may act before the application stops, is destroyed or exits.
const ATTACK_MS = 200;
const ATTACK_WAIT_MS = 2000;
// Descriptors and threads may end in the background, for so long.
const RELEASE_MS = 1000;
// GLib keeps two idle threads of its pools for up to 15 s.
const POOL_THREADS = 2;
const MARGIN_MS = 1000;

const ERROR_EVENTS = { push: 'onSDKError', play: 'onPlayError' };

/**
 * A hostile server. It emits "attack" each time it begins its hostile part.
 *
 * @typedef {import('node:events').EventEmitter & {url: string, close: () => Promise<void>}} HostileServer
 */

/**
 * The expected behaviour of an application.
 *
 * @typedef {object} Expectation
 * @property {number | number[]} [code] of the error event; without it none may come, and the case
 *   lasts for `holdMs`
 * @property {number} [withinMs] the documented time for the error, default 1000; a second more is
 *   allowed for a busy machine
 * @property {number} [holdMs] default 3000
 * @property {RegExp} [msg] of the error
 */

/**
 * A row of the suite: a server, and the expected behaviour of pushers and players.
 *
 * @typedef {object} Row
 * @property {string} name what the server does
 * @property {(role: 'push' | 'play') => Promise<HostileServer>} serve
 * @property {Expectation} [push] without it there is no push
 * @property {Expectation} [play] without it there is no player
 * @property {boolean} [quick] runs with `npm test`
 * @property {object} [settings] extra configuration
 */

/**
 * @typedef {object} Result
 * @property {string[]} failures empty: all was as expected
 * @property {object} figures
 * @property {number} [figures.code] of the error event
 * @property {number} [figures.errorMs]
 * @property {number} [figures.stopMs] missing when the playback had ended by itself
 * @property {number} figures.destroyMs
 * @property {number} figures.exitMs
 * @property {number} figures.memoryMib the most above the start
 * @property {number} figures.descriptors above the start, a second after the end at most
 * @property {number} figures.threads the same
 */

class CaseRun {
  constructor({ row, role, clip }) {
    this.row = row;
    this.role = role;
    this.clip = clip;
    this.expected = row[role];
    this.figures = {};
    this.failures = [];
  }

  /** @returns {Promise<Result>} */
  async run() {
    this.server = await this.row.serve(this.role);
    try {
      const settings = { reconnect: { maxAttempts: 0 }, ...this.row.settings };
      this.client = await startClient({ role: this.role, settings, clip: this.clip });
      this.before = this.client.usage();
      this.client.resetPeak();
      await this.untilError();
      await this.stopInTheMiddle();
      await this.destroyInTheMiddle();
      await this.exitInTheMiddle();
    } finally {
      await this.client?.kill();
      await this.server.close();
    }
    return { failures: this.failures, figures: this.figures };
  }

  check(holds, message) {
    if (!holds) this.failures.push(message);
    return holds;
  }

  async start() {
    const { server, client } = this;
    const started = await client.act('start', { url: server.url });
    this.check(started?.result === 0, `the start returned ${started?.result}`);
    return performance.now();
  }

  /** Starts, and waits for a while after the attack has begun. */
  async startAndSuffer() {
    const attacked = once(this.server, 'attack', { signal: AbortSignal.timeout(ATTACK_WAIT_MS) });
    const reached = attacked.then(
      () => true,
      () => false,
    );
    const failed = this.client.next(ERROR_EVENTS[this.role], ATTACK_WAIT_MS);
    await this.start();
    await Promise.race([reached, failed]);
    await sleep(ATTACK_MS);
    return reached;
  }

  async untilError() {
    const { code, withinMs = 1000, holdMs = 3000, msg } = this.expected;
    const attacked = once(this.server, 'attack', { signal: AbortSignal.timeout(20_000) });
    const reached = attacked.then(
      () => true,
      () => false,
    );
    const wait = code === undefined ? holdMs : withinMs + MARGIN_MS;
    const failed = this.client.next(ERROR_EVENTS[this.role], wait + 2000);
    const began = await this.start();
    const error = await (code === undefined ? Promise.race([failed, sleep(holdMs)]) : failed);
    const took = performance.now() - began;
    if (code === undefined) {
      this.check(!error, `error ${error?.code}: ${error?.msg}`);
    } else if (this.check(error, `no error within ${wait + 2000} ms`)) {
      this.check([code].flat().includes(error.code), `error ${error.code}: ${error.msg}`);
      this.check(took <= wait, `the error was raised after ${took.toFixed(0)} ms`);
      this.check(!msg || msg.test(error.msg), `the error text is: ${error.msg}`);
    }
    this.figures.code = error?.code;
    this.figures.errorMs = error && took;
    const acted = await Promise.race([reached, sleep(100).then(() => false)]);
    this.check(acted, 'the server was not reached');
    if (!error) await this.client.act('stop');
  }

  async stopInTheMiddle() {
    await this.startAndSuffer();
    const stopped = await this.client.act('stop');
    this.check(stopped, 'a stop never ended');
    if (stopped?.result === 0) this.figures.stopMs = stopped.ms;
    const { stopMs = 0 } = this.figures;
    this.check(stopMs <= LIMITS.stopMs, `a stop took ${stopMs.toFixed(0)} ms`);
  }

  async destroyInTheMiddle() {
    await this.startAndSuffer();
    const destroyed = await this.client.act('destroy');
    const ms = destroyed?.ms ?? Infinity;
    this.figures.destroyMs = ms;
    this.check(ms <= LIMITS.destroyMs, `destroying took ${ms.toFixed(0)} ms`);
    const usage = await this.released();
    this.figures.descriptors = usage.descriptors - this.before.descriptors;
    this.figures.threads = usage.threads - this.before.threads;
    this.figures.memoryMib = usage.peakMib - this.before.mib;
    const left = usage.threadNames.filter((name) => !this.before.threadNames.includes(name));
    const { descriptors, threads, memoryMib } = this.figures;
    this.check(descriptors <= 0, `${descriptors} descriptors are left`);
    this.check(threads <= POOL_THREADS, `${threads} threads are left: ${left}`);
    this.check(memoryMib <= LIMITS.memoryMib, `memory grew by ${memoryMib.toFixed(0)} MiB`);
    await this.client.act('reopen');
  }

  /** Resource usage once everything has been released, or after the time for that. */
  async released() {
    const until = performance.now() + RELEASE_MS;
    for (;;) {
      const usage = this.client.usage();
      const done =
        usage.descriptors <= this.before.descriptors && usage.threads <= this.before.threads;
      if (done || performance.now() >= until) return usage;
      await sleep(20);
    }
  }

  async exitInTheMiddle() {
    await this.startAndSuffer();
    this.figures.exitMs = await this.client.exit();
    const { exitMs } = this.figures;
    this.check(exitMs <= LIMITS.exitMs, `exiting took ${exitMs.toFixed(0)} ms`);
  }
}

/**
 * Runs one case: an application, in a process of its own, connects to the server four times. It
 * waits for the error; stops; is destroyed; exits; the last three during the attack.
 *
 * @param {{row: Row, role: 'push' | 'play', clip: string}} options
 * @returns {Promise<Result>}
 */
const runCase = (options) => new CaseRun(options).run();

module.exports = { LIMITS, runCase };
