'use strict';

const assert = require('node:assert/strict');
const fs = require('node:fs');
const os = require('node:os');
const path = require('node:path');
const { after, before, describe, it } = require('node:test');
const { startChild } = require('../../tools/rtmp/child');
const { onPieces } = require('../../tools/rtmp/output');
const { startTestPublisher } = require('../../tools/rtmp/publisher');
const { startRtmpServer } = require('../../tools/rtmp/rtmp_server');
const { openLivePush } = require('./support/live_push');
const { openPlayer } = require('./support/player');

const GUARD = { timeout: 60_000 };
const SAMPLE_BYTES = 2;
const PIECE = 4800; // samples, a tenth of a second

/** A sound server of the test's own, whose only output is a null sink that can be recorded. */
async function startSoundSystem(folder) {
  const socket = path.join(folder, 'sound.socket');
  const system = startChild('env', [
    ...[`HOME=${folder}`, `XDG_RUNTIME_DIR=${folder}`, 'pulseaudio', '-n', '--daemonize=no'],
    ...['--exit-idle-time=-1', '--use-pid-file=no', '--disallow-exit', '--log-level=error'],
    ...['-L', `module-native-protocol-unix auth-anonymous=1 socket=${socket}`],
    ...['-L', 'module-null-sink sink_name=out rate=48000'],
  ]);
  process.env.PULSE_SERVER = `unix:${socket}`;
  let ended;
  system.ended.then((reason) => {
    ended = reason;
  });
  while (!fs.existsSync(socket)) {
    if (ended) throw new Error(ended);
    await new Promise((resolve) => setTimeout(resolve, 20));
  }
  return system;
}

/**
 * Reports the RMS level of the played audio, chunk by chunk. @param {(rms: number) => void} onPiece
 */
function listen(onPiece) {
  const format = ['--format=s16le', '--rate=48000', '--channels=1', '--latency-msec=50'];
  const recorder = startChild('parec', ['--device=out.monitor', ...format]);
  onPieces(recorder.process.stdout, PIECE * SAMPLE_BYTES, (piece) => {
    let sum = 0;
    for (let i = 0; i < PIECE; i += 1) sum += piece.readInt16LE(i * SAMPLE_BYTES) ** 2;
    onPiece(Math.sqrt(sum / PIECE));
  });
  return recorder;
}

describe('the audio of a player', GUARD, () => {
  let folder;
  let system;
  let recorder;
  let server;
  let publisher;
  let live;
  let player;
  let onPiece = () => {};
  before(async () => {
    folder = fs.mkdtempSync(path.join(os.tmpdir(), 'playback-sound-'));
    system = await startSoundSystem(folder);
    recorder = listen((rms) => onPiece(rms));
    server = await startRtmpServer();
    publisher = startTestPublisher(server.url());
    live = openLivePush();
    player = openPlayer(live);
  });
  after(async () => {
    player.close();
    live.close();
    await publisher.stop();
    await server.stop();
    await recorder.stop();
    await system.stop();
    fs.rmSync(folder, { recursive: true });
  });

  /** Resolves when the played audio stays near `loudness` for half a second. */
  function untilLoudness(loudness) {
    return new Promise((resolve) => {
      let inARow = 0;
      onPiece = (rms) => {
        const near = Math.abs(rms - loudness) <= Math.max(loudness * 0.1, 3);
        inARow = near ? inARow + 1 : 0;
        if (inARow >= 5) resolve();
      };
    });
  }

  // ffmpeg's tone has an eighth of full scale.
  const TONE = 32767 / 8 / Math.SQRT2;

  it('is played to the default output, at the set volume', async () => {
    await untilLoudness(0);
    await player.play(server.url());
    await untilLoudness(TONE);
    for (const volume of [50, 400, 0, 100]) {
      assert.equal(live.push.setRemoteAudioVolume(player.id, volume), 0);
      await untilLoudness((TONE * volume) / 100);
    }
    await player.stop();
    await untilLoudness(0);
  });

  it('is dropped when the output disappears, and the video continues', async () => {
    await player.play(server.url());
    await untilLoudness(TONE);
    await system.stop();
    for (let frame = 0; frame < 10; frame += 1) await player.nextFrame();
    assert.ok(!player.names().includes('onPlayError'));
    await player.stop();
    await player.play(server.url());
    await player.stop();
  });
});
