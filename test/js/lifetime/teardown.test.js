'use strict';

// A garbage-collected wrapper releases the SDK's objects in order; one with listeners stays.

const assert = require('node:assert/strict');
const { describe, it } = require('node:test');
const { addon, createLivePush, flush, scriptedDirectory, sdk } = require('../support/addon');
const { callNames, newWrapper, useFreshSdk } = require('../support/wrapper');

const DETACH = [
  'pusher.setPushErrorListener',
  'pusher.setPushInfoListener',
  'pusher.setVideoFrameListener',
  'pusher.setPushNetworkListener',
];

/**
 * Makes a wrapper, lets `use` have it, drops it, and collects garbage until it is gone. Returns
 * the SDK calls that its end made.
 */
async function callsOfTheEnd(use) {
  let gone = false;
  const registry = new FinalizationRegistry(() => {
    gone = true;
  });
  (() => {
    const wrapper = createLivePush();
    registry.register(wrapper, undefined);
    use(wrapper);
  })();
  sdk.forget();
  for (let attempt = 0; attempt < 100 && !gone; attempt += 1) {
    global.gc();
    await flush();
  }
  assert.ok(gone, 'the wrapper was not collected');
  return callNames();
}

describe('a wrapper without listeners', () => {
  useFreshSdk();

  it('that never had a pusher ends silently', async () => {
    assert.deepEqual(await callsOfTheEnd(() => {}), []);
  });

  it('detaches its pusher in order and destroys it', async () => {
    const calls = await callsOfTheEnd((wrapper) => wrapper.initPusher({}));
    assert.deepEqual(calls, [...DETACH, 'pusher.destroy']);
    assert.ok(
      sdk
        .calls()
        .slice(0, 4)
        .every(({ args }) => args.listener === null),
    );
  });

  it('ends pusher first, then the players in the order of their IDs', async () => {
    let ids;
    await callsOfTheEnd((wrapper) => {
      wrapper.initPusher({});
      ids = [wrapper.initPlayer({}), wrapper.initPlayer({}), wrapper.initPlayer({})];
      wrapper.stopPlay('0xdead'); // leaves an empty entry
    });
    const calls = sdk.calls().map(({ object, name, self }) => [`${object}.${name}`, self]);
    const ends = [...ids].sort().flatMap((id) => [
      ['player.setPlayInfoListener', id],
      ['player.setVideoFrameListener', id],
      ['player.destroy', id],
    ]);
    assert.deepEqual(calls.slice(5), ends);
    assert.equal(calls[4][0], 'pusher.destroy');
  });

  it('ends only once when the pusher was destroyed before', async () => {
    const calls = await callsOfTheEnd((wrapper) => {
      wrapper.initPusher({});
      wrapper.destroyPusher();
    });
    assert.deepEqual(calls, []);
  });

  it('is collected while events are queued for it; they are dropped', async () => {
    const calls = await callsOfTheEnd((wrapper) => {
      wrapper.initPusher({});
      for (let i = 0; i < 100; i += 1) sdk.fire('onSDKError', { code: i, msg: 'unheard' });
    });
    assert.equal(calls.at(-1), 'pusher.destroy');
  });

  it('is collected while SDK threads call its listener', async () => {
    const other = newWrapper();
    other.initPusher({});
    for (let i = 0; i < 20; i += 1) {
      let ticket;
      await callsOfTheEnd((wrapper) => {
        wrapper.initPusher({});
        const [target] = sdk.alive().pushers.slice(-1);
        ticket = sdk.startFrom(
          4,
          (thread) =>
            thread % 2
              ? { callback: 'onPushStarted', target }
              : { callback: 'onCaptureVideoSample', target, frame: { width: 8, height: 2 } },
          { times: 50 },
        );
      });
      sdk.collect(ticket);
    }
  });

  it('may be collected from inside a listener of another', async () => {
    const other = newWrapper();
    other.initPusher({});
    const [target] = sdk.alive().pushers.slice(-1);
    let calls = 0;
    other.addEventListener('onPushStarted', () => {
      calls += 1;
      global.gc();
    });
    for (let i = 0; i < 20; i += 1) {
      (() => createLivePush().initPusher({}))();
      sdk.fire('onPushStarted', { target });
      await flush();
    }
    assert.equal(calls, 20);
  });

  it('leaves nothing of the SDK alive', async () => {
    const before = sdk.alive();
    await callsOfTheEnd((wrapper) => {
      wrapper.initPusher({ mPausePushImagePath: 'path' });
      wrapper.initPlayer({});
    });
    assert.deepEqual(sdk.alive(), before);
  });
});

describe('a wrapper with a listener', () => {
  useFreshSdk();

  it('is never collected, even when nothing else references it', async () => {
    let heard = 0;
    (() => {
      const wrapper = new addon.LumoLivePushJSWrapper();
      wrapper.registPlugin(scriptedDirectory);
      wrapper.initPusher({});
      wrapper.addEventListener('onPushStarted', () => {
        heard += 1;
      });
    })();
    for (let i = 0; i < 5; i += 1) {
      global.gc();
      await flush();
    }
    sdk.fire('onPushStarted');
    await flush();
    assert.equal(heard, 1);
  });
});
