'use strict';

// Raw frames of pushers and players arrive in "onVideoRenderData", laid out as documented.

const assert = require('node:assert/strict');
const { afterEach, describe, it } = require('node:test');
const { flush, sdk } = require('../support/addon');
const { newWrapper, useFreshSdk } = require('../support/wrapper');

const KEYS = [
  ...['source', 'user_id', 'width', 'height'],
  ...['data_y', 'data_y_len', 'data_u', 'data_u_len', 'data_v', 'data_v_len'],
];

/** The frames of a user, as they arrive: every "onVideoRenderData" array that is not empty. */
function collectFrames(wrapper) {
  const arrays = [];
  const waiting = [];
  wrapper.addEventListener('onVideoRenderData', (...args) => {
    assert.equal(args.length, 1);
    if (args[0].length === 0) return;
    arrays.push(args[0]);
    for (const resolve of waiting.splice(0)) resolve(args[0]);
  });
  return {
    arrays,
    next: () => new Promise((resolve) => waiting.push(resolve)),
  };
}

function newAttachedWrapper() {
  const wrapper = newWrapper();
  wrapper.initPusher({});
  return wrapper;
}

// All captured frames have one owner: an update that is still queued for the wrapper of one test
// would fetch the frame of the next.
afterEach(flush);

function capture(frame, source = 0) {
  return sdk.fire('onCaptureVideoSample', { source, frame });
}

/** What the add-on makes of a frame, written out byte by byte: slow, and independent of it. */
function expectedPlanes(frame) {
  const { width, height, strideY = width } = frame;
  const half = Math.floor((height + 1) / 2);
  const halfWidth = Math.floor((width + 1) / 2);
  const strideU = frame.strideU ?? halfWidth;
  const strideV = frame.strideV ?? halfWidth;
  const source = sdk.frameBytes(frame);
  const planes = [
    { at: 0, stride: strideY, rows: height },
    { at: strideY * height, stride: strideU, rows: half },
    { at: strideY * height + strideU * half, stride: strideV, rows: half },
  ];
  if (width % 8 === 0) {
    return {
      width,
      planes: planes.map(({ at, stride, rows }) => source.subarray(at, at + stride * rows)),
    };
  }
  const aligned = width + 8 - (width % 8);
  const left = Math.floor(((aligned - width) / 2 + 1) / 2) * 2;
  const widths = [width, halfWidth, halfWidth];
  const target = planes.map(({ rows }, p) => Buffer.alloc((p ? aligned / 2 : aligned) * rows));
  planes.forEach(({ at, stride, rows }, p) => {
    const [offset, pitch] = p ? [left / 2, aligned / 2] : [left, aligned];
    for (let row = 0; row < rows; row += 1) {
      for (let column = 0; column < widths[p]; column += 1) {
        const place = row * pitch + offset + column;
        if (place < target[p].length) target[p][place] = source[at + row * stride + column];
      }
    }
  });
  return { width: aligned, planes: target };
}

describe('captured frames', () => {
  useFreshSdk();

  it('arrive as objects with the documented keys, in order, and JavaScript owns the bytes', async () => {
    const frames = collectFrames(newAttachedWrapper());
    const arrived = frames.next();
    capture({ width: 16, height: 4, fill: { gradient: 1 } });
    const [frame] = await arrived;
    assert.deepEqual(Object.keys(frame), KEYS);
    assert.deepEqual(
      [frame.source, frame.user_id, frame.width, frame.height],
      [0, 'preview', 16, 4],
    );
    assert.deepEqual([frame.data_y_len, frame.data_u_len, frame.data_v_len], [64, 16, 16]);
    for (const plane of ['data_y', 'data_u', 'data_v']) {
      assert.ok(Buffer.isBuffer(frame[plane]));
      assert.equal(frame[plane].length, frame[`${plane}_len`]);
      assert.equal(frame[plane].buffer, frame.data_y.buffer, 'three views of one buffer');
    }
    assert.equal(frame.data_y.buffer.byteLength, 96);
    const copy = Buffer.from(frame.data_y);
    const next = frames.next();
    capture({ width: 16, height: 4, fill: 9 });
    await next;
    assert.deepEqual(frame.data_y, copy);
  });

  for (const [width, height, strides] of [
    [640, 360, {}],
    [642, 360, {}],
    [8, 2, { strideY: 12, strideU: 7, strideV: 5 }],
    [10, 4, { strideY: 16, strideU: 8, strideV: 6 }],
    [9, 6, {}],
    [15, 2, {}],
    [1, 2, {}],
    [2, 2, {}],
    [12, 4, {}],
    [16, 5, {}],
  ]) {
    it(`${width}x${height} ${JSON.stringify(strides)} arrives byte for byte`, async () => {
      const frames = collectFrames(newAttachedWrapper());
      const arrived = frames.next();
      const given = { width, height, ...strides, fill: { gradient: width } };
      capture(given);
      const [frame] = await arrived;
      const expected = expectedPlanes(given);
      assert.deepEqual([frame.width, frame.height], [expected.width, height]);
      for (const [index, plane] of ['data_y', 'data_u', 'data_v'].entries()) {
        assert.ok(frame[plane].equals(expected.planes[index]), plane);
      }
    });
  }

  it('of two frames between two deliveries only the newer arrives', async () => {
    const wrapper = newAttachedWrapper();
    capture({ width: 8, height: 2, fill: 1 });
    capture({ width: 8, height: 2, fill: 2 });
    const frames = collectFrames(wrapper);
    const [frame] = await frames.next();
    assert.equal(frame.data_y[0], 2);
    assert.equal(frames.arrays.length, 1);
  });

  it('of both sources arrive in one array, source 0 first', async () => {
    const wrapper = newAttachedWrapper();
    capture({ width: 8, height: 2, fill: 2 }, 1);
    capture({ width: 8, height: 2, fill: 1 }, 0);
    const frames = await collectFrames(wrapper).next();
    assert.deepEqual(
      frames.map(({ source, data_y: y }) => [source, y[0]]),
      [
        [0, 1],
        [1, 2],
      ],
    );
  });

  it('of any source but 1 take the first place', async () => {
    const wrapper = newAttachedWrapper();
    capture({ width: 8, height: 2, fill: 3 }, 7);
    const [frame] = await collectFrames(wrapper).next();
    assert.deepEqual([frame.source, frame.data_y[0]], [0, 3]);
  });

  it('that make no sense are refused, and the last good one stays', async () => {
    const wrapper = newAttachedWrapper();
    const good = { width: 8, height: 2, fill: 5 };
    capture(good);
    for (const bad of [
      { fill: null },
      { width: 0 },
      { width: -8 },
      { height: 0 },
      { strideY: 0, size: 64 },
      { strideU: 0, size: 64 },
      { strideV: -1, size: 64 },
    ]) {
      assert.equal(capture({ ...good, fill: 6, ...bad }).result, false);
    }
    const [frame] = await collectFrames(wrapper).next();
    assert.equal(frame.data_y[0], 5);
  });

  it('onCaptureVideoSample returns false without plug-ins, also for other sources', () => {
    newAttachedWrapper();
    for (const source of [0, 1, 7]) {
      assert.equal(capture({ width: 8, height: 2 }, source).result, false);
    }
  });

  it('are not delivered without a listener, and nothing is queued for them', async () => {
    const wrapper = newAttachedWrapper();
    const seen = [];
    for (const name of ['onCaptureVideoSample', 'onReceivedRemoteVideoSample']) {
      wrapper.addEventListener(name, () => seen.push(name));
    }
    capture({ width: 8, height: 2 });
    await flush();
    assert.deepEqual(seen, []);
  });

  it('that arrive without a listener are consumed; a later listener gets newer ones', async () => {
    const [silent, pacing] = [newAttachedWrapper(), newAttachedWrapper()];
    silent.initPlayer({});
    const remoteFrame = (fill) =>
      sdk.fire('onRemoteVideoSample', { source: 0, frame: { width: 8, height: 2, fill } });
    const passes = collectFrames(pacing);
    let pass = passes.next();
    remoteFrame(1);
    // Player IDs come before "preview", so the closure for the frame above runs before this arrives.
    capture({ width: 8, height: 2 });
    await pass;
    const frames = collectFrames(silent);
    pass = passes.next();
    capture({ width: 8, height: 2 });
    await pass;
    assert.deepEqual(frames.arrays, []);
    const arrived = frames.next();
    remoteFrame(2);
    assert.equal((await arrived)[0].data_y[0], 2);
  });

  it('go to the wrapper that cached last', async () => {
    const [first, second] = [newAttachedWrapper(), newAttachedWrapper()];
    const [older, newer] = sdk.alive().pushers.slice(-2);
    const heard = [collectFrames(first), collectFrames(second)];
    const frame = { width: 8, height: 2, fill: 1 };
    // Should a pass come between the two, the first wrapper fetches what it was told of: the newer.
    for (let attempt = 1; heard[1].arrays.length === 0; attempt += 1) {
      assert.ok(attempt <= 5);
      const arrived = Promise.race(heard.map((each) => each.next()));
      sdk.fire('onCaptureVideoSample', { source: 0, frame, target: older });
      sdk.fire('onCaptureVideoSample', { source: 0, frame, target: newer });
      await arrived;
    }
    assert.equal(heard[1].arrays.length, 1);
  });

  it('keep coming when the listener is registered again', async () => {
    const wrapper = newAttachedWrapper();
    const first = collectFrames(wrapper);
    let arrived = first.next();
    capture({ width: 8, height: 2, fill: 1 });
    await arrived;
    const second = collectFrames(wrapper);
    arrived = second.next();
    capture({ width: 8, height: 2, fill: 2 });
    const [frame] = await arrived;
    assert.equal(frame.data_y[0], 2);
    assert.equal(first.arrays.length, 1);
  });

  it('that change their size while they are fetched arrive whole', async () => {
    const wrapper = newAttachedWrapper();
    const frames = collectFrames(wrapper);
    const sizes = [
      [64, 36],
      [642, 360],
      [16, 2],
    ];
    const ticket = sdk.startFrom(
      4,
      (thread, repetition) => {
        const [width, height] = sizes[(thread + repetition) % sizes.length];
        return {
          callback: 'onCaptureVideoSample',
          source: 0,
          frame: { width, height, fill: 1 + thread },
        };
      },
      { times: 200 },
    );
    const arrays = [];
    for (let i = 0; i < 5; i += 1) {
      arrays.push(await frames.next());
      capture({ width: 16, height: 2, fill: 1 });
    }
    sdk.collect(ticket);
    for (const [frame] of arrays) {
      assert.equal(frame.data_y_len, frame.width * frame.height);
      const bytes = new Set(frame.data_y);
      bytes.delete(0); // borders
      assert.equal(bytes.size, 1, 'one frame, not pieces of two');
    }
  });
});

describe('remote frames', () => {
  useFreshSdk();

  it('are cached under their player and pass no plug-in', async () => {
    const wrapper = newAttachedWrapper();
    const playerId = wrapper.initPlayer({});
    const frames = collectFrames(wrapper);
    const arrived = frames.next();
    const { result } = sdk.fire('onRemoteVideoSample', {
      source: 0,
      frame: { width: 8, height: 2, fill: 4 },
    });
    assert.equal(result, false);
    const [frame] = await arrived;
    assert.deepEqual([frame.user_id, frame.data_y[0]], [playerId, 4]);
  });

  it('of a null player are cached under the empty ID', async () => {
    const wrapper = newAttachedWrapper();
    wrapper.initPlayer({});
    const frames = collectFrames(wrapper);
    const arrived = frames.next();
    const frame = { width: 8, height: 2, fill: 4 };
    sdk.fire('onRemoteVideoSample', { source: 0, frame, player: null });
    assert.equal((await arrived)[0].user_id, '');
  });
});
