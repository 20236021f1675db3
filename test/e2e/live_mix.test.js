'use strict';

// The test pattern and two streams of plain colours and other tones are mixed; FFmpeg analyses
// video and audio from the server during each whole test.

const assert = require('node:assert/strict');
const { after, afterEach, before, describe, it } = require('node:test');
const { startTestPublisher } = require('../../tools/rtmp/publisher');
const { startRtmpServer } = require('../../tools/rtmp/rtmp_server');
const { watchColours, watchDecodedFrames, watchTones } = require('../../tools/rtmp/witness');
const { openLivePush } = require('./support/live_push');
const { openPlayer } = require('./support/player');

const GUARD = { timeout: 180_000 };
const MIX_RESULT = 'onSetLiveMixTranscodingConfig';

const FIELD = 20; // pixels
const [COLUMNS, ROWS] = [640 / FIELD, 360 / FIELD];
const COLOUR_ERROR = 24;

const RED = [254, 0, 0];
const LIME = [0, 255, 0];
const GREY = [64, 128, 192];
const BACKGROUND = 0x4080c0;
// The second bar of the test pattern, which reaches from 1/7 to 2/7 of its width.
const YELLOW = [254, 254, 0];

const TONES = { local: 440, red: 1000, lime: 1600 };

/** Monitors a stream continuously. */
function watch(url) {
  let seen;
  const waiting = new Set();
  const child = watchColours(url, COLUMNS, ROWS, (colourAt) => {
    seen = colourAt;
    for (const waiter of [...waiting]) waiter(colourAt);
  });
  const isLike = (a, b) => a.every((value, index) => Math.abs(value - b[index]) <= COLOUR_ERROR);
  return {
    /** Resolves when the areas at some places, in pixels, have their colours. */
    async shows(...places) {
      const isThere = (colourAt) =>
        places.every(([x, y, colour]) => isLike(colourAt(x / FIELD, y / FIELD), colour));
      const deadline = AbortSignal.timeout(30_000);
      await new Promise((resolve, reject) => {
        const waiter = (colourAt) => isThere(colourAt) && resolve();
        waiting.add(waiter);
        deadline.onabort = () => {
          const colours = places.map(([x, y]) => `${x},${y}: ${seen?.(x / FIELD, y / FIELD)}`);
          reject(new Error(`last colours: ${colours.join('; ')}`));
        };
      });
      waiting.clear();
    },
    stop: () => child.stop(),
  };
}

/** Resolves when exactly the tones of `users` are audible, for half a second. */
async function untilAudible(url, ...users) {
  const wanted = Object.keys(TONES).map((user) => users.includes(user));
  let child;
  let inARow = 0;
  await new Promise((resolve) => {
    child = watchTones(url, Object.values(TONES), (amplitudes) => {
      const isRight = amplitudes.every((amplitude, index) =>
        wanted[index] ? amplitude > 0.08 && amplitude < 0.25 : amplitude < 0.01,
      );
      inARow = isRight ? inARow + 1 : 0;
      if (inARow === 5) resolve();
    });
  });
  await child.stop();
}

describe('a live mix', GUARD, () => {
  let server;
  let publishers;
  let live;
  let red;
  let lime;
  let url;
  let witness;
  const publish = (name, colour) =>
    startTestPublisher(server.url(name), { source: `color=${colour}`, tone: TONES[name] });
  before(async () => {
    server = await startRtmpServer();
    publishers = { red: publish('red', 'red'), lime: publish('lime', 'lime') };
    live = openLivePush({ config: { mVideoEncodeGop: 1 } });
    [red, lime] = [openPlayer(live), openPlayer(live)];
    await Promise.all([red.play(server.url('red')), lime.play(server.url('lime'))]);
    url = server.url('mix');
    const flowing = live.next('onFirstFramePushed');
    live.push.startPush(url);
    await flowing;
    witness = watch(url);
  });
  after(async () => {
    await witness.stop();
    red.close();
    lime.close();
    live.close();
    for (const publisher of Object.values(publishers)) await publisher.stop();
    await server.stop();
  });
  afterEach(() => {
    const fatal = ['onSDKError', 'onSystemError', 'onConnectionLost', 'onPushStopped'];
    assert.deepEqual(
      live.names().filter((name) => fatal.includes(name)),
      [],
      'one session with the server',
    );
  });

  const place = (userId, x, y, width, height, zOrder = 0) => {
    return { userId, x, y, width, height, zOrder };
  };

  /** Sets a layout, which must be accepted. */
  async function mix(layout) {
    const result = live.next(MIX_RESULT);
    assert.equal(live.push.setLiveMixTranscodingConfig(layout), 0);
    assert.deepEqual(await result, { isSuccess: true, msg: '' });
  }

  const mixOf = (...mixStreams) => mix({ backgroundColor: BACKGROUND, mixStreams });

  it('puts all users into their places on the background, in the order of their z', async () => {
    await witness.shows([120, 120, YELLOW]);
    await mixOf(
      place(red.id, 320, 0, 320, 180, 2),
      place('', 0, 0, 320, 180, 0),
      place(server.url('lime'), 240, 100, 200, 160, 1),
    );
    await witness.shows(
      [60, 60, YELLOW],
      [320, 0, RED],
      [620, 160, RED],
      [340, 160, RED], // above the green one
      [240, 120, LIME], // above the local one
      [420, 240, LIME],
      [440, 240, GREY],
      [0, 180, GREY],
      [620, 340, GREY],
    );
  });

  it('with their audio', async () => {
    await untilAudible(url, 'local', 'red', 'lime');
    await mixOf(place('local', 0, 0, 320, 180), place(lime.id, 320, 0, 320, 180));
    await untilAudible(url, 'local', 'lime');
    await mixOf(place(red.id, 0, 0, 320, 180));
    await untilAudible(url, 'red');
  });

  it("at the players' volume", async () => {
    await mixOf(place(red.id, 0, 0, 320, 180), place(lime.id, 320, 0, 320, 180));
    live.push.setRemoteAudioVolume(red.id, 0);
    await untilAudible(url, 'lime');
    live.push.setRemoteAudioVolume(red.id, 100);
    await untilAudible(url, 'red', 'lime');
  });

  it('follows each layout immediately, also outside of the frame', async () => {
    await mixOf(place(red.id, -160, -80, 320, 160), place(lime.id, 560, 260, 400, 400));
    await witness.shows([0, 0, RED], [140, 60, RED], [160, 60, GREY], [620, 340, LIME]);
    await mixOf(place(lime.id, -160, -80, 320, 160), place(red.id, 560, 260, 400, 400));
    await witness.shows([0, 0, LIME], [140, 60, LIME], [160, 60, GREY], [620, 340, RED]);
  });

  it('crops, fits and stretches', async () => {
    const [CYAN, MAGENTA] = [
      [0, 254, 254],
      [254, 0, 254],
    ];
    const half = (cropMode) =>
      mix({ cropMode, backgroundColor: BACKGROUND, mixStreams: [place('', 0, 0, 320, 360)] });
    // Of a frame of 640x360 the middle half, all of it between bars, all of it.
    await half(1);
    await witness.shows([60, 120, CYAN], [140, 120, LIME], [260, 120, MAGENTA], [320, 120, GREY]);
    await half(0);
    await witness.shows([60, 60, GREY], [60, 100, YELLOW], [60, 280, GREY], [320, 120, GREY]);
    await half(2);
    await witness.shows([60, 20, YELLOW], [60, 200, YELLOW], [320, 120, GREY]);
  });

  it('shows the background where a player has stopped, and the player again', async () => {
    await mixOf(place('', 0, 0, 320, 180), place(red.id, 320, 0, 320, 180));
    await witness.shows([60, 60, YELLOW], [400, 60, RED]);
    await red.stop();
    await witness.shows([60, 60, YELLOW], [400, 60, GREY]);
    await untilAudible(url, 'local');
    await red.play(server.url('red'));
    await witness.shows([60, 60, YELLOW], [400, 60, RED]);
    await untilAudible(url, 'local', 'red');
  });

  it('shows the background where a stream has ended, and the stream again', async () => {
    await mixOf(place('', 0, 0, 320, 180), place(red.id, 320, 0, 320, 180));
    await witness.shows([400, 60, RED]);
    await publishers.red.stop();
    await witness.shows([60, 60, YELLOW], [400, 60, GREY]);
    publishers.red = publish('red', 'red');
    await witness.shows([60, 60, YELLOW], [400, 60, RED]);
  });

  it('shows the background where a player has been destroyed, or the player of its URL', async () => {
    await mixOf(place(server.url('lime'), 0, 0, 320, 180), place(lime.id, 320, 0, 320, 180));
    await witness.shows([60, 60, LIME], [400, 60, LIME]);
    lime.close();
    await witness.shows([60, 60, GREY], [400, 60, GREY]);
    lime = openPlayer(live);
    await lime.play(server.url('lime'));
    await witness.shows([60, 60, LIME], [400, 60, GREY]);
  });

  it('shows the background for a player that has not started', async () => {
    const player = openPlayer(live);
    await mixOf(place(player.id, 0, 0, 320, 180), place(red.id, 320, 0, 320, 180));
    await witness.shows([60, 60, GREY], [400, 60, RED]);
    player.close();
  });

  it('keeps its pixels when the published size changes', async () => {
    await mixOf(place(red.id, 0, 0, 160, 90));
    await witness.shows([120, 60, RED], [200, 120, GREY]);
    const sizes = [];
    const described = live.next('onSendMessage');
    const smaller = new Promise((resolve) => {
      const watcher = watchDecodedFrames(url, ({ width, height }) => {
        const size = `${width}x${height}`;
        if (sizes.at(-1) !== size) sizes.push(size);
        if (sizes.length === 1) live.push.setResolution({ width: 320, height: 180 });
        if (size === '320x180') resolve(watcher.stop());
      });
    });
    await Promise.all([described, smaller]);
    assert.deepEqual(sizes, ['640x360', '320x180']);
    // Scaled up by the witness: 160 pixels of 640 became 160 of 320.
    await witness.shows([300, 160, RED], [340, 160, GREY]);
    live.push.setResolution({ width: 640, height: 360 });
    await witness.shows([120, 60, RED], [200, 120, GREY]);
  });

  it('refuses invalid layouts with an error, and keeps the current one', async () => {
    await mixOf(place(red.id, 0, 0, 320, 180));
    const many = Array.from({ length: 17 }, () => place('', 0, 0, 10, 10));
    for (const [mixStreams, code, reason] of [
      [[place('nobody', 0, 0, 10, 10)], -2005, /"nobody": no player/],
      [[place(server.url('nothing'), 0, 0, 10, 10)], -2005, /live\/…": no player/],
      [[place('', 0, 0, 0, 10)], -2002, /its size is 0x10/],
      [[place('', 0, 0, 10, -1)], -2002, /its size is 10x-1/],
      [[place('', 0, 0, 10, 10), place('local', 0, 0, 10, 10)], -2002, /placed twice/],
      [many, -2002, /17 streams/],
    ]) {
      const result = live.next(MIX_RESULT);
      assert.equal(live.push.setLiveMixTranscodingConfig({ mixStreams }), code);
      const { isSuccess, msg } = await result;
      assert.equal(isSuccess, false);
      assert.match(msg, reason);
    }
    const result = live.next(MIX_RESULT);
    assert.equal(live.push.setLiveMixTranscodingConfig({ cropMode: 3 }), -2002);
    assert.deepEqual(await result, { isSuccess: false, msg: 'the crop mode is 3, not 0 to 2' });
    await witness.shows([120, 60, RED], [400, 60, GREY]);
  });

  it("leaves the application's captured frames unchanged", async () => {
    await mixOf(place(red.id, 0, 0, 640, 360));
    await witness.shows([120, 120, RED]);
    const frame = await live.nextFrame(({ user_id: user }) => user === 'preview');
    assert.equal(frame.width, 640);
    const luma = frame.data_y[120 * (frame.data_y_len / 360) + 130];
    assert.ok(Math.abs(luma - 219) <= 4, `yellow, not red: ${luma}`);
  });

  it('ends with null', async () => {
    await mixOf(place(red.id, 0, 0, 640, 360));
    await witness.shows([120, 120, RED]);
    await mix(null);
    await witness.shows([120, 120, YELLOW]);
    await untilAudible(url, 'local');
  });
});

describe('a layout that is set while nothing is published', GUARD, () => {
  it('is kept for the next push, and the one after it', async (t) => {
    const server = await startRtmpServer();
    const live = openLivePush({ config: { mVideoEncodeGop: 1 } });
    t.after(async () => {
      live.close();
      await server.stop();
    });
    const result = live.next(MIX_RESULT);
    const mixStreams = [{ userId: 'local', x: 320, y: 180, width: 320, height: 180, zOrder: 0 }];
    live.push.setLiveMixTranscodingConfig({ backgroundColor: BACKGROUND, mixStreams });
    assert.equal((await result).isSuccess, true);
    for (const name of ['first', 'second']) {
      const flowing = live.next('onFirstFramePushed');
      live.push.startPush(server.url(name));
      await flowing;
      const witness = watch(server.url(name));
      await witness.shows([380, 240, YELLOW], [60, 60, GREY]);
      await witness.stop();
      const stopped = live.next('onPushStopped');
      live.push.stopPush();
      await stopped;
    }
  });
});
