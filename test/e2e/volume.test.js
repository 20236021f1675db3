'use strict';

const assert = require('node:assert/strict');
const fs = require('node:fs');
const os = require('node:os');
const path = require('node:path');
const { after, afterEach, before, describe, it } = require('node:test');
const { startRtmpServer } = require('../../tools/rtmp/rtmp_server');
const { openLivePush } = require('./support/live_push');
const { openPlayer } = require('./support/player');
const { AUDIO, startAudioPublisher, writeAudioFile } = require('./support/test_audio');

const GUARD = { timeout: 90_000 };
const INVALID_ARGUMENT = -2002;
const USER = { local: 0, remote: 2 };
const LOCAL_SPEAKER = { userType: USER.local, playerID: '' };
// The SDK's test tone has a fifth of full scale.
const TEST_TONE = 255 / 5;

describe('volume reports', GUARD, () => {
  let live;
  afterEach(() => live?.close());

  /** A pusher that captures audio and reports volumes. */
  function openReporting(options, extra = {}) {
    live = openLivePush({ extra, config: { mAudioOnly: true } });
    assert.equal(live.push.startPreview({ view: null, width: 64, height: 64 }), 0);
    assert.equal(live.push.enableAudioVolumeIndication(options), 0);
  }

  const isLocal = ({ userType }) => userType === USER.local;
  const nextLocal = (accept = () => true) =>
    live.next('onAudioVolumeCallback', (report) => isLocal(report) && accept(report));

  it('the test tone has its level, at the requested interval; muted it is 0', async () => {
    openReporting({ interval: 100 });
    await nextLocal(({ volume }) => Math.abs(volume - TEST_TONE) <= 1);
    const began = process.hrtime.bigint();
    const COUNT = 30;
    for (let report = 0; report < COUNT; report += 1) {
      const { volume, ...rest } = await nextLocal();
      assert.ok(Math.abs(volume - TEST_TONE) <= 1, `${volume}`);
      assert.deepEqual(rest, {
        userType: USER.local,
        playerID: '',
        speechState: false,
        sumVolume: volume,
        volumeInfoCount: 1,
        totalVolume: volume,
      });
    }
    const seconds = Number(process.hrtime.bigint() - began) / 1e9;
    assert.ok(Math.abs(seconds - COUNT / 10) < 0.15, `${COUNT} reports in ${seconds} s`);

    live.push.setMute({ mute: true, mode: 0 });
    await nextLocal();
    for (let report = 0; report < 5; report += 1) assert.equal((await nextLocal()).volume, 0);
  });

  it('invalid arguments are refused', () => {
    live = openLivePush();
    const refused = [{ interval: 5 }, { interval: 60_000 }, { interval: 100, smooth: 11 }];
    for (const options of refused) {
      assert.equal(live.push.enableAudioVolumeIndication(options), INVALID_ARGUMENT);
    }
    assert.equal(live.push.enableAudioVolumeIndication({}), 0);
  });

  describe('distinguish voice from other audio:', () => {
    const QUIET_SECONDS = 4;
    let folder;
    let file;
    before(async () => {
      folder = fs.mkdtempSync(path.join(os.tmpdir(), 'volume-'));
      file = path.join(folder, 'words.mkv');
      await writeAudioFile(file, [
        { filter: AUDIO.silence, seconds: 1 },
        { filter: AUDIO.hiss, seconds: QUIET_SECONDS },
        { filter: AUDIO.speech, seconds: 8 },
      ]);
    });
    after(() => fs.rmSync(folder, { recursive: true }));

    it('words are, the noise of a microphone and a tone are not', async () => {
      openReporting({ interval: 50, reportVad: 1 }, { camera: `file:${file}`, microphone: 'file' });
      const speaker = live.next('onActiveSpeaker');
      // From silence into the noise.
      await nextLocal(({ volume }) => volume > 0);
      for (let passed = 0; passed < QUIET_SECONDS - 1; passed += 0.05) {
        const { volume, speechState } = await nextLocal();
        assert.ok(volume > 0 && volume < 10 && !speechState, `${volume}, ${speechState}`);
      }
      await nextLocal(({ speechState }) => speechState);
      let spoken = 0;
      const COUNT = 60;
      for (let report = 0; report < COUNT; report += 1) {
        if ((await nextLocal()).speechState) spoken += 1;
      }
      assert.ok(spoken > COUNT * 0.8, `${spoken} of ${COUNT}`);
      assert.deepEqual(await speaker, LOCAL_SPEAKER);
    });

    it('a steady tone is not', async () => {
      openReporting({ interval: 50, reportVad: 1 });
      await nextLocal(({ volume }) => volume > 0);
      for (let report = 0; report < 40; report += 1) {
        assert.equal((await nextLocal()).speechState, false);
      }
    });
  });

  it('a player has a record of its own, and becomes the active speaker', async () => {
    const server = await startRtmpServer();
    const publisher = startAudioPublisher(server.url('loud'), AUDIO.tone(0.8));
    try {
      while (!(await server.status('loud')).publishing) {
        await new Promise((resolve) => setTimeout(resolve, 20));
      }
      openReporting({ interval: 100 });
      assert.deepEqual(await live.next('onActiveSpeaker'), LOCAL_SPEAKER, 'the test tone is alone');
      const player = openPlayer(live);
      const speaker = live.next('onActiveSpeaker');
      await player.play(server.url('loud'));
      const LOUD = 255 * 0.8;
      const { totalVolume, ...report } = await player.next(
        'onAudioVolumeCallback',
        ({ volume }) => Math.abs(volume - LOUD) < 10,
      );
      assert.deepEqual(
        { ...report, volume: undefined, sumVolume: undefined },
        {
          ...{ userType: USER.remote, playerID: player.id, speechState: false },
          ...{ volume: undefined, sumVolume: undefined, volumeInfoCount: 1 },
        },
      );
      assert.equal(report.sumVolume, totalVolume);
      assert.ok(totalVolume > LOUD, `${totalVolume}`);
      assert.equal((await nextLocal()).volumeInfoCount, 2);
      assert.deepEqual(await speaker, { userType: USER.remote, playerID: player.id });

      // A silent player does not speak.
      const taken = live.next('onActiveSpeaker');
      live.push.setRemoteAudioVolume(player.id, 0);
      await player.next('onAudioVolumeCallback', ({ volume }) => volume === 0);
      assert.deepEqual(await taken, LOCAL_SPEAKER);
      player.close();
      await nextLocal(({ volumeInfoCount }) => volumeInfoCount === 1);
    } finally {
      await publisher.stop();
      await server.stop();
    }
  });
});
