'use strict';

const assert = require('node:assert/strict');
const { execFile } = require('node:child_process');
const fs = require('node:fs');
const os = require('node:os');
const path = require('node:path');
const { after, afterEach, before, describe, it } = require('node:test');
const { setTimeout: sleep } = require('node:timers/promises');
const { promisify } = require('node:util');
const { startRtmpServer } = require('../../tools/rtmp/rtmp_server');
const { startDeviceServices } = require('./support/device_services');
const { openLivePush } = require('./support/live_push');
const { gaps, watchStream } = require('./support/stream_witness');

const FIRST_STREAM = path.join(__dirname, '../../examples/first-stream/main.js');
const GUARD = { timeout: 240_000 };
const NOT_FOUND = -2005;
const CAMERA_LOST = -3105;
const MICROPHONE_LOST = -3106;

const RED = [255, 0, 0];
const BLUE = [0, 0, 255];
const WHITE = [255, 255, 255]; // the test pattern's first bar
const FIRST_BAR = { x: 0.07, y: 0.4 };
const TEST_TONE = 440;

const TEST_PATTERN = { deviceName: 'Test pattern', deviceId: 'test', deviceTransportType: 4 };
const TEST_TONE_DEVICE = { deviceName: 'Test tone', deviceId: 'test', deviceTransportType: 4 };
const device = (deviceId, deviceName) => ({ deviceName, deviceId, deviceTransportType: 0 });

/** Either the device or its service may report first, so the text varies. */
function assertLost(error, code, lost, next) {
  assert.equal(error.code, code);
  assert.match(error.msg, new RegExp(`"${lost}" (was unplugged|failed: .+); "${next}" is used`));
}

/** Returns the report of the example, which writes into its working directory. */
async function firstStream(...args) {
  const cwd = fs.mkdtempSync(path.join(os.tmpdir(), 'first-stream-'));
  const line = [FIRST_STREAM, '--json', ...args];
  // Its exit code adds nothing to the report.
  const { stdout } = await promisify(execFile)(process.execPath, line, { cwd }).catch((end) => end);
  fs.rmSync(cwd, { recursive: true });
  return JSON.parse(stdout);
}

describe('devices', GUARD, () => {
  let services;
  let server;
  let live;
  let witness;
  const plugged = [];
  before(async () => {
    services = await startDeviceServices();
    server = await startRtmpServer();
  });
  afterEach(async () => {
    live?.close();
    await witness?.stop();
    witness = undefined;
    while (plugged.length > 0) await plugged.pop().unplug();
  });
  after(async () => {
    await server.stop();
    await services.stop();
  });

  const plug = async (added) => {
    plugged.push(await added);
    return plugged.at(-1);
  };
  const pull = async (unplugged) => {
    plugged.splice(plugged.indexOf(unplugged), 1);
    await unplugged.unplug();
  };
  const plugCamera = (id, name, colour) => plug(services.plugCamera(id, name, colour));
  const plugMicrophone = (id, name, pitch) => plug(services.plugMicrophone(id, name, pitch));

  const cameras = () => live.push.getCameraList();
  const microphones = () => live.push.getAudioCaptureList();

  /** Resolves when the list has so many entries. */
  async function listed(list, count) {
    while (list().length !== count) await sleep(20);
  }

  const current = () => [
    ...[live.push.getCurrentCameraID(), live.push.getCurrentCameraName()],
    ...[live.push.getCurrentAudioCaptureID(), live.push.getCurrentAudioCaptureName()],
  ];

  /** Publishes, and monitors the stream at the server. */
  async function goLive(name) {
    const firstFrame = live.next('onFirstFramePushed');
    assert.equal(live.push.startPush(server.url(name)), 0);
    await firstFrame;
    witness = watchStream(server.url(name), FIRST_BAR);
  }

  /** Checks for one session, with continuous time stamps and audio throughout. */
  async function assertUnbroken(name) {
    assert.equal((await server.status(name)).publishing, true);
    assert.equal(witness.ended(), 0, 'all players still play');
    const names = live.names().filter((event) => event !== 'onSDKError');
    assert.deepEqual(names, ['onPushStarted', 'onSendMessage', 'onFirstFramePushed']);
    for (const times of Object.values(witness.times)) {
      const { longest, shortest } = gaps(times);
      assert.ok(shortest >= 0, 'time never goes back');
      assert.ok(longest < 0.5, `a gap of ${longest} s`);
    }
  }

  it('are listed while they are plugged in', async () => {
    live = openLivePush();
    const push = live.push;
    await listed(cameras, 1);
    await listed(microphones, 1);
    const red = await plugCamera('red_camera', 'RedCamera', 0xff0000);
    await plugMicrophone('desk', 'DeskMicrophone', 1000);
    await listed(cameras, 2);
    await listed(microphones, 2);
    assert.deepEqual(cameras(), [device('red_camera', 'RedCamera'), TEST_PATTERN]);
    assert.deepEqual(microphones(), [device('desk', 'DeskMicrophone'), TEST_TONE_DEVICE]);
    assert.deepEqual(current(), ['test', 'Test pattern', 'test', 'Test tone'], 'as configured');

    const previewing = live.next('onPreviewStarted');
    push.startPreview({ view: null, width: 640, height: 360 });
    await previewing;
    await plugCamera('blue_camera', 'BlueCamera', 0x0000ff);
    await listed(cameras, 3);
    await pull(red);
    await listed(cameras, 2);
    assert.deepEqual(cameras(), [device('blue_camera', 'BlueCamera'), TEST_PATTERN]);
    assert.deepEqual(current(), ['test', 'Test pattern', 'test', 'Test tone']);
    assert.deepEqual(live.names(), ['onPreviewStarted'], 'nothing else happened');
  });

  it('that do not exist are refused, and nothing changes', async () => {
    await plugCamera('red_camera', 'RedCamera', 0xff0000);
    live = openLivePush({ extra: { camera: '' } });
    const push = live.push;
    await listed(cameras, 2);
    for (const id of ['no_such_camera', 'RedCamera', 'red_camer', 'file:/etc/passwd']) {
      assert.equal(push.setCurrentCameraID(id), NOT_FOUND);
    }
    assert.equal(push.setCurrentCameraName('red_camera'), NOT_FOUND);
    assert.equal(push.setCurrentAudioCaptureID('no_such_microphone'), NOT_FOUND);
    assert.equal(push.setCurrentAudioCaptureName('red_camera'), NOT_FOUND);
    assert.deepEqual(current(), ['red_camera', 'RedCamera', 'test', 'Test tone']);
  });

  it('are the default, and chosen before anything is captured', async () => {
    await plugCamera('red_camera', 'RedCamera', 0xff0000);
    await plugMicrophone('desk', 'DeskMicrophone', 1000);
    live = openLivePush({ extra: { camera: '', microphone: '' } });
    const push = live.push;
    await listed(cameras, 2);
    await listed(microphones, 2);
    assert.deepEqual(current(), ['red_camera', 'RedCamera', 'desk', 'DeskMicrophone']);
    assert.equal(push.setCurrentCameraID('test'), 0);
    assert.equal(push.setCurrentAudioCaptureName('Test tone'), 0);
    assert.deepEqual(current(), ['test', 'Test pattern', 'test', 'Test tone']);
    await goLive('default');
    await Promise.all([witness.untilColour(WHITE), witness.untilTone(TEST_TONE)]);
    assert.equal(push.setCurrentCameraID(''), 0);
    assert.equal(push.setCurrentAudioCaptureID(''), 0);
    assert.deepEqual(current(), ['red_camera', 'RedCamera', 'desk', 'DeskMicrophone']);
    await Promise.all([witness.untilColour(RED), witness.untilTone(1000)]);
    await assertUnbroken('default');
  });

  it('are switched while live, without interruption in one session', async () => {
    await plugCamera('red_camera', 'RedCamera', 0xff0000);
    await plugMicrophone('desk', 'DeskMicrophone', 1000);
    live = openLivePush();
    const push = live.push;
    await listed(cameras, 2);
    await listed(microphones, 2);
    await goLive('switch');
    await Promise.all([witness.untilColour(WHITE), witness.untilTone(TEST_TONE)]);

    assert.equal(push.setCurrentCameraID('red_camera'), 0);
    assert.equal(push.setCurrentAudioCaptureName('DeskMicrophone'), 0);
    assert.deepEqual(current(), ['red_camera', 'RedCamera', 'desk', 'DeskMicrophone']);
    await Promise.all([witness.untilColour(RED), witness.untilTone(1000)]);

    assert.equal(push.setCurrentCameraName('Test pattern'), 0);
    assert.equal(push.setCurrentAudioCaptureID('test'), 0);
    assert.deepEqual(current(), ['test', 'Test pattern', 'test', 'Test tone']);
    await Promise.all([witness.untilColour(WHITE), witness.untilTone(TEST_TONE)]);

    await assertUnbroken('switch');
    assert.ok(witness.longestSilence() < 0.5, `${witness.longestSilence()} s of silence`);
    assert.ok(!live.names().includes('onSDKError'));
  });

  it('that are unplugged in use are replaced by the next, and not used again', async () => {
    const red = await plugCamera('red_camera', 'RedCamera', 0xff0000);
    const blue = await plugCamera('blue_camera', 'BlueCamera', 0x0000ff);
    const desk = await plugMicrophone('desk', 'DeskMicrophone', 1000);
    await plugMicrophone('spare', 'SpareMicrophone', 2500);
    live = openLivePush({ extra: { camera: 'red_camera', microphone: 'desk' } });
    await listed(cameras, 3);
    await listed(microphones, 3);
    await goLive('unplug');
    await Promise.all([witness.untilColour(RED), witness.untilTone(1000)]);

    const cameraLost = live.next('onSDKError');
    await pull(red);
    assertLost(await cameraLost, CAMERA_LOST, 'RedCamera', 'BlueCamera');
    await witness.untilColour(BLUE);

    const microphoneLost = live.next('onSDKError');
    await pull(desk);
    assertLost(await microphoneLost, MICROPHONE_LOST, 'DeskMicrophone', 'SpareMicrophone');
    await witness.untilTone(2500);
    assert.deepEqual(current(), ['blue_camera', 'BlueCamera', 'spare', 'SpareMicrophone']);

    await plugCamera('red_camera', 'RedCamera', 0xff0000);
    await plugMicrophone('desk', 'DeskMicrophone', 1000);
    await listed(cameras, 3);
    await listed(microphones, 3);
    assert.deepEqual(current(), ['blue_camera', 'BlueCamera', 'spare', 'SpareMicrophone']);
    assert.equal(live.push.setCurrentCameraID('red_camera'), 0);
    await witness.untilColour(RED);
    await pull(blue);
    await listed(cameras, 2);
    await Promise.all([witness.untilColour(RED), witness.untilTone(2500)]);
    await assertUnbroken('unplug');
    assert.equal(live.names().filter((name) => name === 'onSDKError').length, 2);
  });

  it('can be selected in the first stream', async () => {
    await plugCamera('red_camera', 'RedCamera', 0xff0000);
    const missing = await firstStream('--input', 'camera', '--seconds', '5');
    assert.equal(missing.seen, false);
    assert.match(missing.errors.join(), /^No microphone is plugged in\./);
    await plugMicrophone('desk', 'DeskMicrophone', 1000);
    const report = await firstStream('--input', 'camera', '--seconds', '5');
    assert.deepEqual(report.errors, []);
    assert.deepEqual(report.sources, { camera: 'RedCamera', microphone: 'DeskMicrophone' });
    assert.ok(report.seen && report.witness.audio);
  });

  it('that hang when they are opened are replaced', async () => {
    await plugCamera('red_camera', 'RedCamera', 0xff0000);
    live = openLivePush();
    await listed(cameras, 2);
    await goLive('hang');
    await services.stopCameraManager();
    const lost = live.next('onSDKError');
    assert.equal(live.push.setCurrentCameraID('red_camera'), 0);
    assertLost(await lost, CAMERA_LOST, 'RedCamera', 'Test pattern');
    await witness.untilColour(WHITE);
    await assertUnbroken('hang');
  });

  it('are replaced by the test tone when the sound server dies', async () => {
    await plugMicrophone('desk', 'DeskMicrophone', 1000);
    live = openLivePush({ extra: { microphone: 'default' } });
    await listed(microphones, 2);
    await goLive('crash');
    await witness.untilTone(1000);
    const lost = live.next('onSDKError');
    plugged.length = 0; // nothing can be unplugged any more
    await services.killSound();
    assertLost(await lost, MICROPHONE_LOST, 'DeskMicrophone', 'Test tone');
    await witness.untilTone(TEST_TONE);
    await assertUnbroken('crash');
  });
});
