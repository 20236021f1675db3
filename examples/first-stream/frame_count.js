'use strict';

const { watchPackets } = require('../../tools/rtmp/witness');

/**
 * @typedef {object} FrameTotals
 * @property {number} captured frames that arrived at the server: each captured frame is published
 * @property {number} delivered frames that JavaScript received in the same stretch of time
 * @property {number} dropped captured frames replaced by newer ones on the way to JavaScript
 * @property {number} seconds the stretch of time
 */

/** Counts a stream's frames at its server, to compare them with those of JavaScript. */
class FrameCount {
  #captured = 0;
  #firstTime = 0;
  #lastTime = 0;
  #lastArrival = 0;
  #watcher;

  /** @param {string} url */
  constructor(url) {
    this.#watcher = watchPackets(url, (time) => {
      if (this.#captured === 0) this.#firstTime = time;
      this.#captured += 1;
      this.#lastTime = time;
      this.#lastArrival = performance.now();
    });
  }

  async stop() {
    await this.#watcher.stop();
  }

  /**
   * The first frames arrive late and in a burst, so the stretch of time is taken from the frames'
   * own clock, back from the last arrival.
   *
   * @param {number[]} deliveries when frames arrived in JavaScript, by `performance.now()`
   * @returns {FrameTotals}
   */
  totals(deliveries) {
    const seconds = this.#lastTime - this.#firstTime;
    const start = this.#lastArrival - seconds * 1000;
    const delivered = deliveries.filter(
      (time) => time >= start && time <= this.#lastArrival,
    ).length;
    return {
      captured: this.#captured,
      delivered,
      dropped: Math.max(0, this.#captured - delivered),
      seconds: Math.round(seconds * 1000) / 1000,
    };
  }
}

module.exports = { FrameCount };
