'use strict';

// Captured frames pass the plug-ins in order, in place, also while plug-ins change.

const assert = require('node:assert/strict');
const { describe, it } = require('node:test');
const { setTimeout: sleep } = require('node:timers/promises');
const { sdk } = require('../support/addon');
const { outputOf } = require('../support/fresh_process');
const {
  forgetPluginCalls,
  pluginCallNames,
  pluginCalls,
  pluginPath,
  useFreshPluginCalls,
} = require('../support/plugins');
const { newWrapper, useFreshSdk } = require('../support/wrapper');

const FRAME = { width: 16, height: 4, fill: { gradient: 5 } };
const HANG_GUARD = 30_000;

/** Lets `use` have an attached wrapper with plug-ins, given by ID, and releases them after it. */
async function withPlugins(plugins, use) {
  const wrapper = newWrapper();
  wrapper.initPusher({});
  for (const [id, name] of Object.entries(plugins)) {
    assert.equal(wrapper.addPlugin({ id, path: pluginPath(name) }), 0);
  }
  forgetPluginCalls();
  try {
    await use(wrapper);
  } finally {
    wrapper.releasePluginManager();
  }
}

function capture(options = {}) {
  return sdk.fire('onCaptureVideoSample', { source: 0, frame: FRAME, readBack: true, ...options });
}

const inverted = (bytes) => Buffer.from(bytes.map((byte) => 255 - byte));

/** The plug-ins that saw frames, in order. */
const seenBy = () =>
  pluginCalls()
    .filter(({ call }) => call === 'processVideoFrame')
    .map(({ plugin }) => plugin);

async function until(condition) {
  const deadline = Date.now() + HANG_GUARD;
  while (!condition()) {
    assert.ok(Date.now() < deadline, 'the condition does not come true');
    await sleep(1);
  }
}

describe('captured frames and plug-ins', () => {
  useFreshSdk();
  useFreshPluginCalls();

  it('a plug-in gets every frame with its fields, on the capture thread; true says so', () =>
    withPlugins({ a: 'recording' }, () => {
      const frame = { width: 5, height: 3, strideY: 8, strideU: 4, strideV: 6, fill: 7 };
      const fired = capture({ frame });
      assert.equal(fired.result, true);
      assert.deepEqual(fired.frame.bytes, sdk.frameBytes(frame));
      assert.deepEqual(pluginCalls(), [
        {
          plugin: 'recording',
          call: 'processVideoFrame',
          argument: '5x3 8,4,6',
          thread: 'other',
        },
      ]);
    }));

  it('it gets them whether it was switched on, off, or neither', () =>
    withPlugins({ a: 'recording' }, (wrapper) => {
      capture();
      for (const on of [true, false]) {
        wrapper.enablePlugin('a', on);
        assert.equal(capture().result, true);
      }
      assert.equal(seenBy().length, 3);
    }));

  it('it works on the pixels in place, and what JavaScript sees has its effect', () =>
    withPlugins({ a: 'inverting' }, async (wrapper) => {
      const original = sdk.frameBytes(FRAME);
      assert.deepEqual(capture().frame.bytes, original);
      wrapper.enablePlugin('a', true);
      const frames = new Promise((resolve) => {
        wrapper.addEventListener('onVideoRenderData', (array) => {
          if (array.length > 0) resolve(array);
        });
      });
      assert.deepEqual(capture().frame.bytes, inverted(original));
      const [frame] = await frames;
      const shown = Buffer.concat([frame.data_y, frame.data_u, frame.data_v]);
      assert.deepEqual(shown, inverted(original));
    }));

  it('several run one after the other, in the order of their IDs', () =>
    withPlugins({ c: 'recording', a: 'inverting', b: 'refusing' }, (wrapper) => {
      wrapper.enablePlugin('a', true);
      const { result, frame } = capture();
      assert.equal(result, true);
      assert.deepEqual(seenBy(), ['inverting', 'refusing', 'recording']);
      assert.deepEqual(frame.bytes, inverted(sdk.frameBytes(FRAME)));
    }));

  it("changes to the record's own fields are seen by nobody", () =>
    withPlugins({ a: 'reshaping', b: 'recording' }, (wrapper) => {
      const { result, frame } = capture();
      assert.equal(result, true);
      const { bytes, ...fields } = frame;
      assert.deepEqual(fields, {
        width: 16,
        height: 4,
        strideY: 16,
        strideU: 8,
        strideV: 8,
        dataMoved: false,
      });
      assert.deepEqual(bytes, sdk.frameBytes(FRAME));
      assert.deepEqual(
        pluginCalls().map(({ argument }) => argument),
        ['16x4 16,8,8', '16x4 16,8,8'],
      );
      wrapper.removePlugin('b');
      assert.equal(capture().result, true);
    }));

  it('of a source other than 0 pass no plug-in', () =>
    withPlugins({ a: 'recording' }, () => {
      for (const source of [1, 2, 4294967295]) assert.equal(capture({ source }).result, false);
      assert.deepEqual(pluginCalls(), []);
    }));

  it('remote frames pass no plug-in', () =>
    withPlugins({ a: 'recording' }, (wrapper) => {
      wrapper.initPlayer({});
      assert.equal(sdk.fire('onRemoteVideoSample', { source: 0, frame: FRAME }).result, false);
      assert.deepEqual(pluginCalls(), []);
    }));

  it('a plug-in that is no video plug-in, and an empty entry, are skipped', () =>
    withPlugins({ a: 'not_video' }, (wrapper) => {
      wrapper.enablePlugin('unknown', true);
      assert.equal(capture().result, false);
      assert.deepEqual(pluginCalls(), []);
      wrapper.addPlugin({ id: 'z', path: pluginPath('recording') });
      assert.equal(capture().result, true);
    }));

  it('a plug-in that was removed gets no more', () =>
    withPlugins({ a: 'recording', b: 'refusing' }, (wrapper) => {
      capture();
      wrapper.removePlugin('a');
      assert.equal(capture().result, true);
      wrapper.removePlugin('b');
      assert.equal(capture().result, false);
      assert.deepEqual(seenBy(), ['recording', 'refusing', 'refusing']);
    }));

  it("a plug-in gets its own wrapper's frames only", () =>
    withPlugins({ a: 'recording' }, () => {
      newWrapper().initPusher({});
      assert.equal(capture().result, false);
      assert.deepEqual(pluginCalls(), []);
    }));

  it('plug-ins are kept when the pusher is destroyed and created again', () =>
    withPlugins({ a: 'recording' }, (wrapper) => {
      wrapper.destroyPusher();
      wrapper.initPusher({});
      assert.equal(capture().result, true);
    }));
});

describe('plug-in methods while frames are processed', () => {
  useFreshSdk();
  useFreshPluginCalls();

  it('do not wait for the frame that a slow plug-in holds', () =>
    withPlugins({ a: 'waiting' }, async (wrapper) => {
      const ticket = sdk.startFrom(1, () => ({ callback: 'onCaptureVideoSample', frame: FRAME }));
      await until(() => seenBy().length === 1);
      assert.equal(wrapper.enablePlugin('a', true), 0);
      assert.deepEqual(wrapper.getPlugins(), [{ id: 'a' }]);
      assert.equal(wrapper.setPluginParameter('a', 'go on'), 0);
      assert.equal(sdk.collect(ticket)[0][0].result, true);
      assert.deepEqual(pluginCallNames(), [
        'processVideoFrame',
        'enable',
        'setParameter',
        'released',
      ]);
    }));

  it('frames of several threads pass the plug-ins one at a time', () =>
    withPlugins({ a: 'waiting' }, (wrapper) => {
      const [threads, times] = [4, 25];
      const fire = { callback: 'onCaptureVideoSample', frame: FRAME };
      const ticket = sdk.startFrom(threads, () => fire, { times });
      for (let i = 0; i < threads * times; i += 1) wrapper.setPluginParameter('a', `${i}`);
      sdk.collect(ticket);
      const steps = pluginCallNames().filter((call) => call !== 'setParameter');
      assert.deepEqual(
        steps,
        Array(threads * times)
          .fill(['processVideoFrame', 'released'])
          .flat(),
      );
    }));

  // In a process of its own: the frames' threads once walked a map, and ran plug-ins, that were
  // being changed and unloaded.
  it('may load, look for and unload plug-ins at any moment', () => {
    const output = outputOf(`
      const path = ${JSON.stringify(pluginPath('inverting'))};
      wrapper.initPusher({});
      const fire = { callback: 'onCaptureVideoSample', frame: ${JSON.stringify(FRAME)} };
      for (let round = 0; round < 50; round += 1) {
        const ticket = sdk.startFrom(4, () => fire, { times: 100 });
        for (let id = 0; id < 20; id += 1) {
          wrapper.addPlugin({ id: 'a' + id, path });
          wrapper.enablePlugin('unknown' + id, true);
          wrapper.removePlugin('a' + (id - 3));
        }
        wrapper.releasePluginManager();
        sdk.collect(ticket);
      }
      console.log('done');
      process.exit();`);
    assert.equal(output, 'done\n');
  });

  it('may switch the plug-in at any moment: a frame is inverted wholly or not at all', () =>
    withPlugins({ a: 'inverting', b: 'recording' }, (wrapper) => {
      const frame = { width: 16, height: 4, fill: 0 };
      const fire = { callback: 'onCaptureVideoSample', frame, readBack: true };
      const ticket = sdk.startFrom(4, () => fire, { times: 100 });
      for (let i = 0; i < 300; i += 1) {
        assert.equal(wrapper.enablePlugin('a', i % 2 === 0), 0);
        assert.equal(wrapper.setPluginParameter('a', `parameter ${i}`), 0);
        assert.equal(wrapper.getPlugins().length, 2);
      }
      const results = sdk.collect(ticket).flat();
      assert.equal(results.length, 400);
      for (const { result, frame: left } of results) {
        assert.equal(result, true);
        const bytes = new Set(left.bytes);
        assert.ok(bytes.size === 1 && (bytes.has(0) || bytes.has(255)));
      }
      assert.equal(seenBy().filter((name) => name === 'recording').length, 400);
    }));
});
