'use strict';

// Screen sharing: identifiers, the encoder's configuration, and the list of sources.

const assert = require('node:assert/strict');
const { describe, it } = require('node:test');
const { sdk } = require('../support/addon');
const { itReadsOptions } = require('./options');
const { itIsAPusherMethod, itSurvivesTheEndOfThePusher } = require('./pusher_method');
const { callNames, newWrapper, useFreshSdk } = require('../support/wrapper');

const KEYS = ['mResolution', 'width', 'height', 'frameRate', 'bitrate', 'mVideoEncodeGop'];
const CONFIG = Object.fromEntries(KEYS.map((key, index) => [key, index + 10]));

describe('sharing a desktop', () => {
  useFreshSdk();
  const method = 'startScreenShareByDesktopId';

  it('passes any number, converted to unsigned 32-bit', () => {
    const wrapper = newWrapper();
    for (const id of [-1, 4294967295, 4294967296, 2.9, NaN]) wrapper[method](id);
    assert.deepEqual(
      sdk.calls(method).map(({ args }) => args.sourceId),
      [4294967295, 4294967295, 0, 2, 0],
    );
  });
});

describe('the encoder of the desktop', () => {
  useFreshSdk();
  const setter = 'setScreenShareEncoderConfiguration';
  const getter = 'getScreenShareEncoderConfiguration';

  itIsAPusherMethod({
    method: setter,
    good: [CONFIG],
    given: { config: CONFIG },
    answer: -42,
  });

  itReadsOptions(
    setter,
    {
      mResolution: ['unsigned', 3],
      width: ['signed', 0],
      height: ['signed', 0],
      frameRate: ['unsigned', 0],
      bitrate: ['signed', 512],
      mVideoEncodeGop: ['unsigned', 2],
    },
    (options) => {
      newWrapper()[setter](options);
      return sdk.calls(setter).at(-1).args.config;
    },
  );
  itSurvivesTheEndOfThePusher(setter, 'bitrate', -901);

  itIsAPusherMethod({ method: getter, answer: CONFIG });

  it(`${getter} returns six keys in order, every number as signed 32-bit`, () => {
    const largest = { mResolution: 4294967295, frameRate: 2147483648, mVideoEncodeGop: 3e9 };
    sdk.answer(getter, { ...largest, width: -1, height: -2147483648, bitrate: 2147483647 });
    assert.equal(
      JSON.stringify(newWrapper()[getter]()),
      '{"mResolution":-1,"width":-1,"height":-2147483648,"frameRate":-2147483648,' +
        '"bitrate":2147483647,"mVideoEncodeGop":-1294967296}',
    );
  });
});

describe('the sources that can be shared', () => {
  useFreshSdk();
  const method = 'getScreenShareSourceInfo';
  const SOURCES = [
    { sourceId: 7, sourceName: 'Bildschirm №1' },
    { sourceId: 8, sourceName: '' },
  ];
  const steps = () => sdk.lists().map(({ name, index }) => (name === 'getSource' ? index : name));

  itIsAPusherMethod({ method, answer: SOURCES });

  it('are plain objects with the name first', () => {
    sdk.answer(method, SOURCES);
    assert.equal(
      JSON.stringify(newWrapper()[method]()[0]),
      '{"sourceName":"Bildschirm №1","sourceId":7}',
    );
  });

  it('carry the low 32 bits of their identifiers, signed', () => {
    const ids = [2147483647, 2147483648, 4294967295, 4294967296 + 7, -1, -4294967297];
    sdk.answer(
      method,
      ids.map((sourceId) => ({ sourceId })),
    );
    assert.deepEqual(
      newWrapper()
        [method]()
        .map(({ sourceId }) => sourceId),
      [2147483647, -2147483648, -1, 7, -1, -1],
    );
  });

  it('are fetched once each, the count before each; then the list is released', () => {
    const before = sdk.alive();
    sdk.answer(method, SOURCES);
    newWrapper()[method]();
    assert.deepEqual(steps(), ['getCount', 'getCount', 0, 'getCount', 1, 'getCount', 'release']);
    assert.ok(sdk.lists().every(({ released }) => !released));
    const { screenLists, strings } = sdk.alive();
    assert.deepEqual([screenLists, strings], [before.screenLists, before.strings]);
  });

  it('may be none: the list is released all the same', () => {
    sdk.answer(method, []);
    assert.deepEqual(newWrapper()[method](), []);
    assert.deepEqual(steps(), ['getCount', 'getCount', 'release']);
  });

  it('are none when the SDK returns no list, silently', () => {
    sdk.answer(method, null);
    assert.deepEqual(newWrapper()[method](), []);
    assert.deepEqual([callNames().length, sdk.lists(), sdk.logs()], [2, [], []]);
  });

  it('may become fewer while they are read', () => {
    sdk.answer(method, { entries: SOURCES, counts: [3, 3, 1] });
    const sources = newWrapper()[method]();
    assert.equal(sources.length, 3);
    assert.deepEqual(Object.keys(sources), ['0']);
    assert.deepEqual(steps().at(-1), 'release');
  });

  it('may have names that are no text, up to the first zero byte', () => {
    sdk.answer(method, [
      { sourceName: Buffer.from([0x61, 0xff, 0x62]) },
      { sourceName: Buffer.from('cut\0off') },
    ]);
    assert.deepEqual(
      newWrapper()
        [method]()
        .map(({ sourceName }) => sourceName),
      ['a\ufffdb', 'cut'],
    );
  });
});

describe('the current source', () => {
  useFreshSdk();

  itIsAPusherMethod({
    method: 'getCurrentScreenShareSourceId',
    answer: 4294967295, // unsigned, unlike the identifiers in the list
  });
});
