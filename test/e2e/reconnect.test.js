'use strict';

// A push whose connection breaks: its events, and the stream at the server afterwards.

const assert = require('node:assert/strict');
const { afterEach, describe, it } = require('node:test');
const { startRtmpServer } = require('../../tools/rtmp/rtmp_server');
const { probeStream } = require('../../tools/rtmp/witness');
const { openLivePush } = require('./support/live_push');
const { killAndRestart } = require('./support/outages');

const GUARD = { timeout: 60_000 };

// See LumoLiveErrorCode in the SDK's LumoLiveResult.h.
const CONNECTION_LOST = -3006;
const PUBLISH_DENIED = -3008;

const SOON = { maxAttempts: 1000, firstDelayMs: 50, maxDelayMs: 200 };

describe('when the connection breaks', GUARD, () => {
  let live;
  let server;
  afterEach(async () => {
    live?.close();
    await server?.stop();
  });

  async function publish(reconnect = SOON) {
    live = openLivePush({ extra: { reconnect }, config: { mVideoEncodeGop: 1 } });
    const flowing = live.next('onFirstFramePushed');
    assert.equal(live.push.startPush(server.url()), 0);
    await flowing;
  }

  it('reconnects each time that the server returns, and video resumes', async () => {
    server = await startRtmpServer();
    await publish();
    for (let outage = 0; outage < 3; outage += 1) {
      server = await killAndRestart(server, live);
      const { video, audio } = await probeStream(server.url(), 1);
      assert.deepEqual([video.codec, video.width, audio.codec], ['h264', 640, 'aac']);
    }
    const loss = ['onConnectionLost', 'onReconnectStart', 'onSendMessage', 'onReconnectSucceed'];
    assert.deepEqual(live.names(), [
      ...['onPushStarted', 'onSendMessage', 'onFirstFramePushed'],
      ...[...loss, ...loss, ...loss],
    ]);
  });

  it('keeps capturing and never lets time go back', async () => {
    server = await startRtmpServer();
    await publish();
    const before = await probeStream(server.url(), 1);
    const lost = live.next('onReconnectStart');
    await server.kill();
    await lost;
    for (let frame = 0; frame < 5; frame += 1) await live.nextFrame();
    const back = live.next('onReconnectSucceed');
    server = await startRtmpServer({ rtmpPort: server.rtmpPort });
    await back;
    const after = await probeStream(server.url(), 1);
    assert.ok(after.video.startSeconds > before.video.startSeconds + 0.5);
  });

  it('gives up after the last attempt: onReconnectFail, and the push has ended', async () => {
    server = await startRtmpServer();
    await publish({ maxAttempts: 2, firstDelayMs: 20, maxDelayMs: 20 });
    const failed = live.next('onReconnectFail');
    const explained = live.next('onSDKError');
    await server.kill();
    await failed;
    const { code, msg } = await explained;
    assert.equal(code, CONNECTION_LOST);
    assert.match(msg, /2 attempts/);
    assert.deepEqual(live.names().slice(-4), [
      ...['onConnectionLost', 'onReconnectStart', 'onReconnectFail', 'onSDKError'],
    ]);
    server = await startRtmpServer({ rtmpPort: server.rtmpPort });
    const accepted = live.next('onPushStarted');
    assert.equal(live.push.startPush(server.url()), 0);
    await accepted;
  });

  it('a denial ends the attempts: onPushURLAuthenticationOverdue', async () => {
    server = await startRtmpServer();
    await publish();
    const overdue = live.next('onPushURLAuthenticationOverdue');
    const failed = live.next('onReconnectFail');
    const explained = live.next('onSDKError');
    await server.kill();
    server = await startRtmpServer({ rtmpPort: server.rtmpPort, authorise: () => false });
    await overdue;
    await failed;
    assert.equal((await explained).code, PUBLISH_DENIED);
  });

  it('stopPush ends the wait for the next attempt', async () => {
    server = await startRtmpServer();
    await publish({ maxAttempts: 1, firstDelayMs: 600_000, maxDelayMs: 600_000 });
    const waiting = live.next('onReconnectStart');
    await server.kill();
    await waiting;
    const begin = performance.now();
    const stopped = live.next('onPushStopped');
    assert.equal(live.push.stopPush(), 0);
    await stopped;
    assert.ok(performance.now() - begin < 1000, `${performance.now() - begin} ms`);
    assert.ok(!live.names().includes('onReconnectFail'));
  });

  it('stopPush ends an attempt in progress', async () => {
    server = await startRtmpServer();
    await publish({ maxAttempts: 1000, firstDelayMs: 0, maxDelayMs: 0 });
    const lost = live.next('onReconnectStart');
    await server.kill();
    await lost;
    const stopped = live.next('onPushStopped');
    const begin = performance.now();
    assert.equal(live.push.stopPush(), 0);
    await stopped;
    assert.ok(performance.now() - begin < 1000, `${performance.now() - begin} ms`);
  });
});
