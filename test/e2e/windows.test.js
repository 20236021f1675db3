'use strict';

const assert = require('node:assert/strict');
const { endianness } = require('node:os');
const { after, afterEach, before, describe, it } = require('node:test');
const { setTimeout: sleep } = require('node:timers/promises');
const { runChild } = require('../../tools/rtmp/child');
const { startTestPublisher } = require('../../tools/rtmp/publisher');
const { startRtmpServer } = require('../../tools/rtmp/rtmp_server');
const { openLivePush, pixel } = require('./support/live_push');
const { openPlayer } = require('./support/player');
const { fieldMeans, startDisplay } = require('./support/x_display');

const GUARD = { timeout: 60_000 };
const SCREEN = { width: 640, height: 360 };
const COLUMNS = 8;
const ROWS = 2;
const VIEW_LOST = -3103;

/** The window's identifier as an application passes it: the bytes of a native handle. */
function handleOf(window) {
  const handle = Buffer.alloc(4);
  handle[`writeUInt32${endianness()}`](window);
  return handle;
}

const furthest = (a, b) => Math.max(...a.map((value, index) => Math.abs(value - b[index])));

/** Fields of the upper half: the lower one has colours outside the screen's gamut. */
const fieldsOf = (frame) => fieldMeans(frame, COLUMNS, 2 * ROWS).slice(0, COLUMNS * ROWS * 3);

/** The fields of a frame with those of each row in reverse order. */
function mirrored(means) {
  const fields = Array.from({ length: COLUMNS * ROWS }, (_field, index) =>
    means.slice(index * 3, index * 3 + 3),
  );
  return fields.flatMap((_field, index) => {
    const column = index % COLUMNS;
    return fields[index - column + (COLUMNS - 1 - column)];
  });
}

describe('video in a window', GUARD, () => {
  let server;
  let display;
  let live;
  before(async () => {
    server = await startRtmpServer();
    display = await startDisplay(SCREEN);
  });
  afterEach(() => live?.close());
  after(async () => {
    await display.stop();
    await server.stop();
  });

  /** A program's window that covers the screen: the one inside of its frame, on which it draws. */
  async function openWindow() {
    const geometry = `${SCREEN.width}x${SCREEN.height}+0+0`;
    const program = display.open('xlogo', ['-title', 'canvas', '-geometry', geometry, '-bw', '0']);
    const query = ['-children', '-name', 'canvas'];
    for (;;) {
      const answer = runChild('xwininfo', query, { deadlineSeconds: 10 });
      const tree = String(await answer.catch(() => '')); // not there yet
      const [, inner] = tree.match(/child:\n +(0x[0-9a-f]+)/) ?? [];
      if (inner) return { id: Number(inner), close: () => program.stop() };
      await sleep(20);
    }
  }

  /** Polls the screen until its fields are within the coding's error of `expected`. */
  async function screenShows(expected) {
    let seen;
    do {
      seen = fieldsOf(await display.screenshot(SCREEN));
    } while (furthest(seen, expected) > 20);
  }

  it('the preview is drawn into its window, and a closed window is reported', async () => {
    live = openLivePush({ config: SCREEN });
    const window = await openWindow();
    const view = { view: handleOf(window.id), ...SCREEN };
    assert.equal(live.push.startPreviewAsync(view), 0);
    const frame = await live.nextFrame((each) => pixel(each, 0.07, 0.4)[0] > 225);
    await screenShows(fieldsOf(frame));
    const reported = live.next('onSystemError');
    await window.close();
    assert.equal((await reported).code, VIEW_LOST);
    await live.nextFrame(); // capture continues
  });

  it('a player draws into its window, mirrored on request', async () => {
    live = openLivePush();
    const publisher = startTestPublisher(server.url('view'), { source: 'smptebars' });
    while (!(await server.status('view')).publishing) await sleep(50);
    const window = await openWindow();
    const player = openPlayer(live, { isMirror: true });
    const drawn = player.next('onFirstRemoteVideoFrameDrawn');
    const frame = await player.play(server.url('view'));
    const size = { width: SCREEN.width, height: SCREEN.height };
    assert.equal(live.push.setPlayView(player.id, { view: handleOf(window.id), ...size }), 0);
    await drawn;
    await screenShows(mirrored(fieldsOf(frame)));
    player.close();
    await publisher.stop();
    await window.close();
  });
});
