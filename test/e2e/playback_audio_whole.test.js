'use strict';

const assert = require('node:assert/strict');
const fs = require('node:fs');
const os = require('node:os');
const path = require('node:path');
const { setTimeout: sleep } = require('node:timers/promises');
const { after, before, describe, it } = require('node:test');
const { startChild } = require('../../tools/rtmp/child');
const { writeTestFile } = require('../../tools/rtmp/publisher');
const { freePort, startRtmpServer } = require('../../tools/rtmp/rtmp_server');
const { startRecorder } = require('./support/audio_recorder');
const { openLivePush } = require('./support/live_push');
const { openPlayer } = require('./support/player');
const { startSoundServer } = require('./support/sound_server');
const { examineTone } = require('./support/tone');

const GUARD = { timeout: 60_000 };
const HERTZ = 440;
const SECONDS = 10;
const SETTLE_SECONDS = 2;
const START_SECONDS = 5; // the player's time to start

describe('the audio of a live stream is continuous', GUARD, () => {
  let folder;
  let clip;
  let soundServer;
  let live;
  before(async () => {
    folder = fs.mkdtempSync(path.join(os.tmpdir(), 'audio-whole-'));
    clip = path.join(folder, 'tone.mp4');
    await writeTestFile(clip, SECONDS + SETTLE_SECONDS + START_SECONDS, { tone: HERTZ });
    soundServer = await startSoundServer();
    // Read when the first player opens the audio output.
    process.env.PULSE_SERVER = soundServer.address;
    live = openLivePush();
  });
  after(async () => {
    live.close();
    await soundServer.stop();
    fs.rmSync(folder, { recursive: true });
  });

  /** Sends the clip in real time. Nothing is encoded, so that a busy machine causes no gaps. */
  const send = (format, url) =>
    startChild('ffmpeg', [
      ...['-v', 'error', '-nostdin', '-re', '-i', clip, '-c', 'copy', '-f', format, url],
    ]);

  /** Plays a tone from `url`; it must reach the output without a gap. */
  async function expectWhole(url) {
    const player = openPlayer(live);
    const recorder = startRecorder(soundServer.environment('default_output'));
    try {
      await player.play(url);
      // Statistics come once a second.
      for (let i = 0; i < SETTLE_SECONDS + SECONDS; i += 1) await player.next('onPlayerStatistics');
    } finally {
      player.close();
    }
    const options = { hertz: HERTZ, settleSeconds: SETTLE_SECONDS, tailSeconds: 1 };
    const { seconds, gaps } = examineTone(await recorder.stop(), options);
    assert.ok(seconds > SECONDS - 3, `${seconds} s of the tone were recorded`);
    assert.deepEqual(gaps, []);
  }

  it('over RTMP', async () => {
    const server = await startRtmpServer();
    const publisher = send('flv', server.url());
    try {
      while (!(await server.status()).publishing) await sleep(20);
      await expectWhole(server.url());
    } finally {
      await publisher.stop();
      await server.stop();
    }
  });

  it('over SRT, which carries several audio chunks in one packet', async () => {
    const url = `srt://127.0.0.1:${await freePort()}`;
    const publisher = send('mpegts', `${url}?mode=listener&pkt_size=1316`);
    try {
      await expectWhole(url);
    } finally {
      await publisher.stop();
    }
  });
});
