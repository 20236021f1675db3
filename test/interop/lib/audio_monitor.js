'use strict';

// Records the audio that a player plays: a PulseAudio daemon without devices, with a null sink and
// a recorder on its monitor.

const fs = require('node:fs');
const os = require('node:os');
const path = require('node:path');
const { setTimeout: sleep } = require('node:timers/promises');
const { runChild, startChild } = require('../../../tools/rtmp/child');

const RATE = 48_000;
const CHANNELS = 2;
const FRAME_BYTES = 2 * CHANNELS;
const PIECE_MS = 10;
const PIECE = (RATE * PIECE_MS) / 1000;
const AUDIBLE = 300; // of 32767; the clips' tones have 8192
const KEPT_SECONDS = 60;
const SINK = 'out';

/**
 * An audio server for one player. Each has its own: PulseAudio may abort when a client is killed.
 *
 * @returns {Promise<{env: NodeJS.ProcessEnv, between: Function, stop: () => Promise<void>}>} `env`
 *   is for the player's environment
 */
async function startAudioServer() {
  const folder = fs.mkdtempSync(path.join(os.tmpdir(), 'interop-audio-'));
  const socket = path.join(folder, 'socket');
  const daemon = startChild('env', [
    ...[`HOME=${folder}`, `XDG_RUNTIME_DIR=${folder}`, 'pulseaudio', '-n', '--daemonize=no'],
    ...['--exit-idle-time=-1', '--use-pid-file=no', '--disallow-exit', '--log-level=error'],
    // On a busy machine the kernel ends real-time threads that use too much.
    ...['--realtime=no', '--high-priority=no', '--disable-shm=yes'],
    ...['-L', `module-native-protocol-unix auth-anonymous=1 socket=${socket}`],
    ...['-L', `module-null-sink sink_name=${SINK} rate=${RATE}`],
  ]);
  daemon.process.stdout.resume();
  let ended;
  daemon.ended.then((reason) => {
    ended = reason;
  });
  const check = () => {
    if (ended) throw new Error(`the audio server: ${ended}`);
  };
  for (; !fs.existsSync(socket); await sleep(20)) check();
  const env = { PULSE_SERVER: `unix:${socket}` };
  const recorder = await startRecorder(env);
  return {
    env,
    /**
     * Analyses the audio between two times of the wall clock.
     *
     * @returns {AudibleAudio}
     * @throws {Error} when the server has ended
     */
    between(from, to) {
      check();
      return recorder.between(from, to);
    },
    async stop() {
      await recorder.stop();
      await daemon.stop();
      fs.rmSync(folder, { recursive: true, force: true });
    },
  };
}

/**
 * @typedef {object} AudibleAudio
 * @property {number} [firstMs] from `from` until something was audible
 * @property {number} silenceMs how much of the time after that was silence
 * @property {number[]} gaps when each gap of the audio began, in milliseconds since `from`
 * @property {number[]} pitch Hz, left and right, of the last two audible seconds
 */

async function startRecorder(env) {
  const format = ['--format=s16le', `--rate=${RATE}`, `--channels=${CHANNELS}`];
  const variables = Object.entries(env).map(([key, value]) => `${key}=${value}`);
  const child = startChild('env', [
    ...variables,
    ...['parec', `--device=${SINK}.monitor`, ...format, '--latency-msec=20'],
  ]);
  const pieces = [];
  let rest = Buffer.alloc(0);
  let markReady;
  const ready = new Promise((resolve) => {
    markReady = resolve;
  });
  child.process.stdout.on('data', (data) => {
    markReady();
    rest = Buffer.concat([rest, data]);
    const bytes = PIECE * FRAME_BYTES;
    // The newest sample is of now.
    const now = Date.now();
    const count = Math.floor(rest.length / bytes);
    for (let index = 0; index < count; index += 1) {
      const at = now - (count - index) * PIECE_MS;
      pieces.push({ at, data: Buffer.from(rest.subarray(index * bytes, (index + 1) * bytes)) });
    }
    rest = rest.subarray(count * bytes);
    pieces.splice(0, Math.max(0, pieces.length - (KEPT_SECONDS * 1000) / PIECE_MS));
  });
  await Promise.race([ready, child.ended]);
  return {
    between: (from, to) =>
      analyse(
        pieces.filter(({ at }) => at >= from && at < to),
        from,
      ),
    stop: () => child.stop(),
  };
}

/** @returns {AudibleAudio} */
function analyse(pieces, from) {
  const audible = pieces.map(({ data }) => peak(data) > AUDIBLE);
  const first = audible.indexOf(true);
  if (first < 0) return { silenceMs: 0, gaps: [], pitch: [0, 0] };
  const after = audible.slice(first, audible.lastIndexOf(true) + 1);
  const tail = pieces.filter((_piece, index) => audible[index]).slice(-2000 / PIECE_MS);
  return {
    firstMs: pieces[first].at - from,
    silenceMs: (pieces.length - first - after.filter(Boolean).length) * PIECE_MS,
    gaps: after.flatMap((value, index) => {
      return !value && after[index - 1] ? [pieces[first + index].at - from] : [];
    }),
    pitch: [0, 1].map((channel) => pitch(tail, channel)),
  };
}

function peak(data) {
  let highest = 0;
  for (let place = 0; place < data.length; place += 2) {
    highest = Math.max(highest, Math.abs(data.readInt16LE(place)));
  }
  return highest;
}

/** Hz, by counting upward zero crossings; 0 for silence. */
function pitch(pieces, channel) {
  let rises = 0;
  let before = 0;
  let samples = 0;
  for (const { data } of pieces) {
    for (let place = 2 * channel; place < data.length; place += FRAME_BYTES) {
      const value = data.readInt16LE(place);
      // Small values keep the sign: noise around zero is ignored.
      if (Math.abs(value) < AUDIBLE) continue;
      if (before < 0 && value > 0) rises += 1;
      before = value;
    }
    samples += data.length / FRAME_BYTES;
  }
  return samples > 0 ? Math.round((rises * RATE) / samples) : 0;
}

/** Whether PulseAudio can be started here. */
async function hasAudioServer() {
  return runChild('pulseaudio', ['--version'], { deadlineSeconds: 10 }).then(
    () => true,
    () => false,
  );
}

module.exports = { hasAudioServer, startAudioServer };
