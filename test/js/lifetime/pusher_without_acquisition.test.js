'use strict';

/*
 * What no script can bring about: a wrapper without the acquisition flag that has a pusher all the
 * same, and a listener that is taken away. A module of the tests does both.
 */

const assert = require('node:assert/strict');
const { describe, it } = require('node:test');
const { flush, recordEvents, sdk } = require('../support/addon');
const { loadNative } = require('../support/build_directory');
const { callNames, useFreshSdk } = require('../support/wrapper');

const probe = loadNative('wrapper_probe.node');

const LISTENER_SETTERS = [
  'pusher.setPushErrorListener',
  'pusher.setPushInfoListener',
  'pusher.setVideoFrameListener',
  'pusher.setPushNetworkListener',
];

// Wrappers stay alive to the end, so that no collection's SDK calls appear in another test.
const kept = [];

/** A wrapper that was given a pusher; the record of calls is empty. */
function newWrapperWithGivenPusher(acquires) {
  const wrapper = new probe.LumoLivePushJSWrapper(acquires);
  kept.push(wrapper);
  probe.givePusher(wrapper);
  sdk.forget();
  return wrapper;
}

/** The listeners that the SDK was given, without repetitions. */
const listeners = () =>
  new Set(LISTENER_SETTERS.flatMap((name) => sdk.calls(name).map(({ args }) => args.listener)));

describe('a wrapper without the acquisition flag, given a pusher', () => {
  useFreshSdk();

  it('attaches its listener at every lookup, in order', () => {
    const wrapper = newWrapperWithGivenPusher(false);
    assert.equal(wrapper.stopPreview(), 0);
    assert.equal(wrapper.setFps(25), 0);
    assert.deepEqual(callNames(), [
      ...[...LISTENER_SETTERS, 'pusher.stopPreview'],
      ...[...LISTENER_SETTERS, 'pusher.setFps'],
    ]);
  });

  it('has one listener, whatever is looked up', async () => {
    const wrapper = newWrapperWithGivenPusher(false);
    for (let i = 0; i < 3; i += 1) wrapper.stopPreview();
    wrapper.destroyPusher();
    probe.givePusher(wrapper);
    wrapper.stopPreview();
    const [pointer, ...others] = [...listeners()].filter((listener) => listener !== null);
    assert.match(pointer, /^0x/);
    // The bases of one object that are seen as the four interfaces, each at its own place.
    assert.equal(others.length, 3);
  });

  it('attaches twice in initPusher: at the lookup and after the start', () => {
    const wrapper = newWrapperWithGivenPusher(false);
    assert.equal(wrapper.initPusher({}), undefined);
    assert.deepEqual(callNames(), [...LISTENER_SETTERS, 'pusher.init', ...LISTENER_SETTERS]);
  });

  it('attaches nothing where no lookup takes place', () => {
    const wrapper = newWrapperWithGivenPusher(false);
    assert.equal(wrapper.startPush(5), 1);
    assert.equal(wrapper.getSDKVersion(), '');
    assert.deepEqual(callNames(), ['base.GetSDKVersion']);
  });

  it('receives events without initPusher', async () => {
    const wrapper = newWrapperWithGivenPusher(false);
    const events = recordEvents(wrapper, ['onPushStarted']);
    assert.deepEqual(callNames(), LISTENER_SETTERS);
    sdk.fire('onPushStarted', { target: sdk.alive().pushers.at(-1) });
    await flush();
    assert.deepEqual(
      events.map(({ name, receiver }) => [name, receiver === wrapper]),
      [['onPushStarted', true]],
    );
  });

  it('detaches and destroys it, and makes none in its place', () => {
    const wrapper = newWrapperWithGivenPusher(false);
    wrapper.destroyPusher();
    assert.deepEqual(callNames(), [...LISTENER_SETTERS, 'pusher.destroy']);
    assert.deepEqual([...listeners()], [null]);
    sdk.forget();
    assert.equal(wrapper.stopPreview(), 1);
    assert.deepEqual(callNames(), []);
  });
});

describe('a wrapper with the acquisition flag, given a pusher', () => {
  useFreshSdk();

  it('uses it and attaches nothing before initPusher', () => {
    const wrapper = newWrapperWithGivenPusher(true);
    assert.equal(wrapper.stopPreview(), 0);
    assert.deepEqual(callNames(), ['pusher.stopPreview']);
    wrapper.addEventListener('onPushStarted', () => {});
    assert.deepEqual(callNames(), ['pusher.stopPreview']);
  });
});

describe('a listener that is taken away', () => {
  useFreshSdk();

  it('is not called any more; the name can be listened for again', async () => {
    const wrapper = newWrapperWithGivenPusher(false);
    const events = recordEvents(wrapper, ['onPushStarted', 'onPushStopped']);
    probe.removeEventListener(wrapper, 'onPushStarted');
    probe.removeEventListener(wrapper, 'unknown');
    const target = sdk.alive().pushers.at(-1);
    for (const name of ['onPushStarted', 'onPushStopped']) sdk.fire(name, { target });
    await flush();
    assert.deepEqual(
      events.map(({ name }) => name),
      ['onPushStopped'],
    );
    const again = recordEvents(wrapper, ['onPushStarted']);
    sdk.fire('onPushStarted', { target });
    await flush();
    assert.equal(again.length, 1);
  });

  it('receives nothing of what was raised before and is still queued', async () => {
    const wrapper = newWrapperWithGivenPusher(false);
    const events = recordEvents(wrapper, ['onSDKError']);
    sdk.fire('onSDKError', { target: sdk.alive().pushers.at(-1), msg: 'queued' });
    probe.removeEventListener(wrapper, 'onSDKError');
    await flush();
    assert.deepEqual(events, []);
  });
});
