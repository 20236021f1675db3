'use strict';

const assert = require('node:assert/strict');
const { after, afterEach, before, describe, it } = require('node:test');
const { startRtmpServer } = require('../../tools/rtmp/rtmp_server');
const { frameColours, probeStream } = require('../../tools/rtmp/witness');
const { CONFIG, openLivePush, pixel } = require('./support/live_push');
const { watchStream } = require('./support/stream_witness');

const GUARD = { timeout: 60_000 };

describe('publishing a stream', GUARD, () => {
  let server;
  let live;
  before(async () => {
    server = await startRtmpServer();
  });
  afterEach(() => live?.close());
  after(() => server.stop());

  /** Publishes under `name` and waits until the stream is available at the server. */
  async function publish(name, options) {
    live = openLivePush(options);
    const accepted = live.next('onPushStarted');
    const firstFrame = live.next('onFirstFramePushed');
    assert.equal(live.push.startPush(server.url(name)), 0);
    await accepted;
    await firstFrame;
  }

  it('the stream has the configured video and audio', async () => {
    await publish('seen', { config: { mVideoEncodeGop: 1 } });
    const { video, audio } = await probeStream(server.url('seen'), 4);
    assert.equal(video.codec, 'h264');
    assert.deepEqual([video.width, video.height], [CONFIG.width, CONFIG.height]);
    assert.ok(Math.abs(video.fps - CONFIG.frameRate) < 1, `${video.fps} frames per second`);
    assert.ok(Math.abs(video.keyFrameSeconds - 1) < 0.1, `${video.keyFrameSeconds} s`);
    assert.equal(audio.codec, 'aac');
    assert.deepEqual([audio.sampleRate, audio.channels], [48000, 2]);
  });

  it('raises each event at the right time, in order, and once', async () => {
    live = openLivePush();
    const { push } = live;
    const previewed = live.next('onPreviewStarted');
    assert.equal(push.startPreview({ view: null, ...CONFIG }), 0);
    await previewed;
    const firstFrame = live.next('onFirstFramePushed');
    assert.equal(push.startPush(server.url('order')), 0);
    await firstFrame;
    assert.equal((await server.status('order')).publishing, true);
    const stopped = live.next('onPushStopped');
    assert.equal(push.stopPush(), 0);
    await stopped;
    const previewStopped = live.next('onPreviewStopped');
    assert.equal(push.stopPreview(), 0);
    await previewStopped;
    assert.deepEqual(live.names(), [
      'onPreviewStarted',
      'onPushStarted',
      'onSendMessage',
      'onFirstFramePushed',
      'onPushStopped',
      'onPreviewStopped',
    ]);
  });

  it('delivers the captured frames to JavaScript, upright and in the right colours', async () => {
    live = openLivePush();
    live.push.startPreview({ view: null, ...CONFIG });
    // Black until the source has delivered its first frame.
    const frame = await live.nextFrame((candidate) => pixel(candidate, 0.5, 0.4)[0] > 16);
    assert.deepEqual([frame.source, frame.user_id], [0, 'preview']);
    assert.deepEqual([frame.width, frame.height], [CONFIG.width, CONFIG.height]);
    // White, yellow, cyan, green, magenta, red and blue in the upper two thirds, in BT.709.
    const bars = [235, 219, 188, 173, 78, 63, 32];
    const luma = bars.map((_value, bar) => pixel(frame, (bar + 0.5) / 7, 0.4)[0]);
    for (const [bar, value] of bars.entries()) {
      assert.ok(Math.abs(luma[bar] - value) < 8, `bar ${bar}: ${luma[bar]}, not ${value}`);
    }
  });

  it('setMute publishes silence, then audio again', async () => {
    live = openLivePush();
    const accepted = live.next('onPushStarted');
    assert.equal(live.push.startPushAsync(server.url('mute')), 0);
    await accepted;
    const witness = watchStream(server.url('mute'), { x: 0.07, y: 0.4 });
    await witness.untilTone(440);
    assert.equal(live.push.setMute({ mute: true, mode: 0 }), 0);
    await witness.untilTone(0);
    assert.equal(live.push.setMute({ mute: false, mode: 0 }), 0);
    await witness.untilTone(440);
    await witness.stop();
  });

  it('muteLocalCamera publishes black, then video again', async () => {
    await publish('black');
    assert.equal(live.push.muteLocalCamera(true), 0);
    await live.nextFrame((frame) => pixel(frame, 0.07, 0.4)[0] < 20);
    await live.next('onVideoRenderData');
    const [[colour]] = await frameColours(server.url('black'), 1, 1);
    assert.ok(Math.max(...colour) < 20, `the server has ${colour}`);
    assert.equal(live.push.muteLocalCamera(false), 0);
    await live.nextFrame((frame) => pixel(frame, 0.07, 0.4)[0] > 150);
  });

  it('stopCamera holds the last frame, startCamera resumes', async () => {
    live = openLivePush();
    live.push.startPreview({ view: null, ...CONFIG });
    await live.nextFrame();
    assert.equal(live.push.stopCamera(), 0);
    const isStill = async () => {
      const [first, second] = [await live.nextFrame(), await live.nextFrame()];
      return first.data_y.equals(second.data_y);
    };
    // The pattern's clock changes with every frame, so two equal frames mean that it has stopped.
    while (!(await isStill()));
    assert.equal(live.push.startCamera(), 0);
    while (await isStill());
  });

  it('a push that was refused or stopped does not prevent the next one', async () => {
    live = openLivePush();
    const failed = live.next('onConnectFail');
    live.push.startPush(server.url('stream', 'nosuchapplication'));
    await failed;
    const accepted = live.next('onPushStarted');
    assert.equal(live.push.startPush(server.url('again')), 0);
    await accepted;
    const stopped = live.next('onPushStopped');
    live.push.stopPush();
    await stopped;
    const acceptedAgain = live.next('onPushStarted');
    assert.equal(live.push.startPush(server.url('again')), 0);
    await acceptedAgain;
  });

  it('audio only is published if configured', async () => {
    live = openLivePush({ config: { mAudioOnly: true } });
    const accepted = live.next('onPushStarted');
    live.push.startPush(server.url('sound'));
    await accepted;
    const { video, audio } = await probeStream(server.url('sound'), 2);
    assert.equal(video, undefined);
    assert.equal(audio.codec, 'aac');
  });
});
