'use strict';

// Sixteen players of one 640x360 stream at 30 frames per second, all frames delivered to
// JavaScript: the frames that arrive, and the processor time, against ffmpeg decoding the stream
// sixteen times and discarding it. They alternate. Ends with the ratio, and with --profile with a
// profile (needs perf).
//
// Usage: node bench/players.js [--seconds N] [--rounds N] [--profile] [--json FILE]

const fs = require('node:fs');
const path = require('node:path');
const { once } = require('node:events');
const { setTimeout: sleep } = require('node:timers/promises');
const { parseArgs } = require('node:util');
const { startChild } = require('../tools/rtmp/child');
const { startTestPublisher } = require('../tools/rtmp/publisher');
const { startRtmpServer } = require('../tools/rtmp/rtmp_server');
const { watchMachine } = require('./lib/machine_load');
const { printTable, quantile } = require('./lib/numbers');
const { profileProcess } = require('./lib/profile');
const { processorSeconds } = require('./lib/processor_time');

const COUNT = 16;

/** @returns {Promise<number>} the cores that the process used for that time */
async function coresOf(child, seconds) {
  const used = processorSeconds(child.process.pid);
  const began = performance.now();
  await sleep(seconds * 1000);
  return (processorSeconds(child.process.pid) - used) / ((performance.now() - began) / 1000);
}

/** Runs the players. `observe` is called with their process while all of them play. */
async function withPlayers(url, seconds, observe) {
  const program = path.join(__dirname, 'lib/play_process.js');
  const child = startChild('node', [program, url, String(seconds + 1)]);
  try {
    const output = child.process.stdout.setEncoding('utf8');
    await Promise.race([once(output, 'data'), child.ended.then((why) => Promise.reject(why))]);
    const counted = once(output, 'data');
    const result = await observe(child);
    const [text] = await counted;
    return { result, rates: JSON.parse(text) };
  } finally {
    await child.stop();
  }
}

async function measurePlayers(url, seconds) {
  const machine = watchMachine();
  const { result, rates } = await withPlayers(url, seconds, (child) => coresOf(child, seconds));
  return { cores: result, rates, load: machine.stop() };
}

async function measurePeer(url, seconds) {
  const input = ['-probesize', '32768', '-analyzeduration', '0', '-threads', '1', '-i', url];
  const inputs = Array.from({ length: COUNT }, () => input).flat();
  const maps = Array.from({ length: COUNT }, (_input, index) => ['-map', `${index}`]).flat();
  const output = ['-c:v', 'rawvideo', '-f', 'null', '-'];
  const child = startChild('ffmpeg', ['-v', 'error', '-nostdin', ...inputs, ...maps, ...output]);
  await sleep(COUNT * 1000); // they are opened one after the other
  const cores = await coresOf(child, seconds);
  await child.stop();
  return cores;
}

function report(players, peers) {
  for (const { rates, load } of players) {
    const mean = rates.reduce((sum, rate) => sum + rate, 0) / rates.length;
    console.log(
      `frames a second of each player in JavaScript: ${rates.map((rate) => rate.toFixed(1)).join(' ')}` +
        `; mean ${mean.toFixed(2)}, least ${Math.min(...rates).toFixed(2)} (load, late: ${load})`,
    );
  }
  const own = quantile(players.map(({ cores }) => cores));
  const peer = quantile(peers);
  printTable([
    [`${COUNT} times 640x360 at 30/s`, 'cores (median)', 'ratio'],
    ['ffmpeg, decoding only', peer.toFixed(3), '1.00'],
    ['sixteen players', own.toFixed(3), (own / peer).toFixed(2)],
  ]);
}

async function main() {
  const { values } = parseArgs({
    options: {
      seconds: { type: 'string', default: '10' },
      rounds: { type: 'string', default: '2' },
      profile: { type: 'boolean', default: false },
      json: { type: 'string' },
    },
  });
  const seconds = Number(values.seconds);
  const server = await startRtmpServer();
  const publisher = startTestPublisher(server.url());
  try {
    while (!(await server.status()).publishing) await sleep(100);
    const players = [];
    const peers = [];
    for (let round = 0; round < Number(values.rounds); round += 1) {
      players.push(await measurePlayers(server.url(), seconds));
      peers.push(await measurePeer(server.url(), seconds));
      console.error(`${players.at(-1).cores.toFixed(3)} cores, ffmpeg ${peers.at(-1).toFixed(3)}`);
    }
    report(players, peers);
    if (values.json) fs.writeFileSync(values.json, JSON.stringify({ players, peers }, null, 1));
    if (values.profile) {
      const profile = (child) => profileProcess(child.process.pid, seconds);
      const { result } = await withPlayers(server.url(), seconds, profile);
      console.log(`\n${result}`);
    }
  } finally {
    await publisher.stop();
    await server.stop();
  }
}

main().catch((error) => {
  console.error(error);
  process.exitCode = 1;
});
