'use strict';

// Glass-to-glass latency: the age of a frame when JavaScript receives it back from the server. A
// plug-in writes the time into each captured frame (time_code.cc); the frame is encoded, published,
// played and read. The same stream is decoded concurrently by ffmpeg, without buffering, and read
// from its output in the same way. A second player has the preset "lowest", which presents each
// frame when it is decoded. Ends with the ratios of the medians.
//
// Usage: node bench/latency.js [--seconds N]

const path = require('node:path');
const { setTimeout: sleep } = require('node:timers/promises');
const { parseArgs } = require('node:util');
const { sdkDirectory } = require('../lib');
const { openLivePush } = require('../test/e2e/support/live_push');
const { openPlayer } = require('../test/e2e/support/player');
const { startChild } = require('../tools/rtmp/child');
const { onPieces } = require('../tools/rtmp/output');
const { startRtmpServer } = require('../tools/rtmp/rtmp_server');
const { BITS, readCode } = require('./lib/frame_code');
const { watchMachine } = require('./lib/machine_load');
const { printTable, quantile } = require('./lib/numbers');

const WIDTH = 1280;
const HEIGHT = 720;
const ROW = 16; // of those that carry the code
const SETTLE_SECONDS = 15; // for the jitter buffers to settle
const LOWEST = JSON.stringify({ latency: { preset: 'lowest' } });

/** @param {Buffer} row of luma @returns {number} milliseconds since the code in it was written */
function ageOf(row) {
  const now = Number(process.hrtime.bigint() / 1_000_000n);
  return (now - readCode(row, WIDTH)) % 2 ** BITS; // NaN for a frame without a code
}

/** Decodes `url` with ffmpeg, and passes one row of each frame to `onRow`. */
function startPeer(url, onRow) {
  const child = startChild('ffmpeg', [
    ...['-v', 'error', '-nostdin', '-fflags', 'nobuffer', '-flags', 'low_delay'],
    ...['-probesize', '32768', '-analyzeduration', '0', '-i', url, '-an', '-vsync', 'passthrough'],
    ...['-vf', `crop=${WIDTH}:2:0:${ROW}`, '-pix_fmt', 'gray', '-f', 'rawvideo', '-flush_packets'],
    ...['1', '-'],
  ]);
  onPieces(child.process.stdout, WIDTH * 2, onRow);
  return child;
}

async function main() {
  const { values } = parseArgs({ options: { seconds: { type: 'string', default: '15' } } });
  const server = await startRtmpServer();
  const live = openLivePush({
    config: { width: WIDTH, height: HEIGHT, frameRate: 30, mTargetVideoBitrate: 2000 },
  });
  const plugin = path.join(sdkDirectory, 'bench/time_code.so');
  if (live.push.addPlugin({ id: 'time', path: plugin }) !== 0) throw new Error(plugin);
  live.push.enablePlugin('time', true);
  const pushed = live.next('onFirstFramePushed');
  live.push.startPush(server.url());
  await pushed;

  const players = { default: openPlayer(live) };
  live.push.setExtraConfig(LOWEST);
  players.lowest = openPlayer(live);
  for (const player of Object.values(players)) await player.play(server.url());
  const ages = { default: [], lowest: [], ffmpeg: [] };
  let measuring = false;
  const note = (name) => (row) => {
    const age = ageOf(row);
    if (measuring && Number.isFinite(age)) ages[name].push(age);
  };
  const peer = startPeer(server.url(), note('ffmpeg'));
  const names = new Map(Object.entries(players).map(([name, { id }]) => [id, name]));
  live.push.addEventListener('onVideoRenderData', (frames) => {
    for (const { user_id: id, data_y: luma, data_y_len: size } of frames) {
      const name = names.get(id);
      if (name) note(name)(luma.subarray((ROW * size) / HEIGHT));
    }
  });
  await sleep(SETTLE_SECONDS * 1000);
  measuring = true;
  const machine = watchMachine();
  await sleep(Number(values.seconds) * 1000);
  console.log(`load, lateness of timers: ${machine.stop()}`);
  await peer.stop();
  await server.stop();

  const base = quantile(ages.ffmpeg);
  const row = (name, list) => [
    ...[name, list.length, `${quantile(list)} ms`, `${quantile(list, 0.95)} ms`],
    (quantile(list) / base).toFixed(2),
  ];
  printTable([
    ['capture to JavaScript, 1280x720', 'frames', 'median', '95 %', 'ratio'],
    row('ffmpeg decoding the same stream', ages.ffmpeg),
    row('a player of this engine', ages.default),
    row('the same, preset "lowest"', ages.lowest),
  ]);
  process.exit();
}

main();
