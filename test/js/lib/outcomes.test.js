'use strict';

// Promises of LivePush and LivePlayer are settled by the events that report the outcome.

const assert = require('node:assert/strict');
const { afterEach, beforeEach, describe, it } = require('node:test');
const { flush, scriptedDirectory, sdk } = require('../support/addon');
const { callNames, useFreshSdk } = require('../support/wrapper');

process.env.LUMO_BUILD_DIR = scriptedDirectory;
const { LivePush } = require('../../../lib');

const URL = 'rtmp://host/app/stream';
const LAYOUT = {
  mixStreams: [{ userId: 'anna', x: 1, y: 2, width: 3, height: 4, zOrder: 5 }],
};

let live;

async function fire(callback, options) {
  assert.equal(sdk.fire(callback, options).delivered, true);
  await flush();
}

/** Whether a promise has settled by now: "pending", "fulfilled" or its error's code. */
async function stateOf(promise) {
  await flush();
  return Promise.race([
    promise.then(
      () => 'fulfilled',
      (error) => error.code,
    ),
    Promise.resolve('pending').then((state) => state),
  ]);
}

/** A promise whose rejection is looked at later. */
function later(promise) {
  promise.catch(() => {});
  return promise;
}

/** Begins every test of a suite with a new pusher, and an SDK that remembers no calls. */
function useLivePush() {
  useFreshSdk();
  beforeEach(() => {
    live = new LivePush();
    live.initPusher({});
    sdk.forget();
  });
  afterEach(() => live.dispose());
}

describe('outcomes', () => {
  useLivePush();

  for (const [method, event, ...args] of [
    ['startPreview', 'onPreviewStarted', {}],
    ['startPreviewAsync', 'onPreviewStarted', {}],
    ['stopPreview', 'onPreviewStopped'],
    ['startPush', 'onPushStarted', URL],
    ['startPushAsync', 'onPushStarted', URL],
    ['stopPush', 'onPushStopped'],
  ]) {
    it(`${method} waits for "${event}"`, async () => {
      const promise = live[method](...args);
      assert.equal(await stateOf(promise), 'pending');
      await fire(event);
      assert.equal(await promise, undefined);
      assert.deepEqual(callNames(), [`pusher.${method}`]);
    });

    it(`${method} fails when the SDK takes no request`, async () => {
      sdk.answer(method, -2003);
      await assert.rejects(live[method](...args), {
        code: 'SDK_ERROR',
        method,
        nativeCode: -2003,
      });
    });
  }

  it('a request that the add-on refuses fails', async () => {
    await assert.rejects(live.startPush(5), { code: 'REFUSED', nativeCode: 1 });
    await assert.rejects(live.startPreview(), { code: 'REFUSED', nativeCode: 1 });
    assert.deepEqual(callNames(), []);
  });

  it('without a pusher an operation fails', async () => {
    live.destroyPusher();
    sdk.answer('pusher.Create', null);
    await assert.rejects(live.startPush(URL), { code: 'REFUSED' });
  });

  it('a push that does not begin fails with the reason that comes beside it', async () => {
    const promise = later(live.startPush(URL));
    sdk.fire('onConnectFail');
    sdk.fire('onSDKError', { code: -3002, msg: 'nobody listens' });
    await assert.rejects(promise, {
      message: 'startPush: nobody listens (-3002)',
      code: 'SDK_ERROR',
      method: 'startPush',
      nativeCode: -3002,
    });
  });

  it('a push that does not begin fails without a reason too', async () => {
    const promise = later(live.startPush(URL));
    await fire('onConnectFail');
    await assert.rejects(promise, { code: 'SDK_ERROR', nativeCode: undefined });
  });

  it('an error that does not end the push is none of its outcome', async () => {
    const promise = live.startPush(URL);
    await fire('onSDKError', { code: 1, msg: 'x' });
    await fire('onSystemError', { code: 1, msg: 'x' });
    assert.equal(await stateOf(promise), 'pending');
    await fire('onPushStarted');
    await promise;
  });

  it('a push that ends instead of beginning fails with the reason before it', async () => {
    const promise = later(live.startPush(URL));
    await fire('onSDKError', { code: -3007, msg: 'encoder' });
    await fire('onPushStopped');
    await assert.rejects(promise, { code: 'SDK_ERROR', nativeCode: -3007 });
  });

  it('a preview fails when it ends instead of beginning, else whatever fails meanwhile', async () => {
    const refused = later(live.startPreview({}));
    await fire('onSystemError', { code: -3104, msg: 'elements' });
    await fire('onPreviewStopped');
    await assert.rejects(refused, { code: 'SDK_ERROR', nativeCode: -3104 });

    const promise = live.startPreview({});
    await fire('onSystemError', { code: 1, msg: 'microphone' });
    assert.equal(await stateOf(promise), 'pending');
    await fire('onPreviewStarted');
    await promise;
  });

  it('a start is interrupted by a stop', async () => {
    const start = later(live.startPush(URL));
    const stop = live.stopPush();
    await fire('onPushStopped');
    await stop;
    await assert.rejects(start, { code: 'INTERRUPTED', method: 'startPush' });
  });

  it('a start is not confused by what came of stops before it', async () => {
    const first = later(live.startPush(URL));
    const stop = live.stopPush();
    const second = live.startPush(URL);
    for (const event of ['onPushStarted', 'onConnectFail']) await fire(event);
    await fire('onSDKError', { code: 1, msg: 'x' });
    assert.equal(await stateOf(second), 'pending');
    await fire('onPushStopped');
    await stop;
    assert.equal(await stateOf(first), 'fulfilled');
    assert.equal(await stateOf(second), 'pending');
    await fire('onPushStarted');
    await second;
  });

  it('each stop has an event of its own', async () => {
    const first = live.stopPreview();
    const second = live.stopPreview();
    await fire('onPreviewStopped');
    await first;
    assert.equal(await stateOf(second), 'pending');
    await fire('onPreviewStopped');
    await second;
  });

  it('destroyPusher interrupts', async () => {
    const waiting = [
      live.startPreview({}),
      live.stopPush(),
      live.setLiveMixTranscodingConfig(null),
    ];
    live.destroyPusher();
    for (const promise of waiting) await assert.rejects(promise, { code: 'INTERRUPTED' });
  });

  it('destroyPusher leaves no stop to wait for', async () => {
    const stop = later(live.stopPush());
    live.destroyPusher();
    await assert.rejects(stop, { code: 'INTERRUPTED' });
    live.initPusher({});
    const start = live.startPush(URL);
    await fire('onPushStarted');
    assert.equal(await stateOf(start), 'fulfilled');
  });

  it('the application receives the events too', async () => {
    const seen = [];
    live.on('onPushStarted', () => seen.push('onPushStarted'));
    const promise = live.startPush(URL);
    await fire('onPushStarted');
    await promise;
    assert.deepEqual(seen, ['onPushStarted']);
  });
});

describe('waiting', () => {
  useLivePush();

  it('ends with the signal, whose reason it passes on', async () => {
    const controller = new AbortController();
    const promise = later(live.startPush(URL, { signal: controller.signal }));
    controller.abort();
    await assert.rejects(promise, { name: 'AbortError' });
    const reason = new Error('enough');
    const other = new AbortController();
    const second = later(live.startPush(URL, { signal: other.signal }));
    other.abort(reason);
    await assert.rejects(second, reason);
    assert.equal(callNames().length, 2);
  });

  it('does not begin when the signal has been raised', async () => {
    await assert.rejects(live.startPush(URL, { signal: AbortSignal.abort() }), {
      name: 'AbortError',
    });
    assert.deepEqual(callNames(), []);
  });

  it('ends with the time', async () => {
    await assert.rejects(live.startPush(URL, { timeoutMs: 1 }), {
      code: 'TIMEOUT',
      method: 'startPush',
    });
    await assert.rejects(live.startPush(URL, { timeoutMs: -1 }), TypeError);
    await assert.rejects(live.startPush(URL, { timeoutMs: 'soon' }), TypeError);
    assert.equal(callNames().length, 1);
  });

  it('may have all the time in the world', async () => {
    const promise = live.startPush(URL, { timeoutMs: Number.MAX_VALUE });
    const other = live.startPreview({}, { timeoutMs: Infinity });
    assert.equal(await stateOf(promise), 'pending');
    sdk.fire('onPreviewStarted');
    await fire('onPushStarted');
    await Promise.all([promise, other]);
  });

  it('leaves nothing behind', async () => {
    const controller = new AbortController();
    const promise = live.startPush(URL, { signal: controller.signal, timeoutMs: 60_000 });
    await fire('onPushStarted');
    await promise;
    controller.abort();
    assert.equal(process.getActiveResourcesInfo().filter((name) => name === 'Timeout').length, 0);
  });

  it('that was given up does not take the answer of the next request', async () => {
    await assert.rejects(live.setLiveMixTranscodingConfig(LAYOUT, { timeoutMs: 1 }));
    const second = live.setLiveMixTranscodingConfig(LAYOUT);
    await fire('onSetLiveMixTranscodingConfig', { isSuccess: false, message: 'about the first' });
    assert.equal(await stateOf(second), 'pending');
    await fire('onSetLiveMixTranscodingConfig', { isSuccess: true, message: '' });
    await second;
  });
});

describe('mix layouts', () => {
  useLivePush();

  it('reach the SDK, and its result is delivered', async () => {
    const promise = live.setLiveMixTranscodingConfig({ backgroundColor: 0xff00ff00, ...LAYOUT });
    const [{ args }] = sdk.calls('setLiveMixTranscodingConfig');
    assert.equal(args.config.backgroundColor, 0xff00ff00 | 0);
    assert.deepEqual(args.config.mixStreams, LAYOUT.mixStreams);
    await fire('onSetLiveMixTranscodingConfig', { isSuccess: true, message: '' });
    await promise;
  });

  it('that the SDK turns down are errors', async () => {
    const promise = later(live.setLiveMixTranscodingConfig(null));
    await fire('onSetLiveMixTranscodingConfig', { isSuccess: false, message: 'no mixer' });
    await assert.rejects(promise, {
      message: 'setLiveMixTranscodingConfig: no mixer',
      code: 'SDK_ERROR',
    });
  });

  it('that are refused at once may be turned down once more', async (t) => {
    const refused = () => {
      sdk.answer('setLiveMixTranscodingConfig', -2002);
      const promise = live.setLiveMixTranscodingConfig(LAYOUT);
      sdk.answer('setLiveMixTranscodingConfig', 0);
      return assert.rejects(promise, { code: 'SDK_ERROR', nativeCode: -2002 });
    };
    // By an SDK that does so, in the order of the requests.
    await refused();
    const first = later(live.setLiveMixTranscodingConfig(LAYOUT));
    await fire('onSetLiveMixTranscodingConfig', { isSuccess: false, message: 'the refused one' });
    assert.equal(await stateOf(first), 'pending');
    await fire('onSetLiveMixTranscodingConfig', { isSuccess: false, message: 'the other' });
    assert.equal(await stateOf(first), 'SDK_ERROR');
    // By one that does not.
    await refused();
    const second = live.setLiveMixTranscodingConfig(LAYOUT);
    await fire('onSetLiveMixTranscodingConfig', { isSuccess: true, message: '' });
    await second;
    let giveUp;
    const timers = t.mock.method(globalThis, 'setTimeout', (action) => {
      giveUp = action;
      return { unref() {} };
    });
    await refused();
    timers.mock.restore();
    giveUp();
    const third = later(live.setLiveMixTranscodingConfig(LAYOUT));
    await fire('onSetLiveMixTranscodingConfig', { isSuccess: false, message: 'no' });
    assert.equal(await stateOf(third), 'SDK_ERROR');
  });

  const [stream] = LAYOUT.mixStreams;
  const sparse = [stream];
  sparse.length = 2;
  for (const [what, layout, place] of [
    ['no object', 5, /layout/],
    ['undefined', undefined, /layout/],
    ['a colour that is no number', { backgroundColor: '#000' }, /backgroundColor/],
    ['a crop mode beyond 32 bits', { cropMode: 2 ** 32 }, /cropMode/],
    ['streams that are no array', { mixStreams: { 0: stream } }, /mixStreams/],
    ['a stream that is null', { mixStreams: [stream, null] }, /mixStreams\[1\]/],
    ['a stream that is undefined', { mixStreams: [undefined] }, /mixStreams\[0\]/],
    ['a hole among the streams', { mixStreams: sparse }, /mixStreams\[1\]/],
    ['a stream that is a text', { mixStreams: ['anna'] }, /mixStreams\[0\]/],
    ['a stream without a user', { mixStreams: [{ ...stream, userId: 1 }] }, /userId/],
    ['a missing number', { mixStreams: [{ ...stream, zOrder: undefined }] }, /zOrder/],
    ['a fraction', { mixStreams: [{ ...stream, x: 0.5 }] }, /\.x/],
  ]) {
    it(`with ${what} never reach the native side`, async () => {
      await assert.rejects(live.setLiveMixTranscodingConfig(layout), (error) => {
        assert.ok(error instanceof TypeError);
        assert.match(error.message, place);
        return true;
      });
      assert.deepEqual(callNames(), []);
    });
  }

  it('cannot change between the check and the call', () => {
    let reads = 0;
    const layout = {
      get mixStreams() {
        reads += 1;
        return reads === 1 ? [stream] : [null];
      },
    };
    later(live.setLiveMixTranscodingConfig(layout));
    const [{ args }] = sdk.calls('setLiveMixTranscodingConfig');
    assert.deepEqual(args.config.mixStreams, [stream]);
  });
});

describe('LivePlayer', () => {
  useFreshSdk();
  beforeEach(() => {
    live = new LivePush();
    sdk.forget();
  });
  afterEach(() => live.dispose());

  it('comes after the pusher, by which its events come', () => {
    const player = live.createPlayer({ isMirror: true, rotation: 1 });
    assert.match(player.id, /^0x/);
    assert.deepEqual(callNames(), [
      'pusher.Create',
      'player.Create',
      'player.initPlayer',
      'player.setPlayInfoListener',
      'player.setVideoFrameListener',
    ]);
    assert.equal(sdk.calls('initPlayer')[0].args.config.isMirror, true);
    assert.deepEqual(sdk.alive().players.at(-1), player.id);
  });

  it('cannot be made when the SDK refuses', () => {
    sdk.answer('player.Create', null);
    assert.throws(() => live.createPlayer(), {
      code: 'REFUSED',
      method: 'initPlayer',
      nativeCode: '',
    });
  });

  it('has the methods of a player', () => {
    const player = live.createPlayer();
    sdk.forget();
    sdk.answer('getPlayMode', 2);
    assert.equal(player.setPlayView({ width: 4, height: 3 }), undefined);
    assert.equal(player.setRemoteAudioVolume(50), undefined);
    assert.equal(player.getPlayMode(), 2);
    assert.deepEqual(
      sdk.calls('player').map(({ self }) => self),
      [player.id, player.id, player.id],
    );
    sdk.answer('setRemoteAudioVolume', -2002);
    assert.throws(() => player.setRemoteAudioVolume(1000), {
      code: 'SDK_ERROR',
      method: 'setRemoteAudioVolume',
      nativeCode: -2002,
    });
    assert.throws(() => player.setPlayView(5), { code: 'REFUSED', nativeCode: 1 });
  });

  it('waits for outcomes of its own', async () => {
    const [first, second] = [live.createPlayer(), live.createPlayer()];
    const starts = [first.startPlay(URL), later(second.startPlay(URL))];
    await fire('onPlayStarted', { target: first.id });
    await starts[0];
    assert.equal(await stateOf(starts[1]), 'pending');
    await fire('onError', { target: second.id, code: 7, message: 'gone' });
    await assert.rejects(starts[1], { code: 'SDK_ERROR', method: 'startPlay', nativeCode: 7 });
    const stop = first.stopPlay();
    await fire('onPlayStopped', { target: second.id });
    assert.equal(await stateOf(stop), 'pending');
    await fire('onPlayStopped', { target: first.id });
    await stop;
  });

  it('takes no error of a stream that was stopped for one of the next', async () => {
    const player = live.createPlayer();
    const stop = player.stopPlay();
    const start = later(player.startPlay(URL));
    await fire('onError', { code: 7, message: 'gone' });
    await fire('onPlayStopped');
    await stop;
    await fire('onPlayStarted');
    await start;
  });

  it('receives events about itself', async () => {
    const [first, second] = [live.createPlayer(), live.createPlayer()];
    const seen = [];
    first.on('onFirstRemoteVideoFrameDrawn', function drawn(event) {
      seen.push([this, event]);
    });
    const frames = new Promise((resolve) => {
      second.once('onVideoRenderData', resolve);
    });
    await fire('onFirstVideoFrameDrawn', { target: second.id });
    await fire('onFirstVideoFrameDrawn', { target: first.id });
    assert.deepEqual(seen, [[first, { playerID: first.id }]]);
    const frame = { width: 8, height: 2 };
    sdk.fire('onRemoteVideoSample', { target: first.id, frame });
    sdk.fire('onRemoteVideoSample', { target: second.id, frame });
    assert.equal((await frames)[0].user_id, second.id);
    assert.throws(() => first.on('onPushStarted', () => {}), TypeError);
  });

  it('removes its listeners', async () => {
    const player = live.createPlayer();
    const heardBy = [];
    function hear() {
      heardBy.push(this);
    }
    player.on('onPlayStarted', hear);
    player.on('onPlayStopped', hear);
    live.on('onPlayStopped', hear);
    player.off('onPlayStarted', hear);
    player.off('onPlayStopped', hear);
    await fire('onPlayStarted');
    await fire('onPlayStopped');
    assert.deepEqual(heardBy, [live]);
  });

  it('receives nothing after its end, also not of a player that has its ID', async () => {
    const [player, other] = [live.createPlayer(), live.createPlayer()];
    const seen = [];
    player.on('onPlayStarted', (event) => seen.push(event));
    await fire('onPlayStarted', { target: other.id, player: player.id });
    assert.deepEqual(seen.splice(0), [{ playerID: player.id }]);
    player.dispose();
    await fire('onPlayStarted', { target: other.id, player: player.id });
    assert.deepEqual(seen, []);
  });

  it('is disposed once, and then unusable', async () => {
    const player = live.createPlayer();
    const start = player.startPlay(URL);
    sdk.forget();
    player.dispose();
    player.dispose();
    await assert.rejects(start, { code: 'DISPOSED' });
    assert.deepEqual(callNames(), [
      'player.setPlayInfoListener',
      'player.setVideoFrameListener',
      'player.destroy',
    ]);
    assert.throws(() => player.getPlayMode(), { code: 'DISPOSED', method: 'getPlayMode' });
    assert.throws(() => player.on('onPlayStarted', () => {}), { code: 'DISPOSED' });
  });
});
