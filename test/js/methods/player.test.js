'use strict';

// initPlayer and destroyPlayer: creation, options, and the end of a player.

const assert = require('node:assert/strict');
const { describe, it } = require('node:test');
const { flush, recordEvents, sdk } = require('../support/addon');
const { itReadsOptions } = require('./options');
const { callNames, logLines, newWrapper, useFreshSdk } = require('../support/wrapper');

const ATTACH = ['player.setPlayInfoListener', 'player.setVideoFrameListener'];
const END = [...ATTACH, 'player.destroy'];
const NOT_FOUND = [
  ['GetPlayerInstanceByPlayerID', 'Get livePlayer failed'],
  ['DestroyPlayer', "Destroy failed: can't find instance"],
];

/** A wrapper that has a listener, with an empty record. */
function newWrapperWithListener() {
  const wrapper = newWrapper();
  wrapper.stopPreview();
  sdk.forget();
  return wrapper;
}

describe('initPlayer', () => {
  useFreshSdk();

  it('creates a player, initialises it, attaches the listener in order, returns its ID', () => {
    const wrapper = newWrapperWithListener();
    const id = wrapper.initPlayer({}, 'ignored');
    assert.match(id, /^0x[0-9a-f]+$/);
    assert.equal(id, sdk.alive().players.at(-1));
    assert.deepEqual(callNames(), ['player.Create', 'player.initPlayer', ...ATTACH]);
    const [, ...calls] = sdk.calls();
    assert.ok(calls.every(({ self }) => self === id));
    assert.ok(calls.slice(1).every(({ args }) => args.listener !== null));
    assert.deepEqual(logLines(), []);
  });

  it('creates no pusher and no listener: a player made before stays unattached', () => {
    const wrapper = newWrapper();
    const id = wrapper.initPlayer({});
    assert.deepEqual(callNames(), ['player.Create', 'player.initPlayer']);
    recordEvents(wrapper);
    wrapper.initPusher({});
    assert.equal(sdk.fire('onPlayStarted', { target: id }).reason, 'no listener');
  });

  it('attaches to the listener of a pusher that is gone', async () => {
    const wrapper = newWrapper();
    const events = recordEvents(wrapper);
    wrapper.destroyPusher();
    const id = wrapper.initPlayer({});
    sdk.fire('onPlayStarted', { target: id });
    await flush();
    assert.deepEqual(
      events.map(({ name, args }) => [name, args]),
      [['onPlayStarted', [{ playerID: id }]]],
    );
  });

  itReadsOptions(
    'initPlayer',
    {
      isMirror: ['boolean', false],
      isFullScreen: ['boolean', false],
      renderMode: ['unsigned', 0],
      rotation: ['unsigned', 0],
    },
    (options) => {
      newWrapper().initPlayer(options);
      return sdk.calls('player.initPlayer').at(-1).args.config;
    },
  );

  it('ignores what the SDK returns', () => {
    sdk.answer('player.initPlayer', -42);
    assert.match(newWrapper().initPlayer({}), /^0x/);
  });

  it('hands the extra configuration of that moment to every player', () => {
    const wrapper = newWrapper();
    wrapper.initPlayer({});
    wrapper.setExtraConfig('{"é": 1}');
    wrapper.initPlayer({});
    wrapper.initPlayer({});
    assert.deepEqual(
      sdk.calls('player.Create').map(({ args }) => args.extraConfig),
      ['', '{"é": 1}', '{"é": 1}'],
    );
  });

  it('makes as many players as it is asked for, each with its own ID', () => {
    const wrapper = newWrapper();
    const ids = Array.from({ length: 20 }, () => wrapper.initPlayer({}));
    assert.equal(new Set(ids).size, 20);
    for (const id of ids) assert.equal(wrapper.stopPlay(id), 0);
    assert.deepEqual(
      sdk.calls('stopPlay').map(({ self }) => self),
      ids,
    );
  });

  it('returns "" and logs when the SDK returns no player', () => {
    sdk.answer('player.Create', null);
    let walked = false;
    const options = new Proxy(
      {},
      {
        ownKeys() {
          walked = true;
          return [];
        },
      },
    );
    assert.equal(newWrapperWithListener().initPlayer(options), '');
    assert.deepEqual(callNames(), ['player.Create']);
    assert.deepEqual(logLines(), [['GetNewPlayerInstance', 'Create livePlayer failed']]);
    assert.equal(walked, false);
  });

  it('a getter that destroys the new player leads to ""', () => {
    const wrapper = newWrapperWithListener();
    const result = wrapper.initPlayer({
      get isMirror() {
        wrapper.destroyPlayer(sdk.alive().players.at(-1));
        return true;
      },
    });
    assert.equal(result, '');
    assert.deepEqual(callNames(), ['player.Create', ...END]);
  });

  it('a getter may make another player', () => {
    const wrapper = newWrapper();
    let inner;
    const outer = wrapper.initPlayer({
      get rotation() {
        inner = wrapper.initPlayer({ rotation: 1 });
        return 2;
      },
    });
    assert.notEqual(outer, inner);
    assert.deepEqual(
      sdk.calls('player.initPlayer').map(({ self, args }) => [self, args.config.rotation]),
      [
        [inner, 1],
        [outer, 2],
      ],
    );
  });
});

describe('destroyPlayer', () => {
  useFreshSdk();

  it('detaches in order, with null, then destroys', () => {
    const wrapper = newWrapperWithListener();
    const id = wrapper.initPlayer({});
    sdk.forget();
    assert.equal(wrapper.destroyPlayer(id, 'ignored'), undefined);
    assert.deepEqual(callNames(), END);
    const calls = sdk.calls();
    assert.ok(calls.every(({ self }) => self === id));
    assert.ok(calls.slice(0, 2).every(({ args }) => args.listener === null));
    assert.deepEqual(logLines(), []);
  });

  it('detaches also a player that was never attached', () => {
    const wrapper = newWrapper();
    const id = wrapper.initPlayer({});
    sdk.forget();
    wrapper.destroyPlayer(id);
    assert.deepEqual(callNames(), END);
  });

  it('destroys the named player only', () => {
    const wrapper = newWrapper();
    const [first, second] = [wrapper.initPlayer({}), wrapper.initPlayer({})];
    wrapper.destroyPlayer(first);
    assert.equal(wrapper.stopPlay(second), 0);
    assert.equal(wrapper.stopPlay(first), 1);
  });

  it('compares IDs exactly, up to U+0000', () => {
    const wrapper = newWrapper();
    const id = wrapper.initPlayer({});
    sdk.forget();
    for (const other of [id.toUpperCase(), ` ${id}`, `${id} `, id.slice(2), id.slice(0, -1)]) {
      wrapper.destroyPlayer(other);
    }
    assert.deepEqual(callNames(), []);
    wrapper.destroyPlayer(`${id}\0x`);
    assert.deepEqual(callNames(), END);
  });

  it('logs twice for what names no player, and calls nothing', () => {
    const wrapper = newWrapperWithListener();
    for (const id of ['', '0xdead', '0xdead', '\0x']) {
      sdk.forget();
      assert.equal(wrapper.destroyPlayer(id), undefined);
      assert.deepEqual(logLines(), NOT_FOUND);
      assert.deepEqual(callNames(), []);
    }
  });

  it('twice: the second call finds nothing', () => {
    const wrapper = newWrapper();
    const id = wrapper.initPlayer({});
    wrapper.destroyPlayer(id);
    sdk.forget();
    wrapper.destroyPlayer(id);
    assert.deepEqual(callNames(), []);
    assert.deepEqual(logLines(), NOT_FOUND);
  });

  it("cannot use another wrapper's players", () => {
    const id = newWrapper().initPlayer({});
    sdk.forget();
    newWrapper().destroyPlayer(id);
    assert.deepEqual(callNames(), []);
    assert.deepEqual(logLines(), NOT_FOUND);
  });

  it('from a listener, events that were queued before are still delivered', async () => {
    const wrapper = newWrapperWithListener();
    const id = wrapper.initPlayer({});
    const heard = [];
    wrapper.addEventListener('onPlayStarted', ({ playerID }) => {
      heard.push(playerID);
      wrapper.destroyPlayer(playerID);
    });
    sdk.fire('onPlayStarted', { target: id });
    sdk.fire('onPlayStarted', { target: id });
    await flush();
    assert.deepEqual(heard, [id, id]);
    assert.deepEqual(
      logLines().map(([name]) => name),
      ['GetPlayerInstanceByPlayerID', 'DestroyPlayer'],
    );
  });

  it('leaves the pusher alone, as destroyPusher leaves the players', () => {
    const wrapper = newWrapperWithListener();
    const id = wrapper.initPlayer({});
    wrapper.destroyPusher();
    assert.equal(wrapper.stopPlay(id), 0);
    wrapper.stopPreview();
    sdk.forget();
    wrapper.destroyPlayer(id);
    assert.deepEqual(callNames(), END);
  });
});
