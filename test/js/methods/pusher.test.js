'use strict';

// setExtraConfig, initPusher, destroyPusher: the configuration and the lifetime of the pusher.

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

const ATTACH = [
  'pusher.setPushErrorListener',
  'pusher.setPushInfoListener',
  'pusher.setVideoFrameListener',
  'pusher.setPushNetworkListener',
];

const DEFAULTS = {
  mLivePushMode: 0,
  externMainStream: false,
  mVideoEncodeMode: 1,
  mAudioEncodeMode: 1,
  mAudioOnly: false,
  mPushMirror: false,
  mAudioSampleRate: 48000,
  audioBitRate: 64000,
  mAudioChannels: 2,
  mResolution: 3,
  mTargetVideoBitrate: -1,
  mMinVideoBitrate: -1,
  mInitialVideoBitrate: -1,
  width: 0,
  height: 0,
  frameRate: 15,
  mVideoEncodeGop: 2,
  mPreviewOrientation: 0,
  audioSceneMode: 0,
  enableBitrateControl: true,
  enableAutoResolution: false,
  mPausePushImagePath: null, // built from a null text
  mNetworkPoorPushImagePath: null,
};
const SIGNED = ['audioBitRate', 'mTargetVideoBitrate', 'mMinVideoBitrate', 'mInitialVideoBitrate'];

/** What the SDK was given by initPusher(config). */
function configOf(config) {
  newWrapper().initPusher(config);
  return sdk.calls('init').at(-1).args.config;
}

describe('setExtraConfig', () => {
  useFreshSdk();

  it('returns undefined and reaches the SDK with the next pusher', () => {
    const wrapper = newWrapper();
    assert.equal(wrapper.setExtraConfig('{"é": 1}', 'ignored'), undefined);
    assert.deepEqual(callNames(), []);
    wrapper.stopPreview();
    assert.equal(sdk.calls('pusher.Create')[0].args.extraConfig, '{"é": 1}');
  });

  it('without it the pusher is created with the empty text', () => {
    newWrapper().stopPreview();
    assert.equal(sdk.calls('pusher.Create')[0].args.extraConfig, '');
  });

  it('changes nothing for a pusher that exists, only for the next one', () => {
    const wrapper = newWrapper();
    wrapper.stopPreview();
    wrapper.setExtraConfig('x');
    wrapper.stopPreview();
    wrapper.destroyPusher();
    wrapper.stopPreview();
    assert.deepEqual(
      sdk.calls('pusher.Create').map(({ args }) => args.extraConfig),
      ['', 'x'],
    );
  });

  it('refuses anything but a string, and keeps the earlier text', () => {
    const wrapper = newWrapper();
    wrapper.setExtraConfig('kept');
    for (const args of [[], [5], [null], [{}], [Object('x')]]) {
      assert.equal(wrapper.setExtraConfig(...args), undefined);
    }
    assert.deepEqual(logLines(), Array(5).fill(['SetExtraConfig', 'SetExtraConfig']));
    wrapper.stopPreview();
    assert.equal(sdk.calls('pusher.Create')[0].args.extraConfig, 'kept');
  });
});

describe('initPusher', () => {
  useFreshSdk();

  it('creates the pusher, initialises it, and attaches the listener in order', () => {
    const wrapper = newWrapper();
    assert.equal(wrapper.initPusher({}), undefined);
    assert.deepEqual(callNames(), ['pusher.Create', 'pusher.init', ...ATTACH]);
    const given = sdk
      .calls()
      .slice(2)
      .map(({ args }) => args.listener);
    assert.ok(given.every((listener) => listener !== null));
  });

  it('an empty object means the defaults, the paths from null texts', () => {
    assert.deepEqual(configOf({}), DEFAULTS);
  });

  for (const [key, value] of Object.entries(DEFAULTS)) {
    const type = value === null ? 'string' : typeof value;
    const isSigned = SIGNED.includes(key);

    it(`reads "${key}" as ${isSigned ? 'signed' : type === 'number' ? 'unsigned' : type}`, () => {
      const given = { number: 7, boolean: !value, string: 'päth' }[type];
      assert.deepEqual(configOf({ [key]: given }), { ...DEFAULTS, [key]: given });
    });

    it(`"${key}" of a wrong type has the converter's fallback, not the default`, () => {
      const fallback = { number: isSigned ? -1 : 0, boolean: false, string: '' }[type];
      const wrong = { number: ['30', null, true], boolean: [1, 'true'], string: [5, Object('x')] };
      for (const given of [...wrong[type], undefined, {}]) {
        assert.deepEqual(configOf({ [key]: given }), { ...DEFAULTS, [key]: fallback });
      }
    });
  }

  it('numbers convert as ECMAScript does', () => {
    assert.equal(configOf({ frameRate: -1 }).frameRate, 4294967295);
    assert.equal(configOf({ frameRate: 4294967297.9 }).frameRate, 1);
    assert.equal(configOf({ audioBitRate: 2147483648 }).audioBitRate, -2147483648);
    assert.equal(configOf({ audioBitRate: 1e10 }).audioBitRate, 1e10 | 0);
    assert.equal(configOf({ audioBitRate: NaN }).audioBitRate, 0);
  });

  it('compares keys exactly', () => {
    const others = { FrameRate: 30, frameRat: 30, frameRates: 30, ' frameRate': 30, 0: 30 };
    assert.deepEqual(configOf(others), DEFAULTS);
  });

  it('a key or a path ends at U+0000', () => {
    assert.equal(configOf({ 'frameRate\0x': 30 }).frameRate, 30);
    assert.equal(configOf({ mPausePushImagePath: 'a\0b' }).mPausePushImagePath, 'a');
  });

  it('sees own enumerable string keys only, in their order', () => {
    const seen = [];
    const object = Object.create(
      { frameRate: 30 },
      {
        width: { enumerable: false, value: 5 },
        height: { enumerable: true, get: () => seen.push('height') },
        unknown: { enumerable: true, get: () => seen.push('unknown') },
      },
    );
    object[Symbol('width')] = 5;
    object.mResolution = 1;
    const config = configOf(object);
    assert.deepEqual(seen, ['height', 'unknown']);
    assert.deepEqual(config, { ...DEFAULTS, height: 1, mResolution: 1 });
  });

  it('takes functions, arrays and proxies as objects', () => {
    assert.equal(configOf(Object.assign(() => {}, { width: 3 })).width, 3);
    assert.deepEqual(configOf([1, 2]), DEFAULTS);
    assert.equal(configOf(new Proxy({ width: 3 }, {})).width, 3);
  });

  it('runs getters after the lookup and before init', () => {
    let callsSeen;
    const wrapper = newWrapper();
    wrapper.initPusher({
      get width() {
        callsSeen = callNames();
        return 5;
      },
    });
    assert.deepEqual(callsSeen, ['pusher.Create']);
  });

  it('a getter that throws counts as a missing value of its type', () => {
    const thrower = () => {
      throw new Error('from a getter');
    };
    const object = Object.defineProperty({ width: 5 }, 'frameRate', {
      enumerable: true,
      get: thrower,
    });
    assert.deepEqual(configOf(object), { ...DEFAULTS, width: 5, frameRate: 0 });
    assert.deepEqual(configOf(new Proxy({ width: 5 }, { ownKeys: thrower })), DEFAULTS);
    const { proxy, revoke } = Proxy.revocable({}, {});
    revoke();
    assert.deepEqual(configOf(proxy), DEFAULTS);
  });

  it('a getter that destroys the pusher leads to the failure path, not to a dead pusher', () => {
    const wrapper = newWrapper();
    const result = wrapper.initPusher({
      get width() {
        wrapper.destroyPusher();
        return 5;
      },
    });
    assert.equal(result, 1);
    assert.deepEqual(callNames(), ['pusher.Create', ...ATTACH, 'pusher.destroy']);
    assert.deepEqual(logLines(), [['InitPusher', 'GetLivePusher failed: InitPusher']]);
  });

  it('returns 1 and logs twice when the SDK returns no pusher, and tries again next time', () => {
    const wrapper = newWrapper();
    sdk.answerOnce('pusher.Create', null);
    assert.equal(wrapper.initPusher({}), 1);
    assert.deepEqual(logLines(), [
      ['GetLivePusher', 'Create livePusher failed'],
      ['InitPusher', 'GetLivePusher failed: InitPusher'],
    ]);
    assert.equal(wrapper.initPusher({}), undefined);
    assert.equal(sdk.calls('init').length, 1);
  });

  it('returns 1 when the wrapper may not create a pusher', () => {
    assert.equal(newWrapperWithoutPusher().initPusher({}), 1);
    assert.deepEqual(logLines(), [['InitPusher', 'GetLivePusher failed: InitPusher']]);
    assert.deepEqual(callNames(), []);
  });

  it('ignores what init returns, and can be called again', () => {
    const wrapper = newWrapper();
    sdk.answer('init', -5);
    assert.equal(wrapper.initPusher({}, 'ignored'), undefined);
    assert.equal(wrapper.initPusher({}), undefined);
    assert.deepEqual(callNames(), [
      'pusher.Create',
      'pusher.init',
      ...ATTACH,
      'pusher.init',
      ...ATTACH,
    ]);
  });

  it('leaves no SDK string behind', () => {
    const { strings } = sdk.alive();
    configOf({ mPausePushImagePath: 'a', mNetworkPoorPushImagePath: 'b' });
    assert.equal(sdk.alive().strings, strings);
  });
});

describe('destroyPusher', () => {
  useFreshSdk();

  it('detaches in order, with null, then destroys', () => {
    const wrapper = newWrapper();
    wrapper.initPusher({});
    sdk.forget();
    assert.equal(wrapper.destroyPusher('ignored'), undefined);
    assert.deepEqual(callNames(), [...ATTACH, 'pusher.destroy']);
    assert.ok(
      sdk
        .calls()
        .slice(0, 4)
        .every(({ args }) => args.listener === null),
    );
  });

  it('detaches also a listener that was never attached', () => {
    const wrapper = newWrapper();
    wrapper.stopPreview();
    sdk.forget();
    wrapper.destroyPusher();
    assert.deepEqual(callNames(), [...ATTACH, 'pusher.destroy']);
  });

  it('does nothing without a pusher', () => {
    const wrapper = newWrapper();
    wrapper.destroyPusher();
    wrapper.stopPreview();
    wrapper.destroyPusher();
    sdk.forget();
    wrapper.destroyPusher();
    assert.deepEqual(callNames(), []);
    assert.deepEqual(logLines(), []);
  });

  it('the next pusher raises no events until initPusher attaches the listener', async () => {
    const wrapper = newWrapper();
    wrapper.initPusher({});
    const events = recordEvents(wrapper);
    wrapper.destroyPusher();
    wrapper.stopPreview();
    assert.equal(sdk.fire('onPushStarted').reason, 'no listener');
    wrapper.initPusher({});
    sdk.fire('onPushStarted');
    await flush();
    assert.deepEqual(
      events.map(({ name }) => name),
      ['onPushStarted'],
    );
  });

  it('events that were queued before are still delivered', async () => {
    const wrapper = newWrapper();
    wrapper.initPusher({});
    const events = recordEvents(wrapper);
    sdk.fire('onPushStopped');
    wrapper.destroyPusher();
    await flush();
    assert.deepEqual(
      events.map(({ name }) => name),
      ['onPushStopped'],
    );
  });
});
