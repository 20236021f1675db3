'use strict';

// The payloads of the pusher's events, value by value, and their order.

const assert = require('node:assert/strict');
const { describe, it } = require('node:test');
const { EVENTS } = require('../../../lib/events');
const { flush, recordEvents, sdk } = require('../support/addon');
const { newWrapper, useFreshSdk } = require('../support/wrapper');

const LONG = `a message that does not fit into a small string ${'ä'.repeat(1000)}`;

const WITHOUT_PAYLOAD = Object.keys(EVENTS).filter(
  (name) => EVENTS[name].raisedBy === 'pusher' && EVENTS[name].carries?.length === 0,
);

// SDK callback, its arguments, and what the listener is called with. Key order counts.
const WITH_PAYLOAD = [
  ['onSystemError', { code: 5, msg: 'x' }, '{"msg":"x","code":5}'],
  ['onSystemError', { code: -7, msg: LONG }, JSON.stringify({ msg: LONG, code: -7 })],
  ['onSDKError', { code: 2147483647, msg: '' }, '{"msg":"","code":2147483647}'],
  ['onSDKError', { code: -1, msg: LONG }, JSON.stringify({ msg: LONG, code: -1 })],
  [
    'onSetLiveMixTranscodingConfig',
    { isSuccess: true, message: 'ok' },
    '{"isSuccess":true,"msg":"ok"}',
  ],
  [
    'onSetLiveMixTranscodingConfig',
    { isSuccess: false, message: null },
    '{"isSuccess":false,"msg":""}',
  ],
  ['pusher.onActiveSpeaker', {}, '{"userType":0,"playerID":""}'],
];

describe('pusher events', () => {
  useFreshSdk();

  async function eventsAfter(...fires) {
    const wrapper = newWrapper();
    wrapper.initPusher({});
    const events = recordEvents(wrapper);
    for (const [callback, options] of fires) {
      assert.equal(sdk.fire(callback, options).delivered, true, callback);
    }
    await flush();
    return events;
  }

  for (const [callback, options, expected] of WITH_PAYLOAD) {
    it(`${callback} arrives with ${expected.slice(0, 50)}`, async () => {
      const [{ name, args }, ...more] = await eventsAfter([callback, options]);
      assert.equal(name, callback.replace('pusher.', ''));
      assert.equal(args.length, 1);
      assert.equal(Object.getPrototypeOf(args[0]), Object.prototype);
      assert.equal(JSON.stringify(args[0]), expected);
      assert.deepEqual(more, []);
    });
  }

  it('onOccurError carries a bare number', async () => {
    const wrapper = newWrapper();
    const events = recordEvents(wrapper);
    wrapper.writeLog();
    await flush();
    assert.deepEqual(
      events.map(({ name, args }) => [name, args]),
      [['onOccurError', [-101]]],
    );
  });

  it('all of them arrive, each once, in the order in which they were raised', async () => {
    const fires = [
      ...WITHOUT_PAYLOAD.map((name) => [name, undefined]),
      ...WITH_PAYLOAD.map(([callback, options]) => [callback, options]),
    ];
    const events = await eventsAfter(...fires);
    assert.deepEqual(
      events.map(({ name }) => name),
      fires.map(([callback]) => callback.replace('pusher.', '')),
    );
  });

  it('an event raised from inside an SDK call comes after that call has returned', async () => {
    const wrapper = newWrapper();
    wrapper.initPusher({});
    const events = recordEvents(wrapper);
    sdk.onCall('startPush', [{ callback: 'onConnectFail', thread: null }]);
    wrapper.startPush('rtmp://host/app/stream');
    assert.deepEqual(events, []);
    await flush();
    assert.deepEqual(
      events.map(({ name }) => name),
      ['onConnectFail'],
    );
  });
});
