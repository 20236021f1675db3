'use strict';

const assert = require('node:assert/strict');
const { describe, it } = require('node:test');
const { sdk } = require('../support/addon');
const { NOT_ONE_NUMBER, NOT_STRINGS, handlerOf } = require('./arguments');
const {
  callNames,
  logLines,
  newWrapper,
  newWrapperWithoutPusher,
  useFreshSdk,
} = require('../support/wrapper');

// Method, the SDK's function, good arguments, what the SDK is given, its answer, the result; then
// what is refused, the result of that, and the log line, which one method takes from another.
const SETTINGS = [
  {
    method: 'isSupportLiveMode',
    calls: 'base.isSupportLiveMode',
    good: [1],
    given: { mode: 1 },
    answer: true,
    result: true,
    bad: NOT_ONE_NUMBER,
    refusal: false,
    message: 'SetLogLevel',
  },
  {
    method: 'setLogDirPath',
    calls: 'base.SetLogDirPath',
    good: ['/tmp/lög'],
    given: { path: '/tmp/lög', maxSizeMiB: 512 },
    answer: -42,
    result: -42,
    bad: [...NOT_STRINGS, ['/tmp', 512], ['/tmp', undefined]],
    refusal: 1,
  },
  {
    method: 'setLogLevel',
    calls: 'base.SetLogLevel',
    good: [4],
    given: { level: 4 },
    bad: [...NOT_ONE_NUMBER, [2.5], [2147483648], [-2147483649], [NaN], [Infinity]],
  },
  {
    method: 'setConsoleEnabled',
    calls: 'base.setConsoleEnabled',
    good: [true],
    given: { enabled: true },
    bad: [[], [1], ['true'], [null], [undefined], [Object(true)], [{}], [true, true]],
  },
];

describe('settings of the whole SDK', () => {
  useFreshSdk();

  for (const row of SETTINGS) {
    const { method, calls, good, given, answer, result, bad, refusal } = row;
    const { message = handlerOf(method) } = row;

    it(`${method} makes one SDK call, without any pusher`, () => {
      if (answer !== undefined) sdk.answer(calls, answer);
      for (const wrapper of [newWrapper(), newWrapperWithoutPusher()]) {
        sdk.forget();
        assert.equal(wrapper[method](...good), result);
        assert.deepEqual(callNames(), [calls]);
        assert.deepEqual(sdk.calls(calls)[0].args, given);
      }
      assert.deepEqual(logLines(), []);
    });

    it(`${method} refuses bad arguments, logs "${message}", and calls nothing`, () => {
      const wrapper = newWrapper();
      for (const args of bad) assert.equal(wrapper[method](...args), refusal);
      assert.deepEqual(logLines(), Array(bad.length).fill([handlerOf(method), message]));
      assert.deepEqual(callNames(), []);
    });
  }

  it('isSupportLiveMode converts to unsigned 32-bit and answers a boolean', () => {
    const wrapper = newWrapper();
    for (const mode of [-1, 1.9, 4294967296]) assert.equal(wrapper.isSupportLiveMode(mode), false);
    assert.deepEqual(
      sdk.calls('isSupportLiveMode').map(({ args }) => args.mode),
      [4294967295, 1, 0],
    );
  });

  it('setLogDirPath passes any text, up to U+0000', () => {
    const wrapper = newWrapper();
    wrapper.setLogDirPath('');
    wrapper.setLogDirPath('/tmp\0/elsewhere');
    assert.deepEqual(
      sdk.calls('SetLogDirPath').map(({ args }) => args.path),
      ['', '/tmp'],
    );
  });

  it('setLogLevel passes any 32-bit integer, in range or not', () => {
    const wrapper = newWrapper();
    const levels = [0, 5, 6, -1, 2147483647, -2147483648];
    for (const level of levels) assert.equal(wrapper.setLogLevel(level), undefined);
    assert.deepEqual(
      sdk.calls('SetLogLevel').map(({ args }) => args.level),
      levels,
    );
  });

  it('setConsoleEnabled passes both booleans', () => {
    const wrapper = newWrapper();
    wrapper.setConsoleEnabled(false);
    wrapper.setConsoleEnabled(true);
    assert.deepEqual(
      sdk.calls('setConsoleEnabled').map(({ args }) => args.enabled),
      [false, true],
    );
  });
});

describe('getSDKVersion', () => {
  useFreshSdk();

  it('answers the text that the SDK gives, whatever its arguments', () => {
    sdk.answer('GetSDKVersion', '1.2.3-β');
    assert.equal(newWrapper().getSDKVersion(1, 2, 3), '1.2.3-β');
    assert.equal(newWrapperWithoutPusher().getSDKVersion(), '1.2.3-β');
    assert.deepEqual(callNames(), ['base.GetSDKVersion', 'base.GetSDKVersion']);
    assert.deepEqual(logLines(), []);
  });

  it('answers "" for an empty text and for none', () => {
    for (const version of ['', null]) {
      sdk.answer('GetSDKVersion', version);
      assert.equal(newWrapper().getSDKVersion(), '');
    }
  });
});
