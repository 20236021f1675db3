'use strict';

// addEventListener: registration, refused arguments, and how a registered listener is called.

const assert = require('node:assert/strict');
const { describe, it } = require('node:test');
const { flush, recordEvents, sdk } = require('../support/addon');
const {
  callNames,
  logLines,
  newWrapper,
  newWrapperWithoutPusher,
  useFreshSdk,
} = require('../support/wrapper');

const noop = () => {};

/** A wrapper whose listener is attached to its pusher. */
function newAttachedWrapper() {
  const wrapper = newWrapper();
  wrapper.initPusher({});
  return wrapper;
}

describe('addEventListener', () => {
  useFreshSdk();

  it('returns true and creates the pusher, but attaches nothing', () => {
    const wrapper = newWrapper();
    assert.equal(wrapper.addEventListener('onPushStarted', noop), true);
    assert.equal(wrapper.addEventListener('anyName', noop), true);
    assert.deepEqual(callNames(), ['pusher.Create']);
  });

  it('refuses anything but a string and a function: false, a line, -101 later', async () => {
    const wrapper = newWrapper();
    const events = recordEvents(wrapper);
    const bad = [[], ['x'], [1, noop], [Object('x'), noop], ['x', {}], ['x', noop, 1], [noop, 'x']];
    for (const args of bad) assert.equal(wrapper.addEventListener(...args), false);
    assert.deepEqual(
      logLines(),
      Array(bad.length).fill(['AddEventListener', 'AddEventListener: invaild param']),
    );
    assert.equal(events.length, 0);
    await flush();
    assert.deepEqual(
      events.map(({ name, args }) => [name, args]),
      Array(bad.length).fill(['onOccurError', [-101]]),
    );
  });

  it('refused before there is a listener, reports nothing and creates no pusher', async () => {
    const wrapper = newWrapper();
    assert.equal(wrapper.addEventListener('x'), false);
    assert.deepEqual(callNames(), []);
    const events = recordEvents(wrapper);
    await flush();
    assert.deepEqual(events, []);
  });

  it('returns -102 when no pusher can be had', () => {
    assert.equal(newWrapperWithoutPusher().addEventListener('x', noop), -102);
    assert.deepEqual(logLines(), [['AddEventListener', 'GetLivePusher failed: AddEventListener']]);
    sdk.answer('pusher.Create', null);
    assert.equal(newWrapper().addEventListener('x', noop), -102);
  });

  it('takes classes, async functions and bound functions as functions', () => {
    const wrapper = newWrapper();
    for (const callback of [class {}, async () => {}, noop.bind(null), new Proxy(noop, {})]) {
      assert.equal(wrapper.addEventListener('x', callback), true);
    }
  });
});

describe('dispatching', () => {
  useFreshSdk();

  it('the last listener of a name wins', async () => {
    const wrapper = newAttachedWrapper();
    const seen = [];
    wrapper.addEventListener('onPushStarted', () => seen.push('first'));
    wrapper.addEventListener('onPushStarted', () => seen.push('second'));
    sdk.fire('onPushStarted');
    await flush();
    assert.deepEqual(seen, ['second']);
  });

  it('calls with the wrapper object as `this`', async () => {
    const wrapper = newAttachedWrapper();
    const [event] = await eventsOf(wrapper, () => sdk.fire('onPushStarted'));
    assert.equal(event.receiver, wrapper);
  });

  it('compares names exactly, up to U+0000', async () => {
    const wrapper = newAttachedWrapper();
    const seen = [];
    for (const name of ['onpushstarted', 'onPushStarted ', 'onPushStart', 'onPushStopped\0x']) {
      wrapper.addEventListener(name, () => seen.push(name));
    }
    sdk.fire('onPushStarted');
    sdk.fire('onPushStopped');
    await flush();
    assert.deepEqual(seen, ['onPushStopped\0x']);
  });

  it('events without a listener are lost, not kept', async () => {
    const wrapper = newAttachedWrapper();
    sdk.fire('onPushStarted');
    await flush();
    const events = recordEvents(wrapper);
    await flush();
    assert.deepEqual(events, []);
  });

  it('each wrapper receives its own pusher only', async () => {
    const [first, second] = [newAttachedWrapper(), newAttachedWrapper()];
    const heard = [recordEvents(first), recordEvents(second)];
    const [older, newer] = sdk.alive().pushers.slice(-2);
    sdk.fire('onPushStarted', { target: older });
    sdk.fire('onPushStopped', { target: newer });
    await flush();
    assert.deepEqual(
      heard.map((events) => events.map(({ name }) => name)),
      [['onPushStarted'], ['onPushStopped']],
    );
  });

  it('a listener may replace itself, add others, and call methods', async () => {
    const wrapper = newAttachedWrapper();
    const seen = [];
    wrapper.addEventListener('onPushStarted', () => {
      seen.push('first');
      wrapper.addEventListener('onPushStarted', () => seen.push('replaced'));
      wrapper.addEventListener('onPushStopped', () => seen.push('added'));
      wrapper.destroyPusher();
    });
    for (const name of ['onPushStarted', 'onPushStarted', 'onPushStopped']) sdk.fire(name);
    await flush();
    assert.deepEqual(seen, ['first', 'replaced', 'added']);
  });

  it('promises and ticks settle after each event', async () => {
    const wrapper = newAttachedWrapper();
    const order = [];
    for (const name of ['onPushStarted', 'onPushStopped']) {
      wrapper.addEventListener(name, () => {
        order.push(name);
        process.nextTick(() => order.push('tick'));
        Promise.resolve().then(() => order.push('promise'));
      });
      sdk.fire(name);
    }
    await flush();
    assert.deepEqual(order, [
      ...['onPushStarted', 'tick', 'promise'],
      ...['onPushStopped', 'tick', 'promise'],
    ]);
  });

  async function eventsOf(wrapper, raise) {
    const events = recordEvents(wrapper);
    raise();
    await flush();
    return events;
  }
});
