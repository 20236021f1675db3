'use strict';

// The payloads of a player's events and of volume reports, value by value.

const assert = require('node:assert/strict');
const { describe, it } = require('node:test');
const { flush, recordEvents, sdk } = require('../support/addon');
const { newWrapper, useFreshSdk } = require('../support/wrapper');

const LONG = `a message that does not fit into a small string ${'ä'.repeat(1000)}`;
const STATISTICS = {
  videoWidth: 640,
  videoHeight: 360,
  decodeFps: 30,
  renderFps: 29,
  videoBitrate: 800,
  audioBitrate: 64,
  audioLossRate: -1,
  lossRate: 2147483647,
};

/** Fires callbacks at a wrapper's new player; returns its ID and the events. */
async function eventsOf(fires) {
  const wrapper = newWrapper();
  wrapper.initPusher({});
  const id = wrapper.initPlayer({});
  const events = recordEvents(wrapper);
  for (const [callback, options] of fires(id)) {
    assert.equal(sdk.fire(callback, options).delivered, true, callback);
  }
  await flush();
  return { id, events };
}

/** Fires one callback and holds the one event that comes of it, as text: key order counts. */
async function assertEvent([callback, options], name, payload) {
  const { id, events } = await eventsOf((player) => [
    [callback, typeof options === 'function' ? options(player) : options],
  ]);
  assert.deepEqual(
    events.map((event) => [event.name, event.args.length, JSON.stringify(event.args[0])]),
    [[name, 1, JSON.stringify(typeof payload === 'function' ? payload(id) : payload)]],
  );
  assert.equal(Object.getPrototypeOf(events[0].args[0]), Object.prototype);
}

describe('player events', () => {
  useFreshSdk();

  for (const [callback, name] of [
    ['onPlayStarted', 'onPlayStarted'],
    ['onPlayStopped', 'onPlayStopped'],
    ['onFirstVideoFrameDrawn', 'onFirstRemoteVideoFrameDrawn'],
  ]) {
    it(`${callback} arrives as "${name}" with the player's ID`, () =>
      assertEvent([callback], name, (id) => ({ playerID: id })));

    it(`${callback} of no player carries an empty ID`, () =>
      assertEvent([callback, { player: null }], name, { playerID: '' }));
  }

  for (const [code, message] of [
    [-7, 'x'],
    [2147483647, LONG],
    [0, ''],
  ]) {
    it(`onError arrives as "onPlayError" with code ${code} and its text`, () =>
      assertEvent(['onError', { code, message }], 'onPlayError', (id) => ({
        playerID: id,
        msg: message,
        code,
      })));
  }

  it('onError with a text that is no UTF-8 arrives all the same', () =>
    assertEvent(
      ['onError', { code: 1, message: Buffer.from([0x61, 0xff]) }],
      'onPlayError',
      (id) => ({
        playerID: id,
        msg: 'a\ufffd',
        code: 1,
      }),
    ));

  it('onNetworkQualityChange carries the quality; from 2147483648 upward it is negative', async () => {
    for (const [quality, expected] of [
      [3, 3],
      [2147483647, 2147483647],
      [4294967295, -1],
    ]) {
      await assertEvent(
        ['onNetworkQualityChange', { quality }],
        'onNetworkQualityChange',
        (id) => ({
          playerID: id,
          quality: expected,
        }),
      );
    }
  });

  it('onPlayerStatistics carries the user twice, and eight numbers in order', () =>
    assertEvent(
      ['onPlayerStatistics', { userId: 'bjørn', channelId: 'unseen', ...STATISTICS }],
      'onPlayerStatistics',
      (id) => ({ playerID: id, userId: 'bjørn', channelId: 'bjørn', ...STATISTICS }),
    ));

  it('onPlayerStatistics of no user carries empty texts', () =>
    assertEvent(
      ['onPlayerStatistics', { userId: null, ...STATISTICS }],
      'onPlayerStatistics',
      (id) => ({ playerID: id, userId: '', channelId: '', ...STATISTICS }),
    ));

  it('arrive each once, in the order in which they were raised', async () => {
    const names = ['onPlayStarted', 'onFirstVideoFrameDrawn', 'onNetworkQualityChange'];
    const callbacks = [...names, 'onError', 'onPlayerStatistics', 'onPlayStopped'];
    const { events } = await eventsOf(() => callbacks.map((callback) => [callback]));
    assert.deepEqual(
      events.map(({ name }) => name),
      callbacks.map(
        (name) =>
          ({ onFirstVideoFrameDrawn: 'onFirstRemoteVideoFrameDrawn', onError: 'onPlayError' })[
            name
          ] ?? name,
      ),
    );
  });

  it('name their player, fired from many threads at once', async () => {
    const wrapper = newWrapper();
    wrapper.initPusher({});
    const ids = Array.from({ length: 4 }, () => wrapper.initPlayer({}));
    const events = recordEvents(wrapper, ['onPlayError']);
    sdk.fireFrom(
      4,
      (thread, repetition) => ({
        callback: 'onError',
        target: ids[thread],
        code: repetition,
        message: `of thread ${thread}`,
      }),
      { times: 100 },
    );
    await flush();
    assert.equal(events.length, 400);
    ids.forEach((id, thread) => {
      const own = events.filter(({ args }) => args[0].playerID === id);
      assert.deepEqual(
        own.map(({ args }) => args[0].code),
        Array.from({ length: 100 }, (_, repetition) => repetition),
      );
      assert.ok(own.every(({ args }) => args[0].msg === `of thread ${thread}`));
    });
  });

  it('that were raised before their player was destroyed still carry its ID', async () => {
    const wrapper = newWrapper();
    wrapper.initPusher({});
    const id = wrapper.initPlayer({});
    const events = recordEvents(wrapper);
    sdk.fire('onPlayStopped');
    sdk.fire('onPlayerStatistics', { userId: 'anna' });
    wrapper.destroyPlayer(id);
    await flush();
    assert.deepEqual(
      events.map(({ args }) => args[0].playerID),
      [id, id],
    );
  });

  it('do not come any more once the player is destroyed', () => {
    const wrapper = newWrapper();
    wrapper.initPusher({});
    const id = wrapper.initPlayer({});
    wrapper.destroyPlayer(id);
    assert.equal(sdk.fire('onPlayStarted', { target: id }).delivered, false);
  });
});

describe('volume reports', () => {
  useFreshSdk();

  for (const side of ['pusher', 'player']) {
    const callback = `${side}.onAudioVolumeCallback`;
    const name = 'onAudioVolumeCallback';
    const countName = side === 'pusher' ? 'count' : 'volumeInfoCount';

    it(`from the ${side} arrives as one event with the first user's record`, () =>
      assertEvent(
        [
          callback,
          (id) => ({
            volumes: [
              { userType: 2, player: id, speechState: true, volume: 40, sumVolume: 200 },
              { userType: 1, volume: 1 },
              { userType: 0, volume: 2 },
            ],
            [countName]: 3,
            totalVolume: 40,
          }),
        ],
        name,
        (id) => ({
          userType: 2,
          playerID: id,
          speechState: true,
          volume: 40,
          sumVolume: 200,
          volumeInfoCount: 3,
          totalVolume: 40,
        }),
      ));

    it(`from the ${side} forwards the count and the numbers as they are`, () =>
      assertEvent(
        [
          callback,
          {
            volumes: [{ userType: -1, volume: -2147483648, sumVolume: 2147483647 }],
            [countName]: -5,
            totalVolume: -1,
          },
        ],
        name,
        {
          userType: -1,
          playerID: '',
          speechState: false,
          volume: -2147483648,
          sumVolume: 2147483647,
          volumeInfoCount: -5,
          totalVolume: -1,
        },
      ));
  }

  for (const [userType, who, named] of [
    [2, 'a player', true],
    [2, 'no player', false],
    [0, 'a player', false],
    [1, 'a player', false],
    [3, 'a player', false],
    [-1, 'a player', false],
  ]) {
    const playerOf = (id) => (who === 'a player' ? id : null);
    const idOf = (id) => (named ? id : '');

    it(`of user type ${userType} with ${who} names ${named ? 'it' : 'nobody'}`, () =>
      assertEvent(
        [
          'player.onAudioVolumeCallback',
          (id) => ({
            volumes: [{ userType, player: playerOf(id) }],
            volumeInfoCount: 1,
            totalVolume: 9,
          }),
        ],
        'onAudioVolumeCallback',
        (id) => ({
          userType,
          playerID: idOf(id),
          speechState: false,
          volume: 0,
          sumVolume: 0,
          volumeInfoCount: 1,
          totalVolume: 9,
        }),
      ));

    it(`an active speaker of user type ${userType} with ${who} names ${named ? 'it' : 'nobody'}`, () =>
      assertEvent(
        ['player.onActiveSpeaker', (id) => ({ userType, player: playerOf(id) })],
        'onActiveSpeaker',
        (id) => ({ userType, playerID: idOf(id) }),
      ));
  }
});
