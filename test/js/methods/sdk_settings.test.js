'use strict';

// Settings of the whole SDK need no pusher; conversions of their arguments.

const assert = require('node:assert/strict');
const { describe, it } = require('node:test');
const { sdk } = require('../support/addon');
const {
  callNames,
  logLines,
  newWrapper,
  newWrapperWithoutPusher,
  useFreshSdk,
} = require('../support/wrapper');

describe('settings of the whole SDK', () => {
  useFreshSdk();

  it('need no pusher and create none', () => {
    for (const wrapper of [newWrapper(), newWrapperWithoutPusher()]) {
      wrapper.isSupportLiveMode(1);
      wrapper.setLogLevel(4);
      wrapper.setConsoleEnabled(true);
    }
    assert.deepEqual(sdk.calls('pusher'), []);
    assert.equal(sdk.calls('base').length, 6);
  });

  it('setLogDirPath passes a limit of 512 MiB', () => {
    newWrapper().setLogDirPath('/tmp/lög');
    assert.deepEqual(sdk.calls('SetLogDirPath')[0].args, { path: '/tmp/lög', maxSizeMiB: 512 });
  });

  it('isSupportLiveMode converts to unsigned 32-bit and returns a boolean', () => {
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

  it('returns the text that the SDK returns, whatever its arguments', () => {
    sdk.answer('GetSDKVersion', '1.2.3-β');
    assert.equal(newWrapper().getSDKVersion(1, 2, 3), '1.2.3-β');
    assert.equal(newWrapperWithoutPusher().getSDKVersion(), '1.2.3-β');
    assert.deepEqual(callNames(), ['base.GetSDKVersion', 'base.GetSDKVersion']);
    assert.deepEqual(logLines(), []);
  });

  it('returns "" for an empty text and for none', () => {
    for (const version of ['', null]) {
      sdk.answer('GetSDKVersion', version);
      assert.equal(newWrapper().getSDKVersion(), '');
    }
  });
});
