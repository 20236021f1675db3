'use strict';

// Callbacks from several native threads at once arrive each once, in the order of their thread.

const assert = require('node:assert/strict');
const { describe, it } = require('node:test');
const { flush, recordEvents, sdk } = require('../support/addon');
const { newWrapper, useFreshSdk } = require('../support/wrapper');

describe('delivery from many threads', () => {
  useFreshSdk();

  it('eight threads: each event once, and each thread in its order', async () => {
    const wrapper = newWrapper();
    wrapper.initPusher({});
    const events = recordEvents(wrapper, ['onSDKError']);
    const [threads, times] = [8, 1000];
    sdk.fireFrom(
      threads,
      (thread, repetition) => ({
        callback: 'onSDKError',
        code: repetition,
        msg: `thread ${thread}`,
      }),
      { times },
    );
    await flush();
    assert.equal(events.length, threads * times);
    for (let thread = 0; thread < threads; thread += 1) {
      const codes = events
        .filter(({ args }) => args[0].msg === `thread ${thread}`)
        .map(({ args }) => args[0].code);
      assert.deepEqual(
        codes,
        Array.from({ length: times }, (_, repetition) => repetition),
      );
    }
  });

  it('callbacks run while JavaScript calls methods and replaces listeners', async () => {
    const wrapper = newWrapper();
    wrapper.initPusher({});
    let heard = 0;
    const names = ['onPushStarted', 'onNetworkPoor', 'onPacketsLost', 'onConnectionLost'];
    const ticket = sdk.startFrom(4, (thread) => ({ callback: names[thread] }), { times: 500 });
    for (let i = 0; i < 200; i += 1) {
      for (const name of names) {
        wrapper.addEventListener(name, () => {
          heard += 1;
        });
      }
      wrapper.startPush('rtmp://host/app/stream');
      wrapper.setMute({ mute: true });
    }
    sdk.collect(ticket);
    await flush();
    assert.ok(heard <= 2000);
    const before = heard;
    for (const name of names) sdk.fire(name);
    await flush();
    assert.equal(heard, before + 4);
  });

  it('callbacks run while the pusher is destroyed and created again', async () => {
    const wrapper = newWrapper();
    const events = recordEvents(wrapper, ['onPushStarted']);
    let delivered = 0;
    for (let i = 0; i < 30; i += 1) {
      wrapper.initPusher({});
      const target = sdk.alive().pushers.at(-1);
      const fire = { callback: 'onPushStarted', target };
      const ticket = sdk.startFrom(4, () => fire, { times: 20 });
      wrapper.destroyPusher();
      for (const results of sdk.collect(ticket)) {
        delivered += results.filter((result) => result.delivered).length;
      }
    }
    await flush();
    assert.equal(events.length, delivered);
  });

  it('a drain goes on with what its listeners cause', async () => {
    const wrapper = newWrapper();
    wrapper.initPusher({});
    const order = [];
    wrapper.addEventListener('onPushStarted', () => {
      order.push('first');
      sdk.fire('onPushStopped');
      setImmediate(() => order.push('later'));
    });
    wrapper.addEventListener('onPushStopped', () => order.push('caused'));
    sdk.fire('onPushStarted');
    await flush();
    assert.deepEqual(order.slice(0, 2), ['first', 'caused']);
  });
});
