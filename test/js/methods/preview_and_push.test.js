'use strict';

const assert = require('node:assert/strict');
const { describe, it } = require('node:test');
const { sdk } = require('../support/addon');
const { itPassesOnlyBytesThatAreThere } = require('./options');
const {
  callNames,
  logLines,
  newWrapper,
  newWrapperWithoutPusher,
  useFreshSdk,
} = require('../support/wrapper');

const VIEW = Buffer.from([1, 2, 3, 4]);
const URL = 'rtmp://host/app/strëam';

// Method, handler, good arguments, what the SDK is given, and bad arguments.
const NOT_OBJECTS = [[], [5], ['x'], [null], [undefined], [true], [Symbol('s')], [1n]];
const NOT_STRINGS = [[], [5], [null], [undefined], [{}], [Object('x')], [Buffer.from('x')]];
const METHODS = [
  ['startPreview', [{ view: VIEW, width: 4, height: 3 }], { width: 4, height: 3 }, NOT_OBJECTS],
  [
    'startPreviewAsync',
    [{ view: VIEW, width: 4, height: 3 }],
    { width: 4, height: 3 },
    NOT_OBJECTS,
  ],
  ['stopPreview', [], {}, []],
  ['startPush', [URL], { url: URL }, NOT_STRINGS],
  ['startPushAsync', [URL], { url: URL }, NOT_STRINGS],
  ['stopPush', [], {}, []],
  ['startCamera', [], {}, []],
  ['stopCamera', [], {}, []],
  ['setMute', [{ mute: true, mode: 2 }], { mute: true, mode: 2 }, NOT_OBJECTS],
];
const handlerOf = (method) => method[0].toUpperCase() + method.slice(1);

/** The arguments of the one call of `operation`, without the view's address. */
function argsOf(operation) {
  const calls = sdk.calls(operation);
  assert.equal(calls.length, 1);
  const { view, ...rest } = calls[0].args;
  return rest;
}

describe('preview, push and capture', () => {
  useFreshSdk();

  for (const [method, good, expected, bad] of METHODS) {
    const handler = handlerOf(method);

    it(`${method} makes one SDK call and answers its result`, () => {
      sdk.answer(method, -42);
      const result = newWrapper()[method](...good, 'one', 'too many');
      assert.equal(result, method === 'stopCamera' ? 0 : -42);
      assert.deepEqual(callNames(), ['pusher.Create', `pusher.${method}`]);
      assert.deepEqual(argsOf(method), expected);
      assert.deepEqual(logLines(), []);
    });

    it(`${method} without a pusher answers 1 and logs`, () => {
      assert.equal(newWrapperWithoutPusher()[method](...good), 1);
      assert.deepEqual(logLines(), [[handler, `GetLivePusher failed: ${handler}`]]);
      sdk.answer('pusher.Create', null);
      assert.equal(newWrapper()[method](...good), 1);
      assert.deepEqual(logLines().slice(1), [
        ['GetLivePusher', 'Create livePusher failed'],
        [handler, `GetLivePusher failed: ${handler}`],
      ]);
    });

    if (bad.length === 0) continue;
    it(`${method} refuses bad arguments without looking the pusher up`, () => {
      const wrapper = newWrapper();
      for (const args of bad) assert.equal(wrapper[method](...args), 1);
      assert.deepEqual(logLines(), Array(bad.length).fill([handler, handler]));
      assert.deepEqual(callNames(), []);
    });
  }

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

  it('stopCamera answers 0 whatever the SDK says', () => {
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

  for (const [method, key] of [
    ['startPreview', 'width'],
    ['startPreviewAsync', 'view'],
    ['setMute', 'mute'],
  ]) {
    it(`${method}: a getter that destroys the pusher leads to the failure path`, () => {
      const wrapper = newWrapper();
      const options = Object.defineProperty({}, key, {
        enumerable: true,
        get: () => wrapper.destroyPusher(),
      });
      assert.equal(wrapper[method](options), 1);
      assert.equal(sdk.calls(method).length, 0);
      const handler = handlerOf(method);
      assert.deepEqual(logLines(), [[handler, `GetLivePusher failed: ${handler}`]]);
    });
  }
});

describe('muteLocalCamera', () => {
  useFreshSdk();
  const BAD = [[], [1], ['true'], [null], [true, true], [Object(true)], [undefined]];

  it('takes exactly one boolean', () => {
    const wrapper = newWrapper();
    sdk.answer('muteLocalCamera', 9);
    assert.equal(wrapper.muteLocalCamera(true), 9);
    assert.equal(wrapper.muteLocalCamera(false), 9);
    assert.deepEqual(
      sdk.calls('muteLocalCamera').map(({ args }) => args.mute),
      [true, false],
    );
  });

  it('without a pusher answers -901, where its siblings answer 1', () => {
    const wrapper = newWrapperWithoutPusher();
    assert.equal(wrapper.muteLocalCamera(true), -901);
    assert.equal(wrapper.startCamera(), 1);
    assert.deepEqual(logLines()[0], ['MuteLocalCamera', 'GetLivePusher failed: MuteLocalCamera']);
  });

  it('with bad arguments creates the pusher all the same, calls nothing, answers undefined', () => {
    for (const args of BAD) {
      sdk.forget();
      assert.equal(newWrapper().muteLocalCamera(...args), undefined);
      assert.deepEqual(callNames(), ['pusher.Create']);
      assert.deepEqual(logLines(), [['MuteLocalCamera', 'MuteLocalCamera']]);
    }
  });

  it('with bad arguments and no pusher logs twice and answers -901', () => {
    for (const args of BAD) {
      sdk.forget();
      assert.equal(newWrapperWithoutPusher().muteLocalCamera(...args), -901);
      assert.deepEqual(logLines(), [
        ['MuteLocalCamera', 'MuteLocalCamera'],
        ['MuteLocalCamera', 'GetLivePusher failed: MuteLocalCamera'],
      ]);
    }
  });
});
