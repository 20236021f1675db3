'use strict';

// Lip-sync: the offset of audio to video in players, for each protocol. Every second of a clip
// begins with a flash and a beep. Frames are stamped where they leave the player, beeps where the
// sound server plays them, both by the monotonic clock. Four players play each source concurrently:
// this engine with its defaults, with the preset "lowest", measured in JavaScript, and GStreamer's
// playbin as the reference.
//
// Usage: node bench/lip_sync.js [--seconds N] [--settle N] [--protocols A,B] [--players A,B]
//          [--json FILE] [--plot FILE.svg]

const fs = require('node:fs');
const os = require('node:os');
const path = require('node:path');
const { setTimeout: sleep } = require('node:timers/promises');
const { parseArgs } = require('node:util');
const { writeClip } = require('./lib/av_clip');
const { PLAYERS, startObservedPlayer } = require('./lib/av_players');
const { SOURCES } = require('./lib/av_sources');
const { measureSync } = require('./lib/av_sync');
const { calibrateRecorder } = require('./lib/calibration');
const { watchMachine } = require('./lib/machine_load');
const { printTable } = require('./lib/numbers');
const { plotLanes } = require('./lib/plot');
const { startSoundServer } = require('../test/e2e/support/sound_server');

const B_FRAMES = '+b'; // a protocol's variant with frames that the decoder reorders
const PROTOCOLS = [
  ...['file', 'http', 'rtmp', 'http-flv', 'hls', 'srt', 'rtsp-udp', 'rtsp-tcp'],
  ...['file+b', 'rtmp+b', 'http-flv+b', 'srt+b', 'rtsp-udp+b'],
];
const START_SECONDS = 8; // for opening, in addition to the measured time
const LIMIT_MS = 40;

const OPTIONS = {
  seconds: { type: 'string', default: '60' },
  settle: { type: 'string', default: '3' },
  protocols: { type: 'string', default: PROTOCOLS.join(',') },
  players: { type: 'string', default: Object.keys(PLAYERS).join(',') },
  json: { type: 'string' },
  plot: { type: 'string' },
};

/** Plays one source in all players concurrently. @returns {Promise<Record<string, object>>} */
async function measureProtocol(
  protocol,
  { clips, soundServer, names, seconds, settleSeconds, offset },
) {
  const kind = protocol.replace(B_FRAMES, '');
  const clip = protocol.endsWith(B_FRAMES) ? clips.reordered : clips.plain;
  const source = await SOURCES[kind]({ clip, pace: 1, clients: names.length });
  try {
    const players = await Promise.all(
      names.map((name, index) => startObservedPlayer(soundServer, name, source.url(index))),
    );
    const machine = watchMachine();
    await sleep((seconds + settleSeconds) * 1000 + 2000);
    const load = machine.stop();
    const results = {};
    for (const [index, name] of names.entries()) {
      const observed = await players[index].stop();
      const options = { recorderOffsetMs: offset, settleSeconds };
      results[name] = { ...measureSync(observed, options), load, errors: observed.errors };
    }
    return results;
  } finally {
    await source.stop();
  }
}

const number = (value, digits = 1) => (Number.isFinite(value) ? value.toFixed(digits) : '-');

function tableRow(protocol, name, result) {
  const { offset = {}, driftPerMinute, fps, intervalDeviation } = result;
  return [
    ...[protocol, name, number(offset.mean), number(offset.deviation)],
    ...[number(offset.min), number(offset.max), number(driftPerMinute), number(fps, 2)],
    ...[number(intervalDeviation), result.missingFlashes, result.missingBeeps],
    ...[result.load, result.errors[0]?.split('\n')[0].slice(0, 40) ?? ''],
  ];
}

const HEAD = [
  ...['protocol', 'player', 'A-V ms', 'sd', 'min', 'max', 'drift/min', 'frames/s', 'sd interval'],
  ...['lost flashes', 'lost beeps', 'load, late', 'error'],
];

async function main() {
  const { values } = parseArgs({ options: OPTIONS });
  const seconds = Number(values.seconds);
  const settleSeconds = Number(values.settle);
  const names = values.players.split(',');
  const folder = fs.mkdtempSync(path.join(os.tmpdir(), 'lip-sync-'));
  const clips = {
    plain: path.join(folder, 'plain.mp4'),
    reordered: path.join(folder, 'reordered.mp4'),
  };
  const soundServer = await startSoundServer();
  try {
    await writeClip(clips.plain, seconds + settleSeconds + START_SECONDS);
    await writeClip(clips.reordered, seconds + settleSeconds + START_SECONDS, { bFrames: true });
    const calibration = await calibrateRecorder(soundServer);
    console.log(
      `The recorder is ${number(calibration.mean)} ms late (sd ${number(calibration.deviation, 2)}` +
        ' ms) against the sound server; subtracted below.\n',
    );
    const rows = [HEAD];
    const results = {};
    for (const protocol of values.protocols.split(',')) {
      const options = {
        clips,
        soundServer,
        names,
        seconds,
        settleSeconds,
        offset: calibration.mean,
      };
      results[protocol] = await measureProtocol(protocol, options);
      for (const name of names) {
        rows.push(tableRow(protocol, name, results[protocol][name]));
        console.error(rows.at(-1).join('  '));
      }
    }
    console.log();
    printTable(rows);
    if (values.json) {
      fs.writeFileSync(values.json, JSON.stringify({ seconds, calibration, results }, null, 1));
    }
    if (values.plot) fs.writeFileSync(values.plot, plotResults(results, names, seconds));
  } finally {
    await soundServer.stop();
    fs.rmSync(folder, { recursive: true });
  }
}

function plotResults(results, names, seconds) {
  return plotLanes({
    title: 'Audio minus video, ms (positive: audio is late)',
    xLabel: 's',
    xMax: seconds,
    yMax: 200,
    band: LIMIT_MS,
    series: names,
    lanes: Object.entries(results).map(([protocol, players]) => ({
      name: protocol,
      series: names.map((name) => {
        const { points } = players[name];
        const begin = points[0]?.ms ?? 0;
        return points.map(({ ms, offset }) => ({ x: (ms - begin) / 1000, y: offset }));
      }),
    })),
  });
}

main().catch((error) => {
  console.error(error);
  process.exitCode = 1;
});
