'use strict';

const { watchPackets } = require('../../../tools/rtmp/witness');
const { createCondition } = require('./condition');

/**
 * @typedef {object} Rates of the last second, in the stream's own time
 * @property {number} kbps
 * @property {number} fps
 * @property {number} keyFrameSeconds between the last two key frames; 0 before the second
 */

/**
 * Measures the stream at a player for each second of the stream's own time.
 *
 * @param {string} url
 */
function watchRates(url) {
  const frames = [];
  const arrival = createCondition();
  const child = watchPackets(url, (seconds, bytes, isKey) => {
    frames.push({ seconds, bytes, isKey });
    arrival.changed();
  });
  const lastTime = () => frames.at(-1)?.seconds ?? 0;
  /** @returns {Rates} */
  const rates = () => {
    const end = lastTime();
    const last = frames.filter(({ seconds }) => seconds > end - 1);
    const bytes = last.reduce((sum, frame) => sum + frame.bytes, 0);
    const [before, key] = frames.filter(({ isKey }) => isKey).slice(-2);
    return {
      kbps: (bytes * 8) / 1000,
      fps: last.length,
      keyFrameSeconds: key ? key.seconds - before.seconds : 0,
    };
  };
  return {
    /** Resolves when the last second satisfies `accept`. @param {(r: Rates) => boolean} accept */
    until: (accept) => arrival.until(() => accept(rates())),
    /** Resolves when that many seconds of the stream have arrived. */
    passes: (seconds) => {
      const end = lastTime() + seconds;
      return arrival.until(() => lastTime() >= end);
    },
    /** @returns {number[]} of all frames */
    times: () => frames.map(({ seconds }) => seconds),
    stop: () => child.stop(),
  };
}

module.exports = { watchRates };
