'use strict';

// Device lists and the current devices, as the SDK returns them.

const assert = require('node:assert/strict');
const { describe, it } = require('node:test');
const { sdk } = require('../support/addon');
const { itIsAPusherMethod } = require('./pusher_method');
const { newWrapper, useFreshSdk } = require('../support/wrapper');

const NOT_UTF8 = Buffer.from([0x61, 0xff, 0x62]);
const BUILT_IN = { deviceName: 'Mikrofön', deviceId: 'hw:0', transportType: 3 };
const HEADSET = { deviceName: '', deviceId: 'usb-1', transportType: -2147483648 };

const entryOf = ({ deviceName, deviceId, transportType }) => ({
  deviceName,
  deviceId,
  deviceTransportType: transportType,
});

describe('listing devices', () => {
  useFreshSdk();

  for (const method of ['getAudioCaptureList', 'getCameraList']) {
    itIsAPusherMethod({
      method,
      answer: [BUILT_IN, HEADSET],
      result: [entryOf(BUILT_IN), entryOf(HEADSET)],
    });

    it(`${method} returns plain objects with three keys, in order`, () => {
      sdk.answer(method, [BUILT_IN]);
      const [entry] = newWrapper()[method]();
      assert.deepEqual(Object.keys(entry), ['deviceName', 'deviceId', 'deviceTransportType']);
      assert.equal(Object.getPrototypeOf(entry), Object.prototype);
    });

    it(`${method} returns an array of a list's length, empty for an empty one`, () => {
      sdk.answer(method, []);
      assert.deepEqual(newWrapper()[method](), []);
      assert.deepEqual(
        sdk.lists().map(({ name }) => name),
        ['getCount', 'getCount'],
      );
    });

    it(`${method} asks the count before each entry, fetches each three times, frees nothing`, () => {
      const { strings } = sdk.alive();
      sdk.answer(method, [BUILT_IN, HEADSET]);
      newWrapper()[method]();
      const steps = sdk.lists().map(({ name, index }) => (name === 'getCount' ? 'count' : index));
      assert.deepEqual(steps, ['count', 'count', 0, 0, 0, 'count', 1, 1, 1, 'count']);
      sdk.answer(method, []);
      newWrapper()[method](); // the list lets go of its entries when it is refilled
      assert.equal(sdk.alive().strings, strings);
    });

    it(`${method} copes with a list that shrinks, leaving holes`, () => {
      sdk.answer(method, { entries: [BUILT_IN, HEADSET], counts: [3, 3, 1] });
      const devices = newWrapper()[method]();
      assert.equal(devices.length, 3);
      assert.deepEqual(Object.keys(devices), ['0']);
      assert.ok(sdk.lists('getDevice').every(({ outOfRange }) => !outOfRange));
    });

    it(`${method} copes with a list that grows`, () => {
      sdk.answer(method, { entries: [BUILT_IN, HEADSET], counts: [0, 1, 2] });
      assert.deepEqual(newWrapper()[method](), [entryOf(BUILT_IN), entryOf(HEADSET)]);
    });

    it(`${method} takes names and identifiers that are no text, up to the first zero byte`, () => {
      sdk.answer(method, [{ deviceName: NOT_UTF8, deviceId: Buffer.from('id\0x') }]);
      assert.deepEqual(newWrapper()[method](), [
        { deviceName: 'a\ufffdb', deviceId: 'id', deviceTransportType: 0 },
      ]);
    });

    it(`${method} runs no setter of a prototype`, () => {
      sdk.answer(method, [BUILT_IN]);
      const wrapper = newWrapper();
      const setter = {
        configurable: true,
        set() {
          throw new Error('from a setter');
        },
      };
      Object.defineProperty(Object.prototype, 'deviceName', setter);
      Object.defineProperty(Array.prototype, '0', setter);
      let devices;
      try {
        devices = wrapper[method]();
      } finally {
        delete Object.prototype.deviceName;
        delete Array.prototype[0];
      }
      assert.deepEqual(devices, [entryOf(BUILT_IN)]);
    });
  }

  it('getAudioCaptureList returns an empty array when the SDK returns no list, silently', () => {
    sdk.answer('getAudioCaptureList', null);
    assert.deepEqual(newWrapper().getAudioCaptureList(), []);
    assert.deepEqual([sdk.lists(), sdk.logs()], [[], []]);
  });
});

describe('reading the current device', () => {
  useFreshSdk();

  for (const method of [
    'getCurrentAudioCaptureName',
    'getCurrentAudioCaptureID',
    'getCurrentCameraName',
    'getCurrentCameraID',
  ]) {
    it(`${method} returns "" for an empty and for a null text`, () => {
      const wrapper = newWrapper();
      for (const text of ['', null]) {
        sdk.answer(method, text);
        assert.equal(wrapper[method](), '');
      }
    });

    it(`${method} takes bytes that are no text, and frees the SDK's string`, () => {
      const { strings } = sdk.alive();
      sdk.answer(method, NOT_UTF8);
      assert.equal(newWrapper()[method](), 'a\ufffdb');
      assert.equal(sdk.alive().strings, strings);
    });
  }
});

describe('choosing a device', () => {
  useFreshSdk();

  for (const [method, argument] of [
    ['setCurrentAudioCaptureName', 'name'],
    ['setCurrentAudioCaptureID', 'id'],
    ['setCurrentCameraName', 'name'],
    ['setCurrentCameraID', 'id'],
  ]) {
    it(`${method} passes any text, up to U+0000`, () => {
      const wrapper = newWrapper();
      for (const text of ['', 'cut\0off', '\0']) wrapper[method](text);
      assert.deepEqual(
        sdk.calls(method).map(({ args }) => args[argument]),
        ['', 'cut', ''],
      );
    });
  }
});
