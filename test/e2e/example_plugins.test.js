'use strict';

const assert = require('node:assert/strict');
const path = require('node:path');
const { after, afterEach, before, describe, it } = require('node:test');
const { sdkDirectory } = require('../../lib');
const { startRtmpServer } = require('../../tools/rtmp/rtmp_server');
const { frameColours } = require('../../tools/rtmp/witness');
const { CONFIG, openLivePush, pixel } = require('./support/live_push');

const GUARD = { timeout: 120_000 };
const BARS = 7;

/** Opens a pusher with example plug-ins loaded under their own names, switched off. */
function openWithPlugins(...names) {
  const live = openLivePush({ config: { mVideoEncodeGop: 1 } });
  for (const name of names) {
    const file = path.join(sdkDirectory, 'examples/plugins', `${name}.so`);
    assert.equal(live.push.addPlugin({ id: name, path: file }), 0, file);
  }
  return live;
}

/** Y, U and V of each of the seven bars in the upper part of the test pattern. */
const bars = (frame) =>
  Array.from({ length: BARS }, (_bar, index) => pixel(frame, (index + 0.5) / BARS, 0.4));

/** The largest difference of two lists of colours in any part. */
const difference = (one, other) =>
  Math.max(...one.flat().map((value, index) => Math.abs(value - other.flat()[index])));

/** The frames are black until the source has delivered its first frame. */
const showsPattern = (frame) => pixel(frame, 0.07, 0.4)[0] > 200;

describe('example plug-ins on captured frames', GUARD, () => {
  let live;
  afterEach(() => live?.close());

  async function startPreview(...names) {
    live = openWithPlugins(...names);
    live.push.startPreview({ view: null, ...CONFIG });
    return live.nextFrame(showsPattern);
  }

  it('mirror flips the frames that JavaScript receives, until it is disabled', async () => {
    const plain = bars(await startPreview('mirror'));
    assert.equal(live.push.enablePlugin('mirror', true), 0);
    const mirrored = bars(await live.nextFrame((frame) => difference(bars(frame), plain) > 100));
    assert.ok(difference(mirrored, [...plain].reverse()) <= 2, `${mirrored}, from ${plain}`);
    assert.equal(live.push.enablePlugin('mirror', false), 0);
    await live.nextFrame((frame) => difference(bars(frame), plain) === 0);
  });

  it('colour_adjust removes the colour, and keeps its last accepted parameters', async () => {
    const set = (text) => live.push.setPluginParameter('colour_adjust', text);
    const plain = bars(await startPreview('colour_adjust'));
    assert.equal(live.push.enablePlugin('colour_adjust', true), 0);
    assert.equal(set('{"saturation": 0}'), 0);
    const isGrey = ({ data_u, data_v }) =>
      [data_u, data_v].every((chroma) => chroma.every((value) => value === 128));
    const grey = await live.nextFrame(isGrey);
    assert.deepEqual(
      bars(grey),
      plain.map(([y]) => [y, 128, 128]),
    );
    for (const text of ['', 'saturation=2', '{"saturation": "2"}', '{"zoom": 2}']) {
      assert.equal(set(text), 1, text);
    }
    assert.ok(isGrey(await live.nextFrame()));
    assert.equal(set('{"saturation": 1, "brightness": -0.1}'), 0);
    const dark = plain.map(([y, u, v]) => [Math.max(0, Math.round(y - 21.9)), u, v]);
    await live.nextFrame((frame) => difference(bars(frame), dark) <= 1);
  });

  it('clock_overlay draws into its corner only', async () => {
    const plain = await startPreview('clock_overlay');
    const parameters = JSON.stringify({ position: 'bottom-left', size: 0.1 });
    assert.equal(live.push.setPluginParameter('clock_overlay', parameters), 0);
    assert.equal(live.push.enablePlugin('clock_overlay', true), 0);
    // From the box's inside, and from the still parts of the pattern around it.
    const inside = [];
    const outside = [];
    for (let x = 0.01; x < 0.4; x += 1 / CONFIG.width) {
      for (let y = 0.6; y < 0.99; y += 1 / CONFIG.height) {
        if (x > 0.05 && x < 0.3 && y > 0.8 && y < 0.94) inside.push([x, y]);
        if (x > 0.34 || y < 0.76) outside.push([x, y]);
      }
    }
    const coloursOf = (frame, places) => places.map(([x, y]) => pixel(frame, x, y));
    const isColourless = ([, u, v]) => u === 128 && v === 128;
    const shown = await live.nextFrame((frame) => coloursOf(frame, inside).every(isColourless));
    assert.ok(!coloursOf(plain, inside).every(isColourless));
    const luma = coloursOf(shown, inside).map(([y]) => y);
    const [bright, dark] = [luma.filter((y) => y > 200), luma.filter((y) => y < 100)];
    assert.ok(bright.length > 0.1 * luma.length, `${bright.length} of ${luma.length} are ink`);
    assert.ok(dark.length > 0.4 * luma.length, `${dark.length} of ${luma.length} are ground`);
    assert.deepEqual(coloursOf(shown, outside), coloursOf(plain, outside));
  });
});

describe('example plug-ins in a live stream', GUARD, () => {
  let server;
  let live;
  before(async () => {
    server = await startRtmpServer();
  });
  after(async () => {
    live?.close();
    await server.stop();
  });

  it('at the server the video is mirrored, then without colour', async () => {
    live = openWithPlugins('mirror', 'colour_adjust');
    const flowing = live.next('onFirstFramePushed');
    assert.equal(live.push.startPush(server.url()), 0);
    await flowing;
    await live.nextFrame(showsPattern);
    // The bars lie in the upper two thirds, the pattern's clock in the uppermost part.
    const seenBars = async () => (await frameColours(server.url(), BARS, 6))[2];

    const plain = await seenBars();
    assert.equal(live.push.enablePlugin('mirror', true), 0);
    await live.nextFrame((frame) => !showsPattern(frame));
    const mirrored = await seenBars();
    const turned = difference(mirrored, [...plain].reverse());
    assert.ok(turned < 12, `differs by ${turned} from the mirror image: ${mirrored}`);
    for (const [bar, colour] of mirrored.entries()) {
      // The middle one keeps its position.
      const change = difference(colour, plain[bar]);
      assert.equal(change > 100, bar !== 3, `bar ${bar} has changed by ${change}`);
    }

    assert.equal(live.push.setPluginParameter('colour_adjust', '{"saturation": 0}'), 0);
    assert.equal(live.push.enablePlugin('colour_adjust', true), 0);
    await live.nextFrame((frame) => pixel(frame, 0.07, 0.4)[1] === 128);
    const colourOf = (colours) => colours.map((rgb) => Math.max(...rgb) - Math.min(...rgb));
    const [before, now] = [colourOf(mirrored), colourOf(await seenBars())];
    assert.ok(Math.max(...now) < 12, `left of ${before}: ${now}`);
    assert.ok(Math.min(...before.slice(0, 6)) > 100, `${before}`); // the last one is white
  });
});
