'use strict';

// LivePush: construction, results as values or errors, listeners, and disposal.

const assert = require('node:assert/strict');
const { once: nextOf } = require('node:events');
const { afterEach, describe, it } = require('node:test');
const { flush, scriptedDirectory, sdk } = require('../support/addon');
const { callNames, logLines, useFreshSdk } = require('../support/wrapper');

process.env.LUMO_BUILD_DIR = scriptedDirectory;
const { LivePush, LivePushError, LumoLivePushJSWrapper } = require('../../../lib');

let live;

/** The one LivePush of a test; it ends with the test. */
function open(options) {
  live = new LivePush(options);
  sdk.forget();
  return live;
}

/** Fires a callback and waits until its event has been delivered. */
async function fire(callback, options) {
  assert.equal(sdk.fire(callback, options).delivered, true);
  await flush();
}

const failure = (code, method, nativeCode) => ({
  name: 'LivePushError',
  code,
  method,
  nativeCode,
});

describe('LivePush', () => {
  useFreshSdk();
  afterEach(() => live?.dispose());

  it('stands on a native object that is one property away', () => {
    open();
    assert.ok(live.raw instanceof LumoLivePushJSWrapper);
    live.raw.stopPreview();
    assert.deepEqual(callNames(), ['pusher.Create', 'pusher.stopPreview']);
  });

  it('loads the bundled SDK, or the one that is given', () => {
    open();
    assert.throws(
      () => new LivePush({ sdkDirectory: '/nowhere' }),
      failure('REFUSED', 'registPlugin', false),
    );
  });

  it('takes the extra configuration before the pusher exists, as text or object', () => {
    open({ extraConfig: { camera: 'test' } });
    live.on('onPushStarted', () => {});
    assert.deepEqual(sdk.calls('pusher.Create')[0].args, { extraConfig: '{"camera":"test"}' });
    live.dispose();
    open({ extraConfig: '{}' }).startCamera();
    assert.deepEqual(sdk.calls('pusher.Create')[0].args, { extraConfig: '{}' });
  });

  it('takes paths inside an archive as unpacked ones', () => {
    open();
    assert.throws(
      () => live.registPlugin('/a/app.asar/sdk'),
      failure('REFUSED', 'registPlugin', false),
    );
    assert.throws(
      () => live.addPlugin({ id: 'x', path: '/a/app.asar/x.so' }),
      failure('REFUSED', 'addPlugin', 1),
    );
    const lines = logLines().map(([, text]) => text);
    assert.match(lines[0], /\/a\/app\.asar\.unpacked\/sdk\/NimboSdk/);
    assert.match(lines[1], /\/a\/app\.asar\.unpacked\/x\.so/);
  });
});

describe("LivePush's results", () => {
  useFreshSdk();
  afterEach(() => live?.dispose());

  it('hand values over', () => {
    open();
    const device = { deviceName: 'Front', deviceId: 'front', transportType: 2 };
    sdk.answer('getCameraList', [device]);
    sdk.answer('getCurrentCameraName', 'Front');
    sdk.answer('isSupportLiveMode', true);
    sdk.answer('getCurrentScreenShareSourceId', 4294967295);
    sdk.answer('getScreenShareEncoderConfiguration', { bitrate: 700 });
    assert.deepEqual(live.getCameraList(), [
      { deviceName: 'Front', deviceId: 'front', deviceTransportType: 2 },
    ]);
    assert.equal(live.getCurrentCameraName(), 'Front');
    assert.equal(live.isSupportLiveMode(1), true);
    assert.equal(live.getCurrentScreenShareSourceId(), 4294967295);
    assert.equal(live.getScreenShareEncoderConfiguration().bitrate, 700);
    assert.deepEqual(live.getPlugins(), []);
  });

  it('are nothing for methods that only succeed or fail', () => {
    open();
    assert.equal(live.startCamera(), undefined);
    assert.equal(live.setFps(30), undefined);
    assert.equal(live.initPusher({}), undefined);
    assert.equal(live.initializePluginManager(), undefined);
  });

  it("become errors with the SDK's code", () => {
    open();
    for (const [method, ...args] of [
      ['startCamera'],
      ['setMute', {}],
      ['muteLocalCamera', true],
      ['setCurrentCameraID', 'x'],
      ['setFps', 30],
      ['setLogDirPath', '/x'],
      ['pauseScreenShare'],
    ]) {
      sdk.answer(method === 'setLogDirPath' ? 'SetLogDirPath' : method, -2003);
      assert.throws(() => live[method](...args), failure('SDK_ERROR', method, -2003));
    }
  });

  it('become errors when the add-on refuses', () => {
    open();
    for (const [method, nativeCode, ...args] of [
      ['setMute', 1, 5],
      ['setCurrentCameraName', 1, 5],
      ['setFps', -901, '30'],
      ['muteLocalCamera', undefined, 1],
      ['startScreenShareByDesktopId', undefined, 'x'],
      ['setLogDirPath', 1, '/x', 'two'],
      ['writeLog', -101, 5],
      ['addPlugin', 1, { id: '', path: '' }],
      ['addPlugin', 1],
      ['removePlugin', 1, 'none'],
      ['enablePlugin', 1, 'none', true],
      ['setPluginParameter', 1, 'none', ''],
    ]) {
      assert.throws(() => live[method](...args), failure('REFUSED', method, nativeCode));
    }
  });

  it('become errors without a pusher', () => {
    open();
    sdk.answer('pusher.Create', null);
    for (const [method, nativeCode, ...args] of [
      ['initPusher', 1, {}],
      ['startCamera', 1],
      ['stopCamera', 1],
      ['switchScreenToCamera', -901],
      ['getCurrentScreenShareSourceId', -901],
      ['getScreenShareEncoderConfiguration', undefined],
      ['muteLocalCamera', -901, true],
    ]) {
      assert.throws(() => live[method](...args), failure('REFUSED', method, nativeCode));
    }
    const refused = failure('REFUSED', 'addEventListener', -102);
    assert.throws(() => live.on('onPushStarted', () => {}), refused);
    assert.throws(() => live.createPlayer(), refused);
    sdk.answer('pusher.Create', 'new');
    live.on('onPushStarted', () => {});
  });

  it('do not hide arguments that the native side drops silently', () => {
    open();
    for (const [method, argument] of [
      ['setExtraConfig', {}],
      ['initPusher', 5],
      ['createPlayer', 'x'],
      ['isSupportLiveMode', '1'],
      ['setLogLevel', 2.5],
      ['setConsoleEnabled', 1],
    ]) {
      assert.throws(() => live[method](argument), TypeError, method);
    }
    assert.ok(!callNames().some((name) => name.startsWith('base.')));
    live.setLogLevel(2, 'one too many');
    assert.deepEqual(sdk.calls('base.SetLogLevel')[0].args, { level: 2 });
  });

  it('read as sentences', () => {
    open();
    sdk.answer('startCamera', -2005);
    assert.throws(() => live.startCamera(), { message: 'startCamera: the SDK failed (-2005)' });
    assert.throws(() => live.startCamera(), LivePushError);
  });
});

describe("LivePush's listeners", () => {
  useFreshSdk();
  afterEach(() => live?.dispose());

  it('may be several, called in order with the payload and the object', async () => {
    open().initPusher({});
    const seen = [];
    live.on('onSDKError', function first(error) {
      seen.push([1, this, error]);
    });
    live.on('onSDKError', (error) => seen.push([2, live, error]));
    await fire('onSDKError', { code: 5, msg: 'x' });
    const error = { msg: 'x', code: 5 };
    assert.deepEqual(seen, [
      [1, live, error],
      [2, live, error],
    ]);
  });

  it('are called without an argument for events without a payload', async () => {
    open().initPusher({});
    const counts = [];
    live.on('onPushStarted', (...args) => counts.push(args.length));
    await fire('onPushStarted');
    assert.deepEqual(counts, [0]);
  });

  it('go when they are asked to', async () => {
    open().initPusher({});
    const seen = [];
    const twice = () => seen.push('twice');
    const unsubscribe = live.on('onPushStarted', () => seen.push('unsubscribed'));
    live.on('onPushStarted', twice);
    live.on('onPushStarted', twice);
    live.once('onPushStarted', () => seen.push('once'));
    await fire('onPushStarted');
    assert.deepEqual(seen.splice(0), ['unsubscribed', 'twice', 'twice', 'once']);
    unsubscribe();
    unsubscribe();
    await fire('onPushStarted');
    assert.deepEqual(seen.splice(0), ['twice', 'twice']);
    live.off('onPushStarted', twice);
    live.off('onPushStarted', () => {});
    await fire('onPushStarted');
    assert.deepEqual(seen, []);
  });

  it('may come and go while an event is delivered', async () => {
    open().initPusher({});
    const seen = [];
    let remove;
    live.on('onPushStarted', () => {
      seen.push('first');
      remove();
      live.once('onPushStarted', () => seen.push('late'));
    });
    remove = live.on('onPushStarted', () => seen.push('removed'));
    await fire('onPushStarted');
    assert.deepEqual(seen.splice(0), ['first']);
    await fire('onPushStarted');
    assert.deepEqual(seen, ['first', 'late']);
  });

  it('refuse events that do not exist', () => {
    open();
    assert.throws(() => live.on('onpushstarted', () => {}), TypeError);
    assert.throws(() => live.on('onPushStarted', 5), TypeError);
    assert.deepEqual(callNames(), []);
  });

  it('start the delivery of frames only when they ask for frames', async () => {
    open().initPusher({});
    live.on('onPushStarted', () => {});
    const frames = new Promise((resolve) => {
      live.on('onVideoRenderData', resolve);
    });
    sdk.fire('onCaptureVideoSample', { frame: { width: 16, height: 2, fill: 7 } });
    const [frame] = await frames;
    assert.equal(frame.user_id, 'preview');
    assert.equal(frame.width, 16);
  });

  it('that throw stop neither the others nor the process', async () => {
    open().initPusher({});
    const failures = [];
    const seen = [];
    const thrown = new Error('thrown');
    const rejected = new Error('rejected');
    live.on('error', (payload) => failures.push(payload));
    live.on('onPushStarted', () => {
      throw thrown;
    });
    live.on('onPushStarted', async () => {
      throw rejected;
    });
    live.on('onPushStarted', () => seen.push('called'));
    await fire('onPushStarted');
    assert.deepEqual(seen, ['called']);
    assert.deepEqual(failures, [
      { error: thrown, event: 'onPushStarted' },
      { error: rejected, event: 'onPushStarted' },
    ]);
  });

  for (const [what, value] of [
    ['an error', new Error('oops')],
    ['anything', { oops: Object.create(null) }],
  ]) {
    it(`that throw ${what} become a warning without a listener for "error"`, async () => {
      open().initPusher({});
      live.on('onPushStarted', () => {
        throw value;
      });
      const warned = nextOf(process, 'warning');
      await fire('onPushStarted');
      const [warning] = await warned;
      assert.equal(warning.name, 'LivePushListenerWarning');
      assert.match(warning.message, /"onPushStarted" threw.*oops/);
    });
  }

  it('of "error" that throw become a warning', async () => {
    open().initPusher({});
    live.on('onPushStarted', () => {
      throw new Error('first');
    });
    live.on('error', () => {
      throw new Error('second');
    });
    const warned = nextOf(process, 'warning');
    await fire('onPushStarted');
    assert.match((await warned)[0].message, /"error" threw.*second/);
  });
});

describe("LivePush's end", () => {
  useFreshSdk();

  it('ends pusher, players and listeners, once', async () => {
    open().initPusher({});
    live.createPlayer();
    let heard = 0;
    live.on('onPushStarted', () => {
      heard += 1;
    });
    sdk.forget();
    live.dispose();
    live.dispose();
    assert.deepEqual(callNames(), [
      'pusher.setPushErrorListener',
      'pusher.setPushInfoListener',
      'pusher.setVideoFrameListener',
      'pusher.setPushNetworkListener',
      'pusher.destroy',
      'player.setPlayInfoListener',
      'player.setVideoFrameListener',
      'player.destroy',
    ]);
    live.raw.initPusher({});
    await fire('onPushStarted');
    live.raw.destroyPusher();
    assert.equal(heard, 0);
  });

  it('lets nothing happen afterwards', async () => {
    const player = open().createPlayer();
    live.dispose();
    const disposed = { name: 'LivePushError', code: 'DISPOSED' };
    assert.throws(() => live.startCamera(), disposed);
    assert.throws(() => live.on('onPushStarted', () => {}), disposed);
    assert.throws(() => live.createPlayer(), disposed);
    assert.throws(() => player.getPlayMode(), disposed);
    await assert.rejects(live.startPush('x'), disposed);
    await assert.rejects(player.startPlay('x'), disposed);
    live.off('onPushStarted', () => {});
    player.dispose();
  });

  it('rejects what waits', async () => {
    open().initPusher({});
    const player = live.createPlayer();
    const waiting = [live.startPreview({}), live.startPush('x'), player.startPlay('x')];
    live.dispose();
    for (const promise of waiting) await assert.rejects(promise, { code: 'DISPOSED' });
  });

  it('may be left to "await using"', {
    skip: !Symbol.asyncDispose && 'no Symbol.asyncDispose',
  }, async () => {
    open().initPusher({});
    assert.equal(await live[Symbol.asyncDispose](), undefined);
    assert.ok(callNames().includes('pusher.destroy'));
  });
});
