'use strict';

const { startChild } = require('../../../tools/rtmp/child');

const RATE = 48_000;
const LATENCY_MS = 10;
const SECOND = 1_000_000_000n;

/**
 * Records what a program plays to an output, with the time of each sample.
 *
 * The server delivers samples in chunks, and this process may be late to read one, but never early:
 * the sample clock is fitted to the earliest chunk. The null sink runs by the same monotonic clock
 * as this process, so that one fit holds for the whole recording.
 *
 * @param {string[]} environment for env(1)
 */
function startRecorder(environment) {
  const child = startChild('env', [
    ...[...environment, 'parec', '--format=s16le', `--rate=${RATE}`, '--channels=1'],
    ...[`--latency-msec=${LATENCY_MS}`, '--process-time-msec=5'],
  ]);
  const pieces = [];
  let bytes = 0;
  let origin; // the time of sample 0, in ns, by the earliest chunk
  let latest = 0; // the longest delay of a chunk after that, ns
  child.process.stdout.on('data', (data) => {
    const now = process.hrtime.bigint();
    pieces.push(data);
    bytes += data.length;
    const samples = BigInt(Math.floor(bytes / 2));
    const start = now - (samples * SECOND) / BigInt(RATE);
    if (origin === undefined || start < origin) origin = start;
    latest = Math.max(latest, Number(start - origin));
  });

  return {
    rate: RATE,
    /** Ends the recording. @returns {Promise<Recording>} */
    async stop() {
      await child.stop();
      const all = Buffer.concat(pieces);
      const samples = new Float32Array(all.length >> 1);
      for (let i = 0; i < samples.length; i += 1) samples[i] = all.readInt16LE(2 * i) / 32768;
      return { samples, rate: RATE, startMs: Number(origin) / 1e6, latestMs: latest / 1e6 };
    },
  };
}

/**
 * @typedef {object} Recording
 * @property {Float32Array} samples full scale is 1
 * @property {number} rate Hz
 * @property {number} startMs when sample 0 was played, monotonic clock
 * @property {number} latestMs the largest delay of a chunk, compared to the earliest one
 */

module.exports = { startRecorder };
