'use strict';

const assert = require('node:assert/strict');
const { afterEach, describe, it } = require('node:test');
const { freePort, startRtmpServer } = require('../../tools/rtmp/rtmp_server');
const { openLivePush } = require('./support/live_push');

const GUARD = { timeout: 60_000 };

// See LumoLiveErrorCode in the SDK's LumoLiveResult.h.
const CONNECT_REFUSED = -3002;
const PUBLISH_REJECTED = -3004;
const CONNECTION_LOST = -3006;

describe('when the connection fails', GUARD, () => {
  let live;
  let server;
  afterEach(async () => {
    live?.close();
    await server?.stop();
    server = undefined;
  });

  async function failureOf(url) {
    live = openLivePush();
    const failed = live.next('onConnectFail');
    const explained = live.next('onSDKError');
    assert.equal(live.push.startPush(url), 0);
    await failed;
    return explained;
  }

  it('no server listens: onConnectFail and a code for refused', async () => {
    const error = await failureOf(`rtmp://127.0.0.1:${await freePort()}/live/stream`);
    assert.equal(error.code, CONNECT_REFUSED);
    assert.notEqual(error.msg, '');
    assert.ok(!live.names().includes('onPushStarted'));
  });

  it('an unknown application: a code for rejected', async () => {
    server = await startRtmpServer();
    assert.equal((await failureOf(server.url('stream', 'nowhere'))).code, PUBLISH_REJECTED);
  });

  it('an invalid URL is refused immediately', () => {
    live = openLivePush();
    for (const url of ['', 'stream', 'http://127.0.0.1/live/stream', 'rtmp://127.0.0.1']) {
      assert.ok(live.push.startPush(url) < 0, url);
    }
  });

  it('the server dies permanently: onConnectionLost, and capture continues', async () => {
    server = await startRtmpServer();
    live = openLivePush({ extra: { reconnect: { maxAttempts: 0 } } });
    live.push.startPreview({ view: null, width: 640, height: 360 });
    const flowing = live.next('onFirstFramePushed');
    live.push.startPush(server.url());
    await flowing;
    const lost = live.next('onConnectionLost');
    const explained = live.next('onSDKError');
    await server.kill();
    await lost;
    assert.equal((await explained).code, CONNECTION_LOST);
    await live.nextFrame();
  });

  it('the server is frozen: stopPush still ends the push', async () => {
    server = await startRtmpServer();
    live = openLivePush();
    const flowing = live.next('onFirstFramePushed');
    live.push.startPush(server.url());
    await flowing;
    server.freeze();
    const stopped = live.next('onPushStopped');
    assert.equal(live.push.stopPush(), 0);
    await stopped;
    server.thaw();
  });

  it('the pusher can be destroyed meanwhile', async () => {
    server = await startRtmpServer();
    live = openLivePush();
    live.push.startPreview({ view: null, width: 640, height: 360 });
    live.push.startPush(server.url());
    live.close();
    live = openLivePush();
    const flowing = live.next('onFirstFramePushed');
    live.push.startPush(server.url());
    await flowing;
  });
});
