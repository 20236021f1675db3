'use strict';

// Methods of an existing player: which player they act on, and what is passed on.

const assert = require('node:assert/strict');
const { describe, it } = require('node:test');
const { sdk } = require('../support/addon');
const { itPassesOnlyBytesThatAreThere, itReadsOptions } = require('./options');
const { callNames, logLines, newWrapper, useFreshSdk } = require('../support/wrapper');

const VIEW = Buffer.from([1, 2, 3, 4]);
const URL = 'rtmp://host/app/strëam';

// Method, arguments behind the player's ID, and what it answers without a player.
const METHODS = [
  ['setPlayView', [{ view: VIEW, width: 4, height: 3 }], 1],
  ['startPlay', [URL], 1],
  ['stopPlay', [], 1],
  ['setRemoteAudioVolume', [150], 1],
  ['getPlayMode', [], -100],
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

  it('setPlayView makes one call on the named player and returns its result', () => {
    const { wrapper, id } = newPlayer();
    wrapper.initPlayer({});
    sdk.forget();
    sdk.answer('setPlayView', -42);
    assert.equal(wrapper.setPlayView(id, { view: VIEW, width: 4, height: 3 }, 'ignored'), -42);
    const [{ self, args }, ...more] = sdk.calls();
    assert.deepEqual([self, more], [id, []]);
    assert.deepEqual(args, { view: sdk.addressOf(VIEW), width: 4, height: 3 });
  });

  for (const [method, good, failure] of METHODS) {
    it(`${method} returns ${failure} for an ID that names no player`, () => {
      const { wrapper } = newPlayer();
      for (const id of ['', '0xdead', '0xdead']) {
        assert.equal(wrapper[method](id, ...good), failure);
        assert.deepEqual(callNames(), []);
      }
    });

    it(`${method} returns ${failure} for a player that was destroyed`, () => {
      const { wrapper, id } = newPlayer();
      wrapper.destroyPlayer(id);
      sdk.forget();
      assert.equal(wrapper[method](id, ...good), failure);
      assert.deepEqual(callNames(), []);
    });
  }

  for (const method of ['setPlayView', 'startPlay', 'setRemoteAudioVolume']) {
    it(`${method} looks the player up before it checks its further arguments`, () => {
      const { wrapper } = newPlayer();
      assert.equal(wrapper[method]('0xdead', Symbol('bad')), 1);
      assert.deepEqual(logLines()[0], ['GetPlayerInstanceByPlayerID', 'Get livePlayer failed']);
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
    for (const [method, good] of METHODS) wrapper[method](id, ...good);
    assert.deepEqual(sdk.calls('pusher'), []);
  });
});
