'use strict';

// Publishing where GStreamer has no plug-in of x264, as docs/licences.md describes it.

const assert = require('node:assert/strict');
const fs = require('node:fs');
const path = require('node:path');
const { after, before, describe, it } = require('node:test');
const { withoutPlugins } = require('../js/support/gstreamer_plugins');

// Before GStreamer is started in this process.
const plugins = withoutPlugins('x264');
process.env.GST_PLUGIN_SYSTEM_PATH_1_0 = plugins;
process.env.GST_REGISTRY = path.join(plugins, 'registry.bin');

const { startRtmpServer } = require('../../tools/rtmp/rtmp_server');
const { probeStream } = require('../../tools/rtmp/witness');
const { CONFIG, openLivePush } = require('./support/live_push');

describe('publishing without x264', { timeout: 60_000 }, () => {
  let server;
  let live;
  before(async () => {
    server = await startRtmpServer();
    live = openLivePush();
    const firstFrame = live.next('onFirstFramePushed');
    assert.equal(live.push.startPush(server.url()), 0);
    await firstFrame;
  });
  after(async () => {
    live.close();
    await server.stop();
    fs.rmSync(plugins, { recursive: true });
  });

  it('OpenH264 encodes', async () => {
    const { video, audio } = await probeStream(server.url(), 3);
    assert.equal(video.codec, 'h264');
    assert.deepEqual([video.width, video.height], [CONFIG.width, CONFIG.height]);
    assert.ok(Math.abs(video.fps - CONFIG.frameRate) < 1, `${video.fps} frames per second`);
    assert.equal(audio.codec, 'aac');
    const loaded = fs.readFileSync('/proc/self/maps', 'utf8');
    assert.match(loaded, /libgstopenh264\.so/);
    assert.doesNotMatch(loaded, /libgstx264\.so/);
  });

  it('follows a change of the size', async () => {
    assert.equal(live.push.setResolution({ resolution: 0 }), 0);
    await live.next('onSendMessage');
    const { video } = await probeStream(server.url(), 2);
    assert.deepEqual([video.width, video.height], [320, 180]);
  });
});
