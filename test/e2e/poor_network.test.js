'use strict';

// A bad network: slow, stalled, frozen, or denying this stream.

const assert = require('node:assert/strict');
const { after, afterEach, before, beforeEach, describe, it } = require('node:test');
const { startRtmpServer } = require('../../tools/rtmp/rtmp_server');
const { probeStream } = require('../../tools/rtmp/witness');
const { openLivePush } = require('./support/live_push');
const { makeNoisyClip } = require('./support/noisy_clip');
const { openThrottledLink } = require('./support/throttled_link');

const GUARD = { timeout: 60_000 };

const PUBLISH_DENIED = -3008;

const RECONNECT = { maxAttempts: 1000, firstDelayMs: 50, maxDelayMs: 200 };

describe('a bad network', GUARD, () => {
  let live;
  let server;
  let link;
  let clip;
  before(async () => {
    clip = await makeNoisyClip();
  });
  after(() => clip.remove());
  beforeEach(async () => {
    server = await startRtmpServer();
    link = await openThrottledLink(server.rtmpPort);
  });
  afterEach(async () => {
    live?.close();
    await link.close();
    await server.stop();
  });

  async function publish(mTargetVideoBitrate, sendTimeoutMs, port = link.port) {
    live = openLivePush({
      extra: { camera: clip.camera, reconnect: RECONNECT, sendTimeoutMs },
      config: { mTargetVideoBitrate, mVideoEncodeGop: 1, enableBitrateControl: false },
    });
    const flowing = live.next('onFirstFramePushed');
    assert.equal(live.push.startPush(`rtmp://127.0.0.1:${port}/live/stream`), 0);
    await flowing;
  }

  it('too slow: poor, then frames are dropped, then good again', async () => {
    await publish(2000);
    const poor = live.next('onNetworkPoor');
    const lossy = live.next('onPacketsLost');
    link.setRate(500);
    await poor;
    await lossy;
    const recovered = live.next('onNetworkRecovery');
    link.setRate(Infinity);
    await recovered;
    assert.deepEqual(
      live.names().filter((name) => /Connection|Reconnect|Timeout/.test(name)),
      [],
      'slow, but not broken',
    );
    const { video } = await probeStream(server.url(), 2);
    assert.ok(Math.abs(video.fps - 30) < 2, `${video.fps} frames per second`);
  });

  it('stalled for a while: onSendDataTimeout, and the same connection continues', async () => {
    await publish(4000, 2000);
    const timeout = live.next('onSendDataTimeout');
    link.stall();
    await timeout;
    link.setRate(Infinity);
    await live.next('onNetworkRecovery');
    assert.ok(!live.names().includes('onConnectionLost'));
  });

  it('stalled permanently: the connection counts as broken and is replaced', async () => {
    await publish(4000, 800);
    const lost = live.next('onConnectionLost');
    link.stall();
    await lost;
    assert.ok(live.names().includes('onSendDataTimeout'));
    const back = live.next('onReconnectSucceed');
    link.setRate(Infinity);
    await back;
    assert.equal((await server.status()).publishing, true);
  });

  it('the server freezes and thaws: the push recovers by itself', async () => {
    await publish(4000, 800, server.rtmpPort);
    const lost = live.next('onConnectionLost');
    server.freeze();
    await lost;
    const back = live.next('onReconnectSucceed');
    server.thaw();
    await back;
    const { video } = await probeStream(server.url(), 2);
    assert.equal(video.codec, 'h264');
  });

  it('cut: the next connection succeeds immediately', async () => {
    await publish(800);
    const back = live.next('onReconnectSucceed');
    link.cut();
    await back;
    assert.ok(live.names().includes('onConnectionLost'));
  });

  it('no answer at all: stopPush does not wait for it', async () => {
    live = openLivePush();
    link.stall();
    live.push.startPush(`rtmp://127.0.0.1:${link.port}/live/stream`);
    const stopped = live.next('onPushStopped');
    const begin = performance.now();
    assert.equal(live.push.stopPush(), 0);
    await stopped;
    assert.ok(performance.now() - begin < 1000, `${performance.now() - begin} ms`);
  });
});

describe('authorisation', GUARD, () => {
  let live;
  let server;
  beforeEach(async () => {
    server = await startRtmpServer({ authorise: (request) => request.get('key') === 'good' });
  });
  afterEach(async () => {
    live?.close();
    await server.stop();
  });

  it('the server denies: onPushURLAuthenticationOverdue and onConnectFail', async () => {
    live = openLivePush();
    const explained = live.next('onSDKError');
    live.push.startPush(server.url('stream?key=bad'));
    assert.equal((await explained).code, PUBLISH_DENIED);
    assert.deepEqual(live.names(), [
      ...['onPushURLAuthenticationOverdue', 'onConnectFail', 'onSDKError'],
    ]);
  });

  it('the URL has expired: reported once, but the server decides', async () => {
    live = openLivePush();
    const flowing = live.next('onFirstFramePushed');
    live.push.startPush(server.url('stream?key=good&expires=1500000000'));
    await flowing;
    assert.deepEqual(live.names(), [
      ...['onPushURLAuthenticationOverdue', 'onPushStarted', 'onSendMessage'],
      'onFirstFramePushed',
    ]);
  });

  it('a URL that has not expired is not reported', async () => {
    live = openLivePush();
    const flowing = live.next('onFirstFramePushed');
    live.push.startPush(server.url('stream?key=good&expires=32500000000'));
    await flowing;
    assert.ok(!live.names().includes('onPushURLAuthenticationOverdue'));
  });
});
