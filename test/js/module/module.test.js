'use strict';

// The native module: exports, class, constructors, receivers, and loading it more than once.

const assert = require('node:assert/strict');
const { spawnSync } = require('node:child_process');
const path = require('node:path');
const { describe, it } = require('node:test');
const { Worker } = require('node:worker_threads');
const { addon, createLivePush, scriptedDirectory } = require('../support/addon');
const {
  callNames,
  newWrapper,
  newWrapperWithoutPusher,
  useFreshSdk,
} = require('../support/wrapper');

const { LumoLivePushJSWrapper } = addon;
const addonFile = path.join(scriptedDirectory, 'lumolivepush_electron_sdk.node');

// The order of registration, which is the order of the prototype's keys.
const METHODS = `
  setExtraConfig registPlugin initPusher destroyPusher startPreview startPreviewAsync stopPreview
  startPush startPushAsync stopPush startCamera stopCamera getAudioCaptureList
  getCurrentAudioCaptureName getCurrentAudioCaptureID setCurrentAudioCaptureName
  setCurrentAudioCaptureID setMute getCameraList getCurrentCameraName getCurrentCameraID
  setCurrentCameraName setCurrentCameraID enableAudioVolumeIndication setTargetVideoBitrate
  setMinVideoBitrate setResolution setFps setLiveMixTranscodingConfig muteLocalCamera
  startScreenShareByDesktopId setScreenShareEncoderConfiguration getScreenShareEncoderConfiguration
  switchScreenToCamera pauseScreenShare resumeScreenShare getScreenShareSourceInfo
  getCurrentScreenShareSourceId getSDKVersion isSupportLiveMode setLogDirPath setLogLevel
  setConsoleEnabled initPlayer destroyPlayer setPlayView startPlay stopPlay setRemoteAudioVolume
  getPlayMode addEventListener writeLog initializePluginManager releasePluginManager addPlugin
  removePlugin getPlugins enablePlugin setPluginParameter getPluginParameter`
  .trim()
  .split(/\s+/);

// A wrapper that had a pusher must not be collected in the middle of another test.
const kept = [];

/** Whether the wrapper creates its pusher by itself. */
function createsPusher(wrapper) {
  kept.push(wrapper);
  const before = callNames().length;
  wrapper.stopPreview();
  return callNames()[before] === 'pusher.Create';
}

/** Runs a script in a process of its own that has not loaded the add-on. */
function outputOfNode(script) {
  const { status, signal, stdout, stderr } = spawnSync(process.execPath, ['-e', script], {
    encoding: 'utf8',
    timeout: 60_000,
  });
  assert.deepEqual([status, signal], [0, null], stderr);
  return stdout;
}

describe('the module', () => {
  useFreshSdk();

  it('exports the class and the factory', () => {
    assert.deepEqual(Object.keys(addon), ['LumoLivePushJSWrapper', 'createLivePush']);
    assert.equal(createLivePush.name, 'createLivePush');
    assert.equal(LumoLivePushJSWrapper.name, 'LumoLivePushJSWrapper');
  });

  it('touches the SDK neither when it is loaded nor when a wrapper is made', () => {
    newWrapper();
    assert.deepEqual(callNames(), []);
  });

  it('loads again in the same isolate, and the later class wins', () => {
    const first = { exports: {} };
    const second = { exports: {} };
    process.dlopen(first, addonFile);
    process.dlopen(second, addonFile);
    assert.notEqual(first.exports.LumoLivePushJSWrapper, second.exports.LumoLivePushJSWrapper);
    for (const { createLivePush: create } of [first.exports, second.exports, addon]) {
      assert.ok(create() instanceof second.exports.LumoLivePushJSWrapper);
    }
    process.dlopen({ exports: addon }, addonFile);
  });

  it('refuses to load in a worker thread, and the main thread is none the worse', async () => {
    const worker = new Worker(
      `const { parentPort, workerData } = require('node:worker_threads');
       try { require(workerData); parentPort.postMessage('loaded'); }
       catch (error) { parentPort.postMessage(error.message); }`,
      { eval: true, workerData: addonFile },
    );
    const message = await new Promise((resolve) => {
      worker.once('message', resolve);
    });
    assert.match(message, /main thread/);
    await worker.terminate();
    assert.equal(newWrapper().stopPreview(), 0);
  });
});

describe('exports that cannot be filled', () => {
  it('make loading throw what they throw', () => {
    const script = `
      const refuse = () => { throw new Error('refused'); };
      let filled = 0;
      for (const set of [refuse, () => { if (filled++ > 0) refuse(); return true; }]) {
        try {
          process.dlopen({ exports: new Proxy({}, { set }) }, ${JSON.stringify(addonFile)});
        } catch ({ message }) {
          console.log(message);
        }
      }`;
    assert.equal(outputOfNode(script), 'refused\nrefused\n');
  });
});

describe('the module, required by a worker thread before anybody else', () => {
  it('is refused there, and loads on the main thread when the worker has ended', () => {
    const script = `
      const { Worker } = require('node:worker_threads');
      const file = ${JSON.stringify(addonFile)};
      const worker = new Worker('require(' + JSON.stringify(file) + ')', { eval: true });
      worker.on('error', ({ message }) => console.log(/main thread/.test(message)));
      worker.on('exit', () => {
        for (let i = 0; i < 2; i += 1) {
          const loaded = { exports: {} };
          process.dlopen(loaded, file);
          console.log(loaded.exports.createLivePush().stopPreview());
        }
        process.exit();
      });`;
    assert.equal(outputOfNode(script), 'true\n0\n0\n');
  });
});

describe('the class', () => {
  useFreshSdk();

  it('keeps the first sixty methods, named and in order', () => {
    const { prototype } = addon.LumoLivePushJSWrapper;
    assert.equal(METHODS.length, 60);
    assert.deepEqual(
      Object.keys(prototype).filter((key) => METHODS.includes(key)),
      METHODS,
    );
    for (const method of METHODS) assert.equal(prototype[method].name, method);
  });

  it('createLivePush ignores its arguments and makes independent wrappers', () => {
    const wrapper = createLivePush(false);
    assert.ok(wrapper instanceof addon.LumoLivePushJSWrapper);
    assert.ok(createsPusher(wrapper));
    assert.notEqual(newWrapper(), newWrapper());
  });

  it('new takes the acquisition flag from a boolean only', () => {
    assert.equal(createsPusher(newWrapperWithoutPusher()), false);
    for (const first of [true, 0, 'false', null, undefined, Object(false)]) {
      assert.ok(createsPusher(new addon.LumoLivePushJSWrapper(first)), String(first));
    }
    assert.ok(createsPusher(new addon.LumoLivePushJSWrapper()));
  });

  it('called without new it makes an object all the same, with its first two arguments', () => {
    const wrapper = addon.LumoLivePushJSWrapper(false);
    assert.ok(wrapper instanceof addon.LumoLivePushJSWrapper);
    assert.equal(createsPusher(wrapper), false);
    assert.ok(createsPusher(addon.LumoLivePushJSWrapper()));
    assert.ok(createsPusher(addon.LumoLivePushJSWrapper(1, false)));
  });

  it('can be extended', () => {
    class Derived extends addon.LumoLivePushJSWrapper {}
    assert.ok(createsPusher(new Derived(true)));
  });

  it('methods reject foreign receivers before the handler runs', () => {
    const { prototype } = addon.LumoLivePushJSWrapper;
    for (const method of METHODS) {
      for (const receiver of [{}, undefined, 5, prototype, Object.create(newWrapper())]) {
        assert.throws(() => prototype[method].call(receiver), TypeError, method);
      }
    }
    assert.deepEqual(callNames(), []);
  });

  it('methods are no constructors', () => {
    const wrapper = newWrapper();
    for (const method of METHODS) assert.throws(() => new wrapper[method](), TypeError, method);
  });
});
