'use strict';

// The encoder is changed while live: a player that runs all the time receives the changes, in one
// session with the server.

const assert = require('node:assert/strict');
const { after, before, describe, it } = require('node:test');
const { startRtmpServer } = require('../../tools/rtmp/rtmp_server');
const { probeStream, watchDecodedFrames } = require('../../tools/rtmp/witness');
const { openLivePush } = require('./support/live_push');
const { makeNoisyClip } = require('./support/noisy_clip');
const { watchRates } = require('./support/rates');
const { openThrottledLink } = require('./support/throttled_link');

const GUARD = { timeout: 60_000 };

describe('changing the encoder while live', GUARD, () => {
  let clip;
  let server;
  let live;
  before(async () => {
    clip = await makeNoisyClip();
    server = await startRtmpServer();
    live = openLivePush({
      extra: { camera: clip.camera },
      config: { mVideoEncodeGop: 1, mTargetVideoBitrate: 1500, enableBitrateControl: false },
    });
    const flowing = live.next('onFirstFramePushed');
    live.push.startPush(server.url());
    await flowing;
  });
  after(async () => {
    live.close();
    await server.stop();
    clip.remove();
  });

  it('the size, by code and by width and height', async () => {
    const sizes = [];
    const seen = [];
    const witness = watchDecodedFrames(server.url(), ({ width, height }) => {
      const size = `${width}x${height}`;
      if (sizes.at(-1) !== size) sizes.push(size);
      for (const waiter of [...seen]) waiter(size);
    });
    const untilSize = (wanted) =>
      new Promise((resolve) => seen.push((size) => size === wanted && resolve()));
    await untilSize('640x360');
    for (const [change, size] of [
      [{ resolution: 0 }, '320x180'],
      [{ resolution: 0, width: 480, height: 270 }, '480x270'],
      [{ resolution: 3 }, '848x480'],
    ]) {
      const described = live.next('onSendMessage');
      assert.equal(live.push.setResolution(change), 0);
      await untilSize(size);
      await described;
      const { width, height } = await server.status();
      assert.equal(`${width}x${height}`, size, 'the metadata agree');
    }
    await witness.stop();
    assert.deepEqual(sizes, ['640x360', '320x180', '480x270', '848x480']);
    live.push.setResolution({ width: 640, height: 360 });
  });

  it('the frame rate, down and up', async () => {
    const witness = watchRates(server.url());
    await witness.until(({ fps }) => fps > 25);
    assert.equal(live.push.setFps(10), 0);
    await witness.until(({ fps }) => fps <= 11);
    assert.equal(live.push.setFps(20), 0);
    await witness.until(({ fps }) => fps >= 18 && fps <= 22);
    await witness.stop();
    assert.equal((await server.status()).frameRate, 20);
    const { video } = await probeStream(server.url(), 3);
    assert.ok(Math.abs(video.keyFrameSeconds - 1) < 0.15, `${video.keyFrameSeconds} s`);
  });

  it('the bit rate, down and up', async () => {
    const witness = watchRates(server.url());
    await witness.until(({ kbps }) => kbps > 1000);
    assert.equal(live.push.setTargetVideoBitrate(400), 0);
    await witness.until(({ kbps }) => kbps > 200 && kbps < 600);
    assert.equal(live.push.setTargetVideoBitrate(1200), 0);
    await witness.until(({ kbps }) => kbps > 900 && kbps < 1600);
    await witness.stop();
  });

  it('all of it in one session', () => {
    const others = live.names().filter((name) => name !== 'onSendMessage');
    assert.deepEqual(others, ['onPushStarted', 'onFirstFramePushed']);
  });

  it('nonsense is refused and changes nothing', () => {
    const refused = [
      live.push.setResolution({ resolution: 8 }),
      live.push.setResolution({ width: 640, height: 8 }),
      live.push.setFps(0),
      live.push.setFps(61),
      live.push.setTargetVideoBitrate(0),
      live.push.setMinVideoBitrate(-1),
    ];
    assert.deepEqual(refused, Array(6).fill(-2002));
  });
});

describe('the controlled bit rate', GUARD, () => {
  it('follows the network down and back, and a live edit is its new ceiling', async (t) => {
    const clip = await makeNoisyClip();
    const server = await startRtmpServer();
    const link = await openThrottledLink(server.rtmpPort);
    const live = openLivePush({
      extra: { camera: clip.camera },
      config: { mVideoEncodeGop: 1, mTargetVideoBitrate: 3000, mMinVideoBitrate: 300 },
    });
    t.after(async () => {
      live.close();
      await link.close();
      await server.stop();
      clip.remove();
    });
    const flowing = live.next('onFirstFramePushed');
    live.push.startPush(`rtmp://127.0.0.1:${link.port}/live/stream`);
    await flowing;
    const witness = watchRates(server.url());
    await witness.until(({ kbps }) => kbps > 2500);
    const full = live.next('onPacketsLost');
    link.setRate(700);
    await full;
    link.setRate(Infinity);
    await witness.until(({ kbps, fps }) => kbps < 1700 && fps > 25);
    assert.equal(live.push.setTargetVideoBitrate(1900), 0);
    await witness.until(({ kbps }) => kbps > 1780 && kbps < 2100);
    await witness.stop();
    assert.ok(!live.names().includes('onConnectionLost'));
  });
});
