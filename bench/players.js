'use strict';

// Sixteen players of one 640x360 stream at 30 frames a second, all frames delivered to JavaScript:
// how many arrive, and the processor time, against ffmpeg decoding the stream sixteen times to
// nowhere. Ends with the ratio.
//
// Usage: node bench/players.js [--seconds N]

const path = require('node:path');
const { once } = require('node:events');
const { setTimeout: sleep } = require('node:timers/promises');
const { parseArgs } = require('node:util');
const { startChild } = require('../tools/rtmp/child');
const { startTestPublisher } = require('../tools/rtmp/publisher');
const { startRtmpServer } = require('../tools/rtmp/rtmp_server');
const { printTable } = require('./lib/numbers');
const { processorSeconds } = require('./lib/processor_time');

const COUNT = 16;

/** @returns {Promise<number>} the cores that the process used for that time */
async function coresOf(child, seconds) {
  const used = processorSeconds(child.process.pid);
  const began = performance.now();
  await sleep(seconds * 1000);
  return (processorSeconds(child.process.pid) - used) / ((performance.now() - began) / 1000);
}

async function measurePlayers(url, seconds) {
  const program = path.join(__dirname, 'lib/play_process.js');
  const child = startChild('node', [program, url, String(seconds + 1)]);
  const output = child.process.stdout.setEncoding('utf8');
  await Promise.race([once(output, 'data'), child.ended.then((why) => Promise.reject(why))]);
  const cores = await coresOf(child, seconds);
  const [counts] = await once(output, 'data');
  await child.stop();
  return { cores, rates: JSON.parse(counts).map((count) => count / (seconds + 1)) };
}

async function measurePeer(url, seconds) {
  const input = ['-probesize', '32768', '-analyzeduration', '0', '-threads', '1', '-i', url];
  const inputs = Array.from({ length: COUNT }, () => input).flat();
  const maps = Array.from({ length: COUNT }, (_input, index) => ['-map', `${index}`]).flat();
  const output = ['-c:v', 'rawvideo', '-f', 'null', '-'];
  const child = startChild('ffmpeg', ['-v', 'error', '-nostdin', ...inputs, ...maps, ...output]);
  await sleep(COUNT * 1000); // it opens one after the other
  const cores = await coresOf(child, seconds);
  await child.stop();
  return cores;
}

async function main() {
  const { values } = parseArgs({ options: { seconds: { type: 'string', default: '10' } } });
  const seconds = Number(values.seconds);
  const server = await startRtmpServer();
  const publisher = startTestPublisher(server.url());
  try {
    while (!(await server.status()).publishing) await sleep(100);
    const { cores, rates } = await measurePlayers(server.url(), seconds);
    const peer = await measurePeer(server.url(), seconds);
    console.log(
      `frames a second of each player: ${rates.map((rate) => rate.toFixed(1)).join(' ')}`,
    );
    printTable([
      [`${COUNT} times 640x360 at 30/s`, 'cores', 'ratio'],
      ['ffmpeg, decoding only', peer.toFixed(3), '1.00'],
      ['sixteen players', cores.toFixed(3), (cores / peer).toFixed(2)],
    ]);
  } finally {
    await publisher.stop();
    await server.stop();
  }
}

main();
