'use strict';

// Continuity of audio: a tone over each protocol, recorded as it is played, by this engine and by
// GStreamer's playbin concurrently. Counts silences and phase jumps, and prints the change of the
// frames' latency from the beginning to the end: with --pace the sender's clock is faster or slower
// than the true one.
//
// Usage: node bench/tone.js [--seconds N] [--protocols A,B] [--players A,B] [--pace 1.002]
//          [--json FILE]

const fs = require('node:fs');
const os = require('node:os');
const path = require('node:path');
const { setTimeout: sleep } = require('node:timers/promises');
const { parseArgs } = require('node:util');
const { startSoundServer } = require('../test/e2e/support/sound_server');
const { examineTone } = require('../test/e2e/support/tone');
const { CLIP, writeClip } = require('./lib/av_clip');
const { startObservedPlayer } = require('./lib/av_players');
const { SOURCES } = require('./lib/av_sources');
const { watchMachine } = require('./lib/machine_load');
const { printTable, quantile } = require('./lib/numbers');

const HERTZ = 440;
const SETTLE_SECONDS = 3;
const START_SECONDS = 8; // for opening, in addition to the measured time
const LEVEL_SECONDS = 5; // over which a latency is taken

const OPTIONS = {
  seconds: { type: 'string', default: '60' },
  protocols: { type: 'string', default: 'srt,rtmp,http-flv,rtsp-udp,rtsp-tcp' },
  players: { type: 'string', default: 'engine,lowest,reference' },
  pace: { type: 'string', default: '1' },
  json: { type: 'string' },
};

/** How much later frames arrive at the end than at the beginning, ms by the sender's own clock. */
function latencyChange(frames, pace) {
  const ages = frames
    .filter(({ code }) => code >= 0)
    .map(({ ms, code }) => ({ ms, age: ms - (code * 1000) / CLIP.fps / pace }));
  if (ages.length === 0) return Number.NaN;
  const [first, last] = [ages[0].ms + SETTLE_SECONDS * 1000, ages.at(-1).ms];
  const level = (from, to) =>
    quantile(ages.filter(({ ms }) => ms >= from && ms <= to).map(({ age }) => age));
  const span = LEVEL_SECONDS * 1000;
  return level(last - span, last) - level(first, first + span);
}

async function measureProtocol(protocol, { clip, soundServer, names, seconds, pace }) {
  const source = await SOURCES[protocol]({ clip, pace, clients: names.length });
  try {
    const players = await Promise.all(
      names.map((name, index) => startObservedPlayer(soundServer, name, source.url(index))),
    );
    const machine = watchMachine();
    await sleep((seconds + SETTLE_SECONDS) * 1000 + 1500);
    const load = machine.stop();
    const results = {};
    for (const [index, name] of names.entries()) {
      const { frames, recording, errors } = await players[index].stop();
      results[name] = { errors, load, latencyChange: latencyChange(frames, pace) };
      try {
        Object.assign(results[name], examineTone(recording, { settleSeconds: SETTLE_SECONDS }));
      } catch (error) {
        errors.push(error.message);
      }
    }
    return results;
  } finally {
    await source.stop();
  }
}

const number = (value) => (Number.isFinite(value) ? value.toFixed(1) : '-');

function tableRow(protocol, name, result) {
  return [
    ...[protocol, name, number(result.seconds), result.gaps?.length ?? '-'],
    ...[number(result.silenceMs), result.jumps?.length ?? '-', number(result.latencyChange)],
    ...[result.load, result.errors[0]?.split('\n')[0].slice(0, 40) ?? ''],
  ];
}

const HEAD = ['protocol', 'player', 'seconds', 'gaps', 'silence ms', 'phase jumps', 'latency ms'];

async function main() {
  const { values } = parseArgs({ options: OPTIONS });
  const [seconds, pace] = [Number(values.seconds), Number(values.pace)];
  const names = values.players.split(',');
  const folder = fs.mkdtempSync(path.join(os.tmpdir(), 'tone-'));
  const clip = path.join(folder, 'tone.mp4');
  const soundServer = await startSoundServer();
  try {
    await writeClip(clip, Math.ceil((seconds + SETTLE_SECONDS + START_SECONDS) * pace), {
      hertz: HERTZ,
    });
    const rows = [[...HEAD, 'load, late', 'error']];
    const results = {};
    for (const protocol of values.protocols.split(',')) {
      results[protocol] = await measureProtocol(protocol, {
        clip,
        soundServer,
        names,
        seconds,
        pace,
      });
      for (const name of names) {
        rows.push(tableRow(protocol, name, results[protocol][name]));
        console.error(rows.at(-1).join('  '));
      }
    }
    console.log(
      `A tone of ${HERTZ} Hz; the sender's clock runs ${pace} times as fast as the true one.`,
    );
    printTable(rows);
    if (values.json) {
      fs.writeFileSync(values.json, JSON.stringify({ seconds, pace, results }, null, 1));
    }
  } finally {
    await soundServer.stop();
    fs.rmSync(folder, { recursive: true });
  }
}

main().catch((error) => {
  console.error(error);
  process.exitCode = 1;
});
