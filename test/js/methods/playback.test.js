'use strict';

const assert = require('node:assert/strict');
const { describe, it } = require('node:test');
const { sdk } = require('../support/addon');
const { NOT_OBJECTS, NOT_STRINGS } = require('./arguments');
const { itPassesOnlyBytesThatAreThere, itReadsOptions } = require('./options');
const { callNames, logLines, newWrapper, useFreshSdk } = require('../support/wrapper');

const VIEW = Buffer.from([1, 2, 3, 4]);
const URL = 'rtmp://host/app/strëam';
const NOT_NUMBERS = [[], ['5'], [null], [undefined], [true], [{}], [Object(5)], [5n]];

// Method, arguments behind the player's ID, what the SDK is given; then the further arguments that
// are refused, the log line for that and for a missing player, and the result.
const METHODS = [
  {
    method: 'setPlayView',
    good: [{ view: VIEW, width: 4, height: 3 }],
    given: { view: sdk.addressOf(VIEW), width: 4, height: 3 },
    bad: NOT_OBJECTS,
    message: 'setPlayView', // in lower case, unlike the others
    failure: 1,
  },
  { method: 'startPlay', good: [URL], given: { url: URL }, bad: NOT_STRINGS, failure: 1 },
  { method: 'stopPlay', good: [], given: {}, bad: [], failure: 1 },
  {
    method: 'setRemoteAudioVolume',
    good: [150],
    given: { volume: 150 },
    bad: NOT_NUMBERS,
    failure: 1,
  },
  { method: 'getPlayMode', good: [], given: {}, bad: [], failure: -100 },
];

describe('playback', () => {
  useFreshSdk();

  /** A wrapper with one player, and its ID; with an empty record. */
  function newPlayer() {
    const wrapper = newWrapper();
    const id = wrapper.initPlayer({});
    sdk.forget();
    return { wrapper, id };
  }

  for (const { method, good, given, bad, message, failure } of METHODS) {
    const handler = method[0].toUpperCase() + method.slice(1);
    const line = [handler, message ?? handler];

    it(`${method} makes one call on the named player and answers its result`, () => {
      const { wrapper, id } = newPlayer();
      wrapper.initPlayer({});
      sdk.forget();
      for (const answer of [-42, 0, 2147483647]) {
        sdk.answer(method, answer);
        assert.equal(wrapper[method](id, ...good, 'one', 'too many'), answer);
      }
      assert.deepEqual(callNames(), Array(3).fill(`player.${method}`));
      for (const { self, args } of sdk.calls()) assert.deepEqual([self, args], [id, given]);
      assert.deepEqual(logLines(), []);
    });

    it(`${method} without a player answers ${failure} and logs twice`, () => {
      const { wrapper } = newPlayer();
      for (const args of [...NOT_STRINGS, [''], ['0xdead'], ['0xdead']]) {
        sdk.forget();
        assert.equal(wrapper[method](...args, ...good), failure);
        assert.deepEqual(logLines(), [
          ['GetPlayerInstanceByPlayerID', 'Get livePlayer failed'],
          line,
        ]);
        assert.deepEqual(callNames(), []);
      }
    });

    it(`${method} answers ${failure} for a player that was destroyed`, () => {
      const { wrapper, id } = newPlayer();
      wrapper.destroyPlayer(id);
      sdk.forget();
      assert.equal(wrapper[method](id, ...good), failure);
      assert.deepEqual(callNames(), []);
    });

    if (bad.length === 0) continue;
    it(`${method} refuses bad further arguments: ${failure} and "${line[1]}"`, () => {
      const { wrapper, id } = newPlayer();
      for (const further of bad) assert.equal(wrapper[method](id, ...further), failure);
      assert.deepEqual(logLines(), Array(bad.length).fill(line));
      assert.deepEqual(callNames(), []);
    });

    it(`${method} looks the player up before it minds its further arguments`, () => {
      const { wrapper } = newPlayer();
      assert.equal(wrapper[method]('0xdead', ...bad[0]), failure);
      assert.deepEqual(logLines(), [
        ['GetPlayerInstanceByPlayerID', 'Get livePlayer failed'],
        line,
      ]);
    });
  }

  itReadsOptions('setPlayView', { width: ['unsigned', 0], height: ['unsigned', 0] }, (options) => {
    const { wrapper, id } = newPlayer();
    wrapper.setPlayView(id, options);
    const { view, ...sizes } = sdk.calls('setPlayView').at(-1).args;
    assert.equal(view, null);
    return sizes;
  });

  it('setPlayView passes the address of a Buffer, or null for anything else', () => {
    const { wrapper, id } = newPlayer();
    const bytes = new Uint8Array(VIEW.buffer, VIEW.byteOffset, 4);
    for (const view of [VIEW, bytes]) wrapper.setPlayView(id, { view });
    for (const view of ['text', null, undefined, 5, {}, new ArrayBuffer(8)]) {
      wrapper.setPlayView(id, { view });
    }
    const address = sdk.addressOf(VIEW);
    assert.deepEqual(
      sdk.calls('setPlayView').map(({ args }) => args.view),
      [address, address, ...Array(6).fill(null)],
    );
  });

  itPassesOnlyBytesThatAreThere('setPlayView', (options) => {
    const { wrapper, id } = newPlayer();
    wrapper.setPlayView(id, options);
    return sdk.calls('setPlayView').at(-1).args;
  });

  it('setPlayView: a getter that destroys the player leads to the failure path', () => {
    for (const key of ['view', 'width', 'unknown']) {
      const { wrapper, id } = newPlayer();
      const options = Object.defineProperty({}, key, {
        enumerable: true,
        get: () => wrapper.destroyPlayer(id),
      });
      assert.equal(wrapper.setPlayView(id, options), 1);
      assert.deepEqual(sdk.calls('setPlayView'), []);
      assert.deepEqual(logLines(), [['SetPlayView', 'setPlayView']]);
    }
  });

  it('startPlay passes any text, up to U+0000', () => {
    const { wrapper, id } = newPlayer();
    for (const url of ['', 'cut\0off', '%s']) wrapper.startPlay(id, url);
    assert.deepEqual(
      sdk.calls('startPlay').map(({ args }) => args.url),
      ['', 'cut', '%s'],
    );
  });

  it('setRemoteAudioVolume passes any number, converted to unsigned 32-bit', () => {
    const { wrapper, id } = newPlayer();
    for (const volume of [0, -1, 99.9, 4294967297, NaN]) wrapper.setRemoteAudioVolume(id, volume);
    assert.deepEqual(
      sdk.calls('setRemoteAudioVolume').map(({ args }) => args.volume),
      [0, 4294967295, 99, 1, 0],
    );
  });

  it('needs no pusher and creates none', () => {
    const { wrapper, id } = newPlayer();
    for (const { method, good } of METHODS) wrapper[method](id, ...good);
    assert.deepEqual(sdk.calls('pusher'), []);
  });
});
