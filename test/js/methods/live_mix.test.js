'use strict';

// The layout of a mix: its keys, its streams, and the SDK's result.

const assert = require('node:assert/strict');
const { describe, it } = require('node:test');
const { flush, recordEvents, sdk } = require('../support/addon');
const { outputOf, runScript } = require('../support/fresh_process');
const { itReadsOptions } = require('./options');
const { itIsAPusherMethod, itSurvivesTheEndOfThePusher } = require('./pusher_method');
const { callNames, newWrapper, useFreshSdk } = require('../support/wrapper');

const METHOD = 'setLiveMixTranscodingConfig';
const NO_STREAMS = { backgroundColor: 0, cropMode: 1, mixStreams: [] };
const STREAM = { userId: 'anna', x: 1, y: 2, width: 3, height: 4, zOrder: 5 };
const OTHER_STREAM = { userId: 'bjørn', x: -1, y: -2, width: 30, height: 40, zOrder: 0 };

/** What the SDK is given for a layout. */
function layoutOf(layout) {
  newWrapper()[METHOD](layout);
  return sdk.calls(METHOD).at(-1).args.config;
}

/** The streams that the SDK is given for a list of elements. */
const streamsOf = (mixStreams) => layoutOf({ mixStreams }).mixStreams;

function thrower() {
  throw new Error('from inside a layout');
}

describe('a layout', () => {
  useFreshSdk();
  const layout = { backgroundColor: 0xff8040, cropMode: 2, mixStreams: [STREAM, OTHER_STREAM] };

  itIsAPusherMethod({
    method: METHOD,
    good: [layout],
    given: { config: layout },
    answer: -42,
  });

  itReadsOptions(
    METHOD,
    { backgroundColor: ['signed', 0], cropMode: ['unsigned', 1] },
    (options) => {
      const { mixStreams, ...rest } = layoutOf(options);
      assert.deepEqual(mixStreams, []);
      return rest;
    },
  );

  it('of one object serves one call: its streams are cleared and freed right after it', () => {
    const before = sdk.alive();
    layoutOf(layout);
    assert.deepEqual(
      sdk.arrays().map(({ name, count }) => [name, count]),
      [
        ['construct', 0], // the layout's streams
        ['construct', 0], // a working list
        ['Add', 1],
        ['Add', 2],
        ['assign', 2],
        ['destroy', 2],
        ['Clear', 0],
        ['destroy', 0],
      ],
    );
    const [given] = sdk.calls(METHOD);
    const [clear] = sdk.arrays('Clear');
    const [assign] = sdk.arrays('assign');
    assert.ok(assign.seq < given.seq && given.seq < clear.seq);
    assert.equal(assign.self, clear.self);
    assert.deepEqual({ ...sdk.alive(), pushers: 0 }, { ...before, pushers: 0 });
  });

  itSurvivesTheEndOfThePusher(METHOD, 'cropMode', -901);
  itSurvivesTheEndOfThePusher(METHOD, 'mixStreams', -901);
});

describe('null instead of a layout', () => {
  useFreshSdk();

  itIsAPusherMethod({
    method: METHOD,
    good: [null],
    given: { config: null },
    answer: -42,
    failure: -901,
  });
});

describe('the streams of a layout', () => {
  useFreshSdk();

  itReadsOptions(
    'a stream',
    {
      x: ['signed', 0],
      y: ['signed', 0],
      width: ['signed', 0],
      height: ['signed', 0],
      zOrder: ['signed', 0],
    },
    (stream) => {
      const [{ userId, ...numbers }] = streamsOf([stream]);
      assert.equal(userId ?? '', '');
      return numbers;
    },
  );

  itReadsOptions('a stream', { userId: ['string', ''] }, (stream) => ({
    userId: streamsOf([stream])[0].userId ?? '', // built from a null text when it is absent
  }));

  it('are none when the list is empty or no array', () => {
    const proxy = new Proxy([STREAM], {});
    for (const mixStreams of [[], 'ab', null, undefined, 5, { 0: STREAM, length: 1 }, proxy]) {
      assert.deepEqual(layoutOf({ mixStreams }), NO_STREAMS);
    }
    assert.deepEqual(layoutOf({ MixStreams: [STREAM] }), NO_STREAMS);
  });

  it('inherit the numbers that they omit from the stream before, but no user', () => {
    assert.deepEqual(streamsOf([STREAM, { userId: 'bjørn' }, { x: 9 }, {}]), [
      STREAM,
      { ...STREAM, userId: 'bjørn' },
      { ...STREAM, userId: null, x: 9 },
      { ...STREAM, userId: null, x: 9 },
    ]);
  });

  it('start from 0 in every call', () => {
    streamsOf([STREAM]);
    assert.deepEqual(streamsOf([{}])[0].width, 0);
  });

  it('may be given by numbers, strings and other values that have no layout of their own', () => {
    const elements = [STREAM, 5, 'ab', true, 1n, Symbol('s'), () => {}, [7], Buffer.from('x')];
    const others = Array(elements.length - 1).fill({ ...STREAM, userId: null });
    assert.deepEqual(streamsOf(elements), [STREAM, ...others]);
  });

  it('are many', () => {
    const streams = Array.from({ length: 1000 }, (_, i) => ({ ...STREAM, userId: `user ${i}` }));
    assert.deepEqual(streamsOf(streams), streams);
  });

  it('that cannot be read count as streams without keys', () => {
    const elements = [STREAM, null, STREAM];
    Object.defineProperty(elements, 1, { enumerable: true, get: thrower });
    const { proxy, revoke } = Proxy.revocable({}, {});
    revoke();
    elements.push(proxy, new Proxy(STREAM, { get: thrower }));
    assert.deepEqual(streamsOf(elements), [
      STREAM,
      { ...STREAM, userId: null },
      STREAM,
      { ...STREAM, userId: null },
      { userId: '', x: -1, y: -1, width: -1, height: -1, zOrder: -1 },
    ]);
  });

  it('may shrink and grow while they are read', () => {
    const changing = (change) => {
      const elements = [STREAM, OTHER_STREAM, STREAM];
      Object.defineProperty(elements, 0, {
        enumerable: true,
        get() {
          change(elements);
          return OTHER_STREAM;
        },
      });
      return elements;
    };
    const shrinking = changing((elements) => {
      elements.length = 1;
    });
    assert.deepEqual(streamsOf(shrinking), [OTHER_STREAM]);
    const growing = changing((elements) => elements.push(STREAM));
    assert.deepEqual(streamsOf(growing), [OTHER_STREAM, OTHER_STREAM, STREAM, STREAM]);
  });

  it('may destroy the pusher while they are read', () => {
    const wrapper = newWrapper();
    const stream = {
      get x() {
        wrapper.destroyPusher();
        return 1;
      },
    };
    const { arrays, strings } = sdk.alive();
    assert.equal(wrapper[METHOD]({ mixStreams: [stream, stream] }), -901);
    assert.equal(callNames().at(-1), 'pusher.destroy');
    assert.deepEqual([sdk.alive().arrays, sdk.alive().strings], [arrays, strings]);
  });

  for (const [what, elements] of [
    ['null', '[{}, null]'],
    ['undefined', '[undefined]'],
    ['missing', '[, {}]'],
  ]) {
    it(`that are ${what} end the process`, () => {
      const { status, stdout, stderr } = runScript(`
        console.log('before');
        wrapper.${METHOD}({ mixStreams: ${elements} });
        console.log('after');
        process.exit();`);
      assert.notEqual(status, 0);
      assert.equal(stdout, 'before\n');
      assert.match(stderr, /ToLocalChecked/);
    });
  }

  it('that are null in an unused list do no harm', () => {
    const result = outputOf(`
      console.log(wrapper.${METHOD}({ mixstreams: [null] }));
      process.exit();`);
    assert.equal(result, '0\n');
  });
});

describe("the SDK's decision on a layout", () => {
  useFreshSdk();

  it('arrives later, as an event', async () => {
    const wrapper = newWrapper();
    wrapper.initPusher({});
    const events = recordEvents(wrapper);
    const decision = { isSuccess: false, message: 'no such user' };
    sdk.onCall(METHOD, [{ callback: 'onSetLiveMixTranscodingConfig', ...decision }]);
    assert.equal(wrapper[METHOD]({ mixStreams: [STREAM] }), 0);
    assert.deepEqual(events, []);
    await flush();
    assert.deepEqual(
      events.map(({ name, args }) => [name, args]),
      [['onSetLiveMixTranscodingConfig', [{ isSuccess: false, msg: 'no such user' }]]],
    );
  });
});
