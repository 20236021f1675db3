'use strict';

const assert = require('node:assert/strict');
const fs = require('node:fs');
const os = require('node:os');
const path = require('node:path');
const { after, afterEach, before, describe, it } = require('node:test');
const { startRtmpServer } = require('../../tools/rtmp/rtmp_server');
const { frameColours, watchPackets } = require('../../tools/rtmp/witness');
const { openLivePush, pixel } = require('./support/live_push');
const { fieldMeans, startDisplay } = require('./support/x_display');

const GUARD = { timeout: 60_000 };
const SIZE = { width: 640, height: 480 }; // the screen's aspect ratio, so without borders
const [COLUMNS, ROWS] = [16, 12];
const WINDOW_LOST = -3302;

const logo = (title, geometry, foreground, background) => [
  ...['-title', title, '-geometry', geometry, '-fg', foreground, '-bg', background],
];

const furthest = (a, b) => Math.max(...a.map((value, index) => Math.abs(value - b[index])));

describe('sharing a screen', GUARD, () => {
  let server;
  let display;
  let live;
  before(async () => {
    server = await startRtmpServer();
    display = await startDisplay();
    display.open('xlogo', logo('red logo', '380x290+10+5', 'red', 'white'));
    display.open('xlogo', logo('blue logo', '300x200+480+380', 'blue', 'yellow'));
  });
  afterEach(() => live?.close());
  after(async () => {
    await display.stop();
    await server.stop();
  });

  const open = (config) => {
    live = openLivePush({ config: { ...SIZE, ...config } });
    return live.push;
  };

  const isScreen = (frame) => frame?.source === 1;
  const isCamera = (frame) => frame?.source === 0;

  /** Shares the whole screen, both windows on it. */
  async function shareScreen() {
    await live.sourceNamed(/red logo/);
    await live.sourceNamed(/blue logo/);
    const id = await live.sourceNamed(/^Screen /);
    assert.equal(live.push.startScreenShareByDesktopId(id), 0);
    assert.equal(live.push.getCurrentScreenShareSourceId(), id);
  }

  it('JavaScript receives the same pixels as another program', async () => {
    const push = open();
    await shareScreen();
    push.startPreview({ view: null, ...SIZE });
    // A window is empty for a moment after it has been opened.
    let difference;
    do {
      const expected = fieldMeans(await display.screenshot(SIZE), COLUMNS, ROWS);
      const frame = await live.nextFrame(isScreen);
      assert.deepEqual([frame.width, frame.height, frame.user_id], [640, 480, 'preview']);
      difference = furthest(fieldMeans(frame, COLUMNS, ROWS), expected);
    } while (difference > 4);
    const frame = await live.nextFrame(isScreen);
    // BT.709: white, yellow and black in their places, so that the comparison compared something.
    assert.ok(pixel(frame, 0.46, 0.25)[0] > 225, 'white beside the red logo');
    assert.ok(Math.abs(pixel(frame, 0.95, 0.8)[0] - 219) < 8, 'yellow beside the blue one');
    assert.ok(pixel(frame, 0.1, 0.9)[0] < 20, 'the empty screen');
  });

  it('one session carries the camera, the screen and the camera again', async () => {
    const push = open();
    const firstFrame = live.next('onFirstFramePushed');
    push.startPush(server.url('switch'));
    await firstFrame;
    const times = [];
    const watch = watchPackets(server.url('switch'), (seconds) => times.push(seconds));
    const seenSoFar = async (count) => {
      while (times.length < count) await live.next('onVideoRenderData');
    };
    await seenSoFar(30);

    await shareScreen();
    await live.nextFrame((frame) => isScreen(frame) && pixel(frame, 0.46, 0.25)[0] > 225);
    const folder = fs.mkdtempSync(path.join(os.tmpdir(), 'screen-share-'));
    const file = path.join(folder, 'screen.png');
    await display.saveScreenshot(file);
    const expected = (await frameColours(file, 8, 6)).flat(2);
    fs.rmSync(folder, { recursive: true });
    // The server sends the last key frame first, which may still show the camera.
    let seen;
    do {
      seen = (await frameColours(server.url('switch'), 8, 6)).flat(2);
    } while (furthest(seen, expected) > 24);

    assert.equal(push.switchScreenToCamera(), 0);
    assert.equal(push.getCurrentScreenShareSourceId(), 0);
    await live.nextFrame((frame) => isCamera(frame) && pixel(frame, 0.07, 0.4)[0] > 225);
    await seenSoFar(times.length + 60);
    await watch.stop();

    const gaps = times.slice(1).map((time, index) => time - times[index]);
    assert.ok(Math.min(...gaps) > 0, 'time never goes back');
    assert.ok(Math.max(...gaps) < 1, `a gap of ${Math.max(...gaps)} s`);
    assert.equal((await server.status('switch')).publishing, true);
    assert.deepEqual(live.names(), ['onPushStarted', 'onSendMessage', 'onFirstFramePushed']);
  });

  it('a paused screen delivers no frames', async () => {
    const push = open();
    const clock = display.open('xclock', ['-digital', '-update', '1', '-title', 'clock']);
    push.startScreenShareByDesktopId(await live.sourceNamed(/clock/));
    push.startPreview({ view: null, ...SIZE });
    const nextPixels = async () => (await live.nextFrame(isScreen)).data_y;
    const first = await nextPixels();
    while ((await nextPixels()).equals(first)); // it is running
    assert.equal(push.pauseScreenShare(), 0);
    await live.nextFrame(isScreen); // one may have been in progress
    await live.nextFrame(isScreen);
    const still = await nextPixels();
    const begin = Date.now();
    while (Date.now() - begin < 2500) assert.ok((await nextPixels()).equals(still));
    assert.equal(push.resumeScreenShare(), 0);
    while ((await nextPixels()).equals(still));
    await clock.stop();
  });

  it('reports when the shared window is closed, and keeps its last frame', async () => {
    const push = open();
    const program = display.open('xlogo', logo('third logo', '320x240+0+0', 'black', 'green'));
    const id = await live.sourceNamed(/third logo/);
    push.startPreview({ view: null, ...SIZE });
    push.startScreenShareByDesktopId(id);
    const isGreen = (frame) => isScreen(frame) && Math.abs(pixel(frame, 0.02, 0.5)[0] - 173) < 8;
    await live.nextFrame(isGreen);
    const reported = live.next('onSDKError', ({ code }) => code === WINDOW_LOST);
    await program.stop();
    await reported;
    assert.ok(isGreen(await live.nextFrame(isScreen)));
    assert.equal(push.getCurrentScreenShareSourceId(), id);
    assert.equal(push.switchScreenToCamera(), 0);
    await live.nextFrame(isCamera);
  });

  it('a push that begins while a screen is shared is encoded as the screen is', async () => {
    const push = open();
    assert.equal(
      push.setScreenShareEncoderConfiguration({ width: 400, height: 300, frameRate: 10 }),
      0,
    );
    await shareScreen();
    const firstFrame = live.next('onFirstFramePushed');
    push.startPush(server.url('small'));
    await firstFrame;
    const frame = await live.nextFrame(isScreen);
    assert.deepEqual([frame.width, frame.height], [400, 300]);
    const times = [];
    const watch = watchPackets(server.url('small'), (seconds) => times.push(seconds));
    while (times.length < 30) await live.next('onVideoRenderData');
    await watch.stop();
    const fps = (times.length - 1) / (times.at(-1) - times[0]);
    assert.ok(Math.abs(fps - 10) < 1, `${fps} frames per second`);
  });

  it('a missing source is refused', () => {
    const push = open();
    assert.equal(push.startScreenShareByDesktopId(12345), -2005);
    assert.equal(push.switchScreenToCamera(), -2003);
    assert.equal(push.pauseScreenShare(), -2003);
    assert.equal(push.setScreenShareEncoderConfiguration({ frameRate: 500 }), -2002);
  });
});
