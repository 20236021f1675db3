'use strict';

// Options and conversions of the encoder's methods and of the volume reports.

const assert = require('node:assert/strict');
const { describe, it } = require('node:test');
const { sdk } = require('../support/addon');
const { itReadsOptions } = require('./options');
const { itIsAPusherMethod, itSurvivesTheEndOfThePusher } = require('./pusher_method');
const { newWrapper, useFreshSdk } = require('../support/wrapper');

/** What the SDK was given by the newest call of an operation. */
const lastArgs = (operation) => sdk.calls(operation).at(-1).args;

describe('volume indication', () => {
  useFreshSdk();
  const method = 'enableAudioVolumeIndication';
  const options = { interval: 300, smooth: 5, reportVad: 1 };

  itIsAPusherMethod({
    method,
    good: [options],
    given: options,
    answer: -42,
  });
  itReadsOptions(
    method,
    { interval: ['signed', 0], smooth: ['signed', 0], reportVad: ['signed', 0] },
    (given) => {
      newWrapper()[method](given);
      return lastArgs(method);
    },
  );
  itSurvivesTheEndOfThePusher(method, 'smooth', -901);
});

describe('resolution', () => {
  useFreshSdk();
  const method = 'setResolution';
  const options = { resolution: 4, width: 1280, height: 720 };

  itIsAPusherMethod({
    method,
    good: [options],
    given: options,
    answer: 2147483647,
  });
  itReadsOptions(
    method,
    { resolution: ['unsigned', 0], width: ['signed', 0], height: ['signed', 0] },
    (given) => {
      newWrapper()[method](given);
      return lastArgs(method);
    },
  );
  itSurvivesTheEndOfThePusher(method, 'resolution', -901);
});

describe('bit rates and frame rate', () => {
  useFreshSdk();

  for (const [method, argument] of [
    ['setTargetVideoBitrate', 'kbps'],
    ['setMinVideoBitrate', 'kbps'],
    ['setFps', 'fps'],
  ]) {
    it(`${method} passes any number, converted to 32 bits`, () => {
      const unsigned = method === 'setFps';
      const wrapper = newWrapper();
      for (const [given, expected] of [
        [-5, unsigned ? 4294967291 : -5],
        [29.97, 29],
        [4294967297, 1],
        [3e9, unsigned ? 3e9 : 3e9 | 0],
        [NaN, 0],
        [-Infinity, 0],
      ]) {
        wrapper[method](given);
        assert.equal(lastArgs(method)[argument], expected);
      }
    });
  }
});
