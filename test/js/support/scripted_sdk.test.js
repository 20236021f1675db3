'use strict';

const assert = require('node:assert/strict');
const { execFileSync } = require('node:child_process');
const path = require('node:path');
const { beforeEach, test } = require('node:test');

const {
  createLivePush,
  flush,
  nextEvent,
  recordEvents,
  sdk,
  scriptedDirectory,
} = require('./addon');

const wrapper = createLivePush();

beforeEach(() => {
  sdk.reset();
  wrapper.initPusher({});
  sdk.forget();
});

test('names every operation and callback', () => {
  const { operations, callbacks } = sdk.names();
  assert.equal(operations.length, 56);
  assert.ok(operations.includes('pusher.startPush'));
  assert.equal(callbacks.length, 31);
  assert.ok(callbacks.includes('player.onActiveSpeaker'));
});

test('filters calls by object and operation and refuses unknown names', () => {
  wrapper.startPush('rtmp://host/app');
  wrapper.getSDKVersion();
  const [startPush] = sdk.calls('startPush');
  assert.deepEqual(startPush.args, { url: 'rtmp://host/app' });
  assert.equal(startPush.thread.js, true);
  assert.deepEqual(sdk.calls('pusher'), [startPush]);
  assert.deepEqual(sdk.calls('pusher.startPush'), [startPush]);
  assert.deepEqual(
    sdk.calls().map(({ name }) => name),
    ['startPush', 'GetSDKVersion'],
  );
  assert.throws(() => sdk.calls('startPusch'), /startPusch/);
});

test('answers as told, once and until reset', () => {
  sdk.answer('startPush', -7);
  sdk.answerOnce('startPush', 1, 2);
  assert.deepEqual(
    [1, 2, 3, 4].map(() => wrapper.startPush('')),
    [1, 2, -7, -7],
  );
  sdk.reset();
  assert.equal(wrapper.startPush(''), 0);
});

test('refuses answers that an operation cannot give', () => {
  assert.throws(() => sdk.answer('startPush', '0'), /pusher\.startPush/);
  assert.throws(() => sdk.answer('getCameraList', null), /pusher\.getCameraList/);
  assert.throws(() => sdk.answer('Create', null), /pusher\.Create or player\.Create/);
});

test('carries bytes that are no text as Buffers in both directions', () => {
  const bytes = Buffer.from([0xff, 0x41]);
  sdk.answer('getCameraList', [{ deviceName: bytes, deviceId: 'id', transportType: -1 }]);
  assert.deepEqual(wrapper.getCameraList(), [
    { deviceName: '\ufffdA', deviceId: 'id', deviceTransportType: -1 },
  ]);
  const { frame } = sdk.fire('onCaptureVideoSample', {
    readBack: true,
    frame: { width: 2, height: 1, fill: bytes },
  });
  assert.deepEqual(frame.bytes, Buffer.from([0xff, 0x41, 0, 0]));
});

test('fires with arguments, from a named thread and from the calling one', async () => {
  const event = nextEvent(wrapper, 'onSDKError');
  const result = sdk.fire('onSDKError', { code: 5, msg: 'text', thread: 'net-1' });
  assert.deepEqual(result, { delivered: true });
  const { args, receiver } = await event;
  assert.deepEqual(args, [{ msg: 'text', code: 5 }]);
  assert.equal(receiver, wrapper);
  assert.equal(sdk.fire('onPushStarted', { thread: null }).delivered, true);
  assert.throws(() => sdk.fire('onPushStarted', { code: 1 }), /code/);
});

test('flush waits for everything that several threads have fired', async () => {
  const events = recordEvents(wrapper, ['onSDKError']);
  const results = sdk.fireFrom(
    4,
    (thread, repetition) => ({ callback: 'onSDKError', code: thread * 1000 + repetition }),
    { times: 50 },
  );
  assert.deepEqual(results.flat(), Array(200).fill({ delivered: true }));
  assert.equal(events.length, 0);
  await flush();
  assert.equal(new Set(events.map(({ args }) => args[0].code)).size, 200);
  assert.equal(events.length, 200);
});

test('a burst may be collected after other work', async () => {
  const events = recordEvents(wrapper, ['onPushStarted']);
  const ticket = sdk.startFrom(2, 'onPushStarted', { times: 3 });
  wrapper.startPush('');
  assert.equal(sdk.collect(ticket).flat().length, 6);
  await flush();
  assert.equal(events.length, 6);
});

test('fires inside a call, as often as told', () => {
  sdk.onCall('stopPush', [{ callback: 'onPushStopped' }], { times: 2 });
  sdk.onCall('startPush', [{ callback: 'onPushStarted', thread: null }], { times: Infinity });
  for (let i = 0; i < 3; ++i) {
    wrapper.stopPush();
    wrapper.startPush('');
  }
  const fired = (name) => sdk.calls(name).map((call) => call.fired?.length ?? 0);
  assert.deepEqual(fired('stopPush'), [1, 1, 0]);
  assert.deepEqual(fired('startPush'), [1, 1, 1]);
});

test('frameBytes agrees with the frames that are fired', () => {
  for (const frame of [
    { width: 5, height: 3, fill: { gradient: 250 } },
    { width: 4, height: 2, strideY: 8, strideU: 3, strideV: 5, fill: { gradient: 0 } },
    { width: 4, height: 2, fill: 9 },
    { width: 4, height: 2, fill: Buffer.from([1, 2, 3]), size: 20 },
    { width: 4, height: 2, fill: { gradient: 3 }, size: 16 },
    { width: -4, height: 2, strideU: 1 },
    { width: 4, height: 2, fill: null },
  ]) {
    const result = sdk.fire('onCaptureVideoSample', { frame, readBack: true });
    assert.deepEqual(result.frame.bytes, sdk.frameBytes(frame));
  }
});

test('addressOf gives the pointer that the SDK sees', () => {
  const view = Buffer.alloc(8);
  wrapper.startPreview({ view });
  assert.equal(sdk.calls('startPreview')[0].args.view, sdk.addressOf(view));
  assert.throws(() => sdk.addressOf('view'), TypeError);
});

test('records Strings, arrays, lists and log lines apart', () => {
  assert.equal(wrapper.registPlugin(scriptedDirectory), true);
  assert.equal(sdk.logs('Electron').at(-1).format, 'Load SDK Finish');
  assert.deepEqual(sdk.strings(), []);
  const before = sdk.alive();
  sdk.recordStrings();
  wrapper.setLiveMixTranscodingConfig({ mixStreams: [{ userId: 'a' }] });
  assert.ok(sdk.strings('assign').some(({ text }) => text === 'a'));
  assert.equal(sdk.arrays('Add')[0].stream.userId, 'a');
  wrapper.getScreenShareSourceInfo();
  assert.equal(sdk.lists('release').length, 1);
  assert.deepEqual(sdk.alive(), before);
});

test('objects of an earlier test may end late', () => {
  wrapper.destroyPusher();
  const older = createLivePush();
  older.initPusher({});
  const [olderPusher] = sdk.alive().pushers;
  sdk.reset();
  wrapper.initPusher({});
  const newerPusher = sdk.alive().pushers[1];
  older.destroyPusher();
  assert.equal(sdk.calls('pusher.destroy')[0].self, olderPusher);
  assert.deepEqual(sdk.alive().pushers, [newerPusher]);
});

test('add-on and driver share one SDK, whichever is loaded first', () => {
  for (const modules of [
    ['scripted_sdk_control', 'lumolivepush_electron_sdk'],
    ['lumolivepush_electron_sdk', 'scripted_sdk_control'],
  ]) {
    const script = `
      const loaded = {};
      for (const name of ${JSON.stringify(modules)}) {
        loaded[name] = require(${JSON.stringify(scriptedDirectory + path.sep)} + name + '.node');
      }
      loaded.lumolivepush_electron_sdk.createLivePush().getSDKVersion();
      process.stdout.write(loaded.scripted_sdk_control.control('{"op":"records"}'));`;
    const records = JSON.parse(
      execFileSync(process.execPath, ['-e', script], { encoding: 'utf8' }),
    );
    assert.deepEqual(
      records.value.map(({ name }) => name),
      ['GetSDKVersion'],
    );
  }
});
