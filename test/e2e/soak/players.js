'use strict';

// A long check, not part of the suite: one player for each live protocol, all concurrently, each in
// a process of its own. First they play undisturbed: the latency of the frames, memory, descriptors
// and threads must stay level. Then the source freezes for ten seconds, a publisher of another size
// and rate takes over, and the server dies and restarts: each player must resume.
//
// Usage: node test/e2e/soak/players.js [--minutes N] [--protocols A,B] [--json FILE]
//
// Prints a table: for each disturbance, the longest time without a frame and the frame rate
// afterwards. The exit code is 0 if all players passed.

const fs = require('node:fs');
const os = require('node:os');
const path = require('node:path');
const { setTimeout: sleep } = require('node:timers/promises');
const { parseArgs } = require('node:util');
const { CLIP, writeClip } = require('../../../bench/lib/av_clip');
const { printTable, quantile } = require('../../../bench/lib/numbers');
const { runChild, startChild } = require('../../../tools/rtmp/child');
const { onLines } = require('../../../tools/rtmp/output');
const { startSoundServer } = require('../support/sound_server');
const { LIVE_SOURCES } = require('./live_sources');

const FROZEN_MS = 10_000;
const RECOVERY_MS = 12_000; // time for a player to regain its usual rate
const RATE_SECONDS = 5; // over which a frame rate is taken
const OTHER = { width: 640, height: 360, fps: 25, rate: 44_100 };
const LIMITS = { latencyMs: 40, mib: 8, descriptors: 2, threads: 2 };

const PLAYER = path.join(__dirname, '../../../bench/lib/frame_times_process.js');

/** The clip of the other publisher: another size, frame rate, sample rate and channel count. */
function writeOtherClip(file, seconds) {
  const { width, height, fps, rate } = OTHER;
  const options = [
    ...['-v', 'error', '-f', 'lavfi', '-i', `testsrc2=size=${width}x${height}:rate=${fps}`],
    ...['-f', 'lavfi', '-i', `sine=frequency=880:sample_rate=${rate}`, '-t', String(seconds)],
    ...['-c:v', 'libx264', '-preset', 'veryfast', '-g', String(fps), '-bf', '2', '-c:a', 'aac'],
    ...['-pix_fmt', 'yuv420p', '-ac', '2', '-movflags', '+faststart', '-y', file],
  ];
  return runChild('ffmpeg', options, { deadlineSeconds: 300 });
}

function usageOf(pid) {
  const status = fs.readFileSync(`/proc/${pid}/status`, 'utf8');
  return {
    mib: Number(status.match(/VmRSS:\s+(\d+)/)[1]) / 1024,
    descriptors: fs.readdirSync(`/proc/${pid}/fd`).length,
    threads: fs.readdirSync(`/proc/${pid}/task`).length,
  };
}

/** A player's process, its frames and its resource usage. */
function watchPlayer(soundServer, url) {
  const child = startChild('env', [
    ...soundServer.environment('default_output'),
    'node',
    PLAYER,
    url,
  ]);
  const frames = [];
  const errors = [];
  onLines(child.process.stdout, (line) => {
    const [kind, ...rest] = line.split(' ');
    if (kind === 'error') errors.push(rest.join(' '));
    if (kind !== 'frame') return;
    frames.push({ ms: Number(rest[0]) / 1e6, code: Number(rest[1]), at: performance.now() });
  });
  child.ended.then((reason) => errors.push(reason));
  return { child, frames, errors };
}

async function rateOf({ frames }) {
  await sleep(RATE_SECONDS * 1000);
  const from = performance.now() - RATE_SECONDS * 1000;
  return frames.filter(({ at }) => at > from).length / RATE_SECONDS;
}

/** The first and the last tenth of a list of records, each as the medians of its fields. */
function ends(records) {
  const part = Math.max(1, Math.floor(records.length / 10));
  const middle = (list) =>
    Object.fromEntries(
      Object.keys(list[0]).map((key) => [key, quantile(list.map((record) => record[key]))]),
    );
  return { first: middle(records.slice(0, part)), last: middle(records.slice(-part)) };
}

async function playUndisturbed(player, milliseconds) {
  await sleep(Math.min(milliseconds / 5, 30_000)); // until it has settled
  const from = performance.now();
  const usages = [];
  while (performance.now() - from < milliseconds) {
    usages.push(usageOf(player.child.process.pid));
    await sleep(1000);
  }
  const ages = player.frames
    .filter(({ at, code }) => at >= from && code >= 0)
    .map(({ ms, code }) => ({ latencyMs: ms - (code * 1000) / CLIP.fps }));
  const fps = ages.length / ((performance.now() - from) / 1000);
  player.frames.length = 0;
  if (ages.length === 0) return { fps };
  const [usage, age] = [ends(usages), ends(ages)];
  return { fps, usage, latencyChangeMs: age.last.latencyMs - age.first.latencyMs };
}

/**
 * Measures the effect of a disturbance on the frames.
 *
 * @returns {Promise<{gapMs: number, fps: number}>} the longest time without a frame, and the frame
 *   rate at last
 */
async function survive(player, disturb) {
  const from = performance.now();
  await disturb();
  await sleep(RECOVERY_MS);
  const fps = await rateOf(player);
  const times = player.frames.map(({ at }) => at).filter((at) => at > from);
  times.push(performance.now());
  const gaps = times.map((at, index) => at - (times[index - 1] ?? from));
  return { gapMs: Math.max(...gaps), fps };
}

async function soak(protocol, { clip, other, soundServer, milliseconds }) {
  const source = await LIVE_SOURCES[protocol](clip);
  const player = watchPlayer(soundServer, source.url);
  try {
    const level = await playUndisturbed(player, milliseconds);
    const frozen = await survive(player, async () => {
      source.freeze();
      await sleep(FROZEN_MS);
      source.thaw();
    });
    const changed = await survive(player, () => source.change(other));
    const restarted = await survive(player, source.restart);
    const errors = [...player.errors];
    await player.child.stop();
    return { ...level, frozen, changed, restarted, errors };
  } finally {
    await source.stop();
  }
}

function isGood({ latencyChangeMs, usage, frozen, changed, restarted, errors }) {
  const grown = (key) => usage.last[key] - usage.first[key];
  const isBack = ({ fps }, wanted) => Math.abs(fps - wanted) < 3;
  return (
    errors.length === 0 &&
    Math.abs(latencyChangeMs) <= LIMITS.latencyMs &&
    ['mib', 'descriptors', 'threads'].every((key) => grown(key) <= LIMITS[key]) &&
    isBack(frozen, CLIP.fps) &&
    isBack(changed, OTHER.fps) &&
    isBack(restarted, OTHER.fps)
  );
}

function tableRow(protocol, result) {
  const { fps, usage, latencyChangeMs, errors } = result;
  const both = (key) =>
    usage ? `${usage.first[key].toFixed(0)} to ${usage.last[key].toFixed(0)}` : '-';
  const back = ({ gapMs, fps: rate }) => `${(gapMs / 1000).toFixed(1)} s, ${rate.toFixed(1)}/s`;
  return [
    ...[protocol, fps.toFixed(2), latencyChangeMs?.toFixed(1) ?? '-', both('mib')],
    ...[both('descriptors'), both('threads')],
    ...[back(result.frozen), back(result.changed), back(result.restarted)],
    ...[usage && isGood(result) ? 'good' : 'BAD', errors[0]?.split('\n')[0] ?? ''],
  ];
}

const HEAD = [
  ...['protocol', 'frames/s', 'latency ms', 'MiB', 'descriptors', 'threads', 'frozen for 10 s'],
  ...['other publisher', 'server restarted', 'result', 'error'],
];

async function main() {
  const { values } = parseArgs({
    options: {
      minutes: { type: 'string', default: '10' },
      protocols: { type: 'string', default: Object.keys(LIVE_SOURCES).join(',') },
      json: { type: 'string' },
    },
  });
  const milliseconds = Number(values.minutes) * 60_000;
  const folder = fs.mkdtempSync(path.join(os.tmpdir(), 'soak-players-'));
  const clips = { clip: path.join(folder, 'clip.mp4'), other: path.join(folder, 'other.mp4') };
  const soundServer = await startSoundServer();
  try {
    await writeClip(clips.clip, Math.ceil(milliseconds / 1000) + 120);
    await writeOtherClip(clips.other, 120);
    const protocols = values.protocols.split(',');
    const results = await Promise.all(
      protocols.map((protocol) => soak(protocol, { ...clips, soundServer, milliseconds })),
    );
    printTable([HEAD, ...results.map((result, index) => tableRow(protocols[index], result))]);
    if (values.json) {
      const named = Object.fromEntries(results.map((result, i) => [protocols[i], result]));
      fs.writeFileSync(values.json, JSON.stringify(named, null, 1));
    }
    process.exitCode = results.every((result) => result.usage && isGood(result)) ? 0 : 1;
  } finally {
    await soundServer.stop();
    fs.rmSync(folder, { recursive: true, force: true });
  }
}

main().catch((error) => {
  console.error(error);
  process.exitCode = 2;
});
