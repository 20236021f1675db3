'use strict';

// Options and conversions of preview, push and mute methods.

const assert = require('node:assert/strict');
const { describe, it } = require('node:test');
const { sdk } = require('../support/addon');
const { itPassesOnlyBytesThatAreThere } = require('./options');
const { itIsAPusherMethod, itSurvivesTheEndOfThePusher } = require('./pusher_method');
const { newWrapper, useFreshSdk } = require('../support/wrapper');

const VIEW = Buffer.from([1, 2, 3, 4]);
/** The arguments of the one call of `operation`, without the view's address. */
function argsOf(operation) {
  const calls = sdk.calls(operation);
  assert.equal(calls.length, 1);
  const { view, ...rest } = calls[0].args;
  return rest;
}

describe('preview, push and capture', () => {
  useFreshSdk();

  for (const method of ['startPreview', 'startPreviewAsync']) {
    itIsAPusherMethod({
      method,
      good: [{ view: VIEW, width: 4, height: 3 }],
      given: { view: sdk.addressOf(VIEW), width: 4, height: 3 },
      answer: -42,
    });
  }
  const mute = { mute: true, mode: 2 };
  itIsAPusherMethod({ method: 'setMute', good: [mute], given: mute, answer: -42 });

  for (const method of ['startPreview', 'startPreviewAsync']) {
    it(`${method} passes the address of the buffer's data`, () => {
      const wrapper = newWrapper();
      const view = Buffer.alloc(8);
      wrapper[method]({ view });
      wrapper[method]({ view: new Uint8Array(view.buffer, view.byteOffset, 8) });
      for (const { args } of sdk.calls(method)) assert.equal(args.view, sdk.addressOf(view));
    });

    it(`${method} passes null for what is no Buffer, and 0 for what is no number`, () => {
      const wrapper = newWrapper();
      for (const view of ['text', null, undefined, 5, {}, new ArrayBuffer(8)]) {
        wrapper[method]({ view, width: '4', height: true });
      }
      wrapper[method]({});
      for (const { args } of sdk.calls(method)) {
        assert.deepEqual(args, { view: null, width: 0, height: 0 });
      }
    });

    itPassesOnlyBytesThatAreThere(method, (view) => {
      newWrapper()[method](view);
      return sdk.calls(method).at(-1).args;
    });

    it(`${method} converts sizes to unsigned 32-bit and ignores other keys`, () => {
      newWrapper()[method]({ width: -1, height: 4294967299.5, Width: 5, depth: 6 });
      assert.deepEqual(argsOf(method), { width: 4294967295, height: 3 });
    });
  }

  for (const method of ['startPush', 'startPushAsync']) {
    it(`${method} passes any text, up to U+0000`, () => {
      const wrapper = newWrapper();
      wrapper[method]('');
      wrapper[method]('rtmp://a\0b');
      assert.deepEqual(
        sdk.calls(method).map(({ args }) => args.url),
        ['', 'rtmp://a'],
      );
    });
  }

  it('stopCamera returns 0 whatever the SDK says', () => {
    const wrapper = newWrapper();
    for (const result of [0, 1, -901, 2147483647]) {
      sdk.answer('stopCamera', result);
      assert.equal(wrapper.stopCamera(), 0);
    }
  });

  it('setMute takes only booleans for mute and only numbers for mode', () => {
    const wrapper = newWrapper();
    wrapper.setMute({ mute: 1, mode: '2' });
    wrapper.setMute({});
    wrapper.setMute({ mode: -1 });
    assert.deepEqual(
      sdk.calls('setMute').map(({ args }) => args),
      [
        { mute: false, mode: 0 },
        { mute: false, mode: 0 },
        { mute: false, mode: 4294967295 },
      ],
    );
  });

  itSurvivesTheEndOfThePusher('startPreview', 'width', 1);
  itSurvivesTheEndOfThePusher('startPreviewAsync', 'view', 1);
  itSurvivesTheEndOfThePusher('setMute', 'mute', 1);
});

describe('muteLocalCamera', () => {
  useFreshSdk();

  it('passes both booleans', () => {
    const wrapper = newWrapper();
    sdk.answer('muteLocalCamera', 9);
    assert.equal(wrapper.muteLocalCamera(true), 9);
    assert.equal(wrapper.muteLocalCamera(false), 9);
    assert.deepEqual(
      sdk.calls('muteLocalCamera').map(({ args }) => args.mute),
      [true, false],
    );
  });
});
