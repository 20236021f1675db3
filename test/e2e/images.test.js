'use strict';

// Images that are published in place of video frames, as received from the server.

const assert = require('node:assert/strict');
const fs = require('node:fs');
const os = require('node:os');
const path = require('node:path');
const { after, afterEach, before, describe, it } = require('node:test');
const { PNG } = require('pngjs');
const { createLivePush } = require('../../lib');
const { runChild, startChild } = require('../../tools/rtmp/child');
const { startRtmpServer } = require('../../tools/rtmp/rtmp_server');
const { frameColours } = require('../../tools/rtmp/witness');
const { createCondition } = require('./support/condition');
const { openLivePush, pixel } = require('./support/live_push');
const { makeNoisyClip } = require('./support/noisy_clip');
const { openThrottledLink } = require('./support/throttled_link');
const { startDisplay } = require('./support/x_display');

const GUARD = { timeout: 90_000 };
const SIZE = { width: 640, height: 480, mVideoEncodeGop: 1 };

const [RED, BLUE, BLACK, GREY] = [
  [255, 0, 0],
  [0, 0, 255],
  [0, 0, 0],
  [51, 51, 51],
];

let folder;
before(() => {
  folder = fs.mkdtempSync(path.join(os.tmpdir(), 'images-'));
});
after(() => fs.rmSync(folder, { recursive: true }));

/** @returns {string} a PNG file of one colour, red, green, blue and opacity each 0 to 255 */
function makePng(name, width, height, colour) {
  const png = new PNG({ width, height });
  png.data.fill(Buffer.from(colour));
  const file = path.join(folder, name);
  fs.writeFileSync(file, PNG.sync.write(png));
  return file;
}

const isNear = (seen, wanted) => seen.every((value, index) => Math.abs(value - wanted[index]) < 20);

/** Waits until the server's video has these colours at the top, in the middle and at the bottom. */
async function comesToShow(url, ...wanted) {
  for (;;) {
    const rows = await frameColours(url, 1, 9);
    const seen = [rows[0][0], rows[4][0], rows[8][0]];
    if (seen.every((colour, index) => isNear(colour, wanted[index]))) return;
  }
}

/** A permanent viewer that records the mean colour of each frame. */
function watchColour(url) {
  const one = ['-an', '-vf', 'format=rgb24,scale=1:1:flags=area', '-f', 'rawvideo', 'pipe:1'];
  const begin = ['-v', 'error', '-nostdin', '-fpsprobesize', '0', '-i', url];
  const { process, stop } = startChild('ffmpeg', [...begin, '-flush_packets', '1', ...one]);
  const colours = [];
  const arrival = createCondition();
  process.stdout.on('data', (bytes) => {
    for (let at = 0; at + 3 <= bytes.length; at += 3) colours.push([...bytes.subarray(at, at + 3)]);
    arrival.changed();
  });
  return {
    stop,

    /** Waits until a frame after the last awaited one has that colour. */
    comesToShow: async (wanted) => {
      for (;;) {
        await arrival.until(() => colours.length > 0);
        if (isNear(colours.shift(), wanted)) return;
      }
    },
  };
}

describe('while the screen is paused', GUARD, () => {
  let server;
  let display;
  let live;
  before(async () => {
    server = await startRtmpServer();
    display = await startDisplay();
    const colours = ['-fg', 'red', '-bg', 'red'];
    display.open('xlogo', ['-title', 'red window', '-geometry', '640x480+0+0', ...colours]);
  });
  afterEach(() => live?.close());
  after(async () => {
    await display.stop();
    await server.stop();
  });

  /** Publishes the red window, paused once it is visible. @returns {string} the stream's URL */
  async function pauseWith(name, mPausePushImagePath) {
    live = openLivePush({ config: { ...SIZE, mPausePushImagePath } });
    const { push } = live;
    push.startScreenShareByDesktopId(await live.sourceNamed(/red/));
    push.startPush(server.url(name));
    await live.nextFrame(isRed);
    await comesToShow(server.url(name), RED, RED, RED);
    assert.equal(push.pauseScreenShare(), 0);
    return server.url(name);
  }

  const isRed = (frame) => frame.source === 1 && Math.abs(pixel(frame, 0.5, 0.5)[2] - 240) < 8;

  it('the image is published, between black bars, and the screen again afterwards', async () => {
    const url = await pauseWith('wide', makePng('wide.png', 320, 120, [0, 0, 255, 255]));
    await comesToShow(url, BLACK, BLUE, BLACK);
    assert.ok(isRed(await live.nextFrame()), 'JavaScript receives the captured frame');
    assert.equal(live.push.resumeScreenShare(), 0);
    await comesToShow(url, RED, RED, RED);
  });

  it("the image follows a change of the stream's size", async () => {
    const url = await pauseWith('resized', makePng('blue.png', 320, 240, [0, 0, 255, 255]));
    await comesToShow(url, BLUE, BLUE, BLUE);
    live.push.setScreenShareEncoderConfiguration({ width: 240, height: 480 });
    await comesToShow(url, BLACK, BLUE, BLACK);
  });

  it('transparent parts are black', async () => {
    const url = await pauseWith('alpha', makePng('alpha.png', 64, 48, [0, 0, 255, 128]));
    const half = BLUE.map((value) => value / 2);
    await comesToShow(url, half, half, half);
  });

  it('a JPEG file', async () => {
    const file = path.join(folder, 'blue.jpg');
    const blue = ['-f', 'lavfi', '-i', 'color=blue:size=64x48', '-frames:v', '1', file];
    await runChild('ffmpeg', ['-v', 'error', ...blue], { deadlineSeconds: 20 });
    const url = await pauseWith('jpeg', file);
    await comesToShow(url, BLUE, BLUE, BLUE);
  });

  it('grey for a file that is missing, which the log names', async () => {
    const file = path.join(folder, 'missing.png');
    const logs = path.join(folder, 'logs');
    createLivePush().setLogDirPath(logs);
    const url = await pauseWith('missing', file);
    await comesToShow(url, GREY, GREY, GREY);
    const log = fs.readdirSync(logs).map((name) => fs.readFileSync(path.join(logs, name), 'utf8'));
    const line = log
      .join('')
      .split('\n')
      .find((text) => text.includes(file));
    assert.match(line, /warn.*the image \S+ cannot be shown: there is no such file/);
  });

  it('the camera is not covered', async () => {
    const url = await pauseWith('camera', makePng('blue.png', 320, 240, [0, 0, 255, 255]));
    await comesToShow(url, BLUE, BLUE, BLUE);
    assert.equal(live.push.switchScreenToCamera(), 0);
    for (let seen; !seen || isNear(seen, BLUE); ) [[seen]] = await frameColours(url, 7, 1);
  });
});

describe('while the network is poor', GUARD, () => {
  it('the image is published instead of the camera, and the camera again afterwards', async (t) => {
    const clip = await makeNoisyClip(); // grey
    const server = await startRtmpServer();
    const link = await openThrottledLink(server.rtmpPort);
    const live = openLivePush({
      extra: { camera: clip.camera },
      config: {
        ...{ mTargetVideoBitrate: 2000, mVideoEncodeGop: 1, enableBitrateControl: false },
        mNetworkPoorPushImagePath: makePng('poor.png', 64, 36, [255, 0, 0, 255]),
      },
    });
    t.after(async () => {
      live.close();
      await link.close();
      await server.stop();
      clip.remove();
    });
    const camera = [126, 126, 126];
    const flowing = live.next('onFirstFramePushed');
    live.push.startPush(`rtmp://127.0.0.1:${link.port}/live/stream`);
    await flowing;
    const viewer = watchColour(server.url());
    t.after(() => viewer.stop());
    await viewer.comesToShow(camera);
    const poor = live.next('onNetworkPoor');
    link.setRate(200);
    await poor;
    link.setRate(Infinity);
    await viewer.comesToShow(RED);
    await viewer.comesToShow(camera);
    assert.ok(live.names().includes('onNetworkRecovery'));
  });
});
