'use strict';

// A shared screen has encoder settings of its own, which take effect immediately: players that run
// all the time receive the changes, in one session with the server.

const assert = require('node:assert/strict');
const { after, before, describe, it } = require('node:test');
const { startRtmpServer } = require('../../tools/rtmp/rtmp_server');
const { watchDecodedFrames } = require('../../tools/rtmp/witness');
const { createCondition } = require('./support/condition');
const { openLivePush } = require('./support/live_push');
const { makeNoisyClip } = require('./support/noisy_clip');
const { watchRates } = require('./support/rates');
const { openNoisyWindow, startDisplay } = require('./support/x_display');

const GUARD = { timeout: 90_000 };

describe("a shared screen's encoder while live", GUARD, () => {
  let clip;
  let display;
  let server;
  let live;
  let watcher;
  let rates;
  const sizes = []; // one after the other
  const arrival = createCondition();
  before(async () => {
    clip = await makeNoisyClip();
    display = await startDisplay();
    openNoisyWindow(display, 'noise');
    server = await startRtmpServer();
    live = openLivePush({
      extra: { camera: clip.camera },
      config: { mVideoEncodeGop: 1, mTargetVideoBitrate: 1500, enableBitrateControl: false },
    });
    const flowing = live.next('onFirstFramePushed');
    live.push.startPush(server.url());
    await flowing;
    rates = watchRates(server.url());
    watcher = watchDecodedFrames(server.url(), ({ width, height }) => {
      const size = `${width}x${height}`;
      if (sizes.at(-1) === size) return;
      sizes.push(size);
      arrival.changed();
    });
    await comesTo('640x360', ({ fps, kbps }) => fps > 25 && kbps > 1000);
  });
  after(async () => {
    live?.close();
    await Promise.all([watcher?.stop(), rates?.stop()]);
    await server?.stop();
    await display?.stop();
    clip?.remove();
  });

  /**
   * Waits until the players receive frames of that size, and a second of them satisfies `accept`.
   */
  async function comesTo(size, accept) {
    await arrival.until(() => sizes.at(-1) === size);
    await rates.until(accept);
  }

  it('starts with the sharing', async () => {
    const config = { width: 400, height: 300, frameRate: 10, bitrate: 300, mVideoEncodeGop: 2 };
    assert.equal(live.push.setScreenShareEncoderConfiguration(config), 0);
    assert.deepEqual(sizes, ['640x360'], 'not before');
    assert.equal(live.push.startScreenShareByDesktopId(await live.sourceNamed(/noise/)), 0);
    await comesTo('400x300', ({ fps, kbps }) => fps <= 11 && kbps > 150 && kbps < 450);
    const frame = await live.nextFrame(({ source }) => source === 1);
    assert.deepEqual([frame.width, frame.height], [400, 300], 'captured in that size too');
  });

  it('key frames come at its interval', async () => {
    await rates.until(({ keyFrameSeconds }) => Math.abs(keyFrameSeconds - 2) < 0.15);
  });

  it('changes while the screen is shared', async () => {
    const config = { width: 480, height: 270, frameRate: 20, bitrate: 1200, mVideoEncodeGop: 1 };
    assert.equal(live.push.setScreenShareEncoderConfiguration(config), 0);
    await comesTo('480x270', ({ fps, kbps }) => fps >= 18 && fps <= 22 && kbps > 800);
    await rates.until(({ keyFrameSeconds }) => Math.abs(keyFrameSeconds - 1) < 0.15);
  });

  it('leaves the camera as it was', async () => {
    assert.equal(live.push.switchScreenToCamera(), 0);
    await comesTo('640x360', ({ fps, kbps }) => fps > 25 && kbps > 1000);
    const frame = await live.nextFrame(({ source }) => source === 0);
    assert.deepEqual([frame.width, frame.height], [640, 360]);
  });

  it("the camera's changes take effect with the camera", async () => {
    live.push.startScreenShareByDesktopId(await live.sourceNamed(/noise/));
    await comesTo('480x270', ({ fps }) => fps <= 22);
    assert.equal(live.push.setFps(15), 0);
    assert.equal(live.push.setResolution({ width: 320, height: 180 }), 0);
    await rates.passes(2);
    assert.equal(sizes.at(-1), '480x270');
    assert.equal(live.push.switchScreenToCamera(), 0);
    await comesTo('320x180', ({ fps }) => fps >= 14 && fps <= 16);
  });

  it('all of it in one session, in which time never goes back', async () => {
    const gaps = rates.times().map((time, index, times) => time - times[Math.max(0, index - 1)]);
    assert.ok(Math.min(...gaps.slice(1)) > 0, 'time never goes back');
    assert.ok(Math.max(...gaps) < 1, `a gap of ${Math.max(...gaps)} s`);
    assert.deepEqual(sizes, ['640x360', '400x300', '480x270', '640x360', '480x270', '320x180']);
    const others = live.names().filter((name) => name !== 'onSendMessage');
    assert.deepEqual(others, ['onPushStarted', 'onFirstFramePushed']);
  });
});
