'use strict';

// A guest's stream flashes and beeps simultaneously once a second; the published mix keeps the two
// in sync.

const assert = require('node:assert/strict');
const fs = require('node:fs');
const os = require('node:os');
const path = require('node:path');
const { after, before, describe, it } = require('node:test');
const { runChild, startChild } = require('../../tools/rtmp/child');
const { startRtmpServer } = require('../../tools/rtmp/rtmp_server');
const { openLivePush } = require('./support/live_push');
const { openPlayer } = require('./support/player');

const FPS = 30;
const RATE = 48_000;
const RECORDED_SECONDS = 10;
const FLASH = `color=black:size=320x180:rate=${FPS},drawbox=color=white:t=fill:enable='lt(mod(n,${FPS}),2)'`;
const BEEP = `aevalsrc='if(lt(mod(t,1),0.1),0.5*sin(2*PI*1000*t),0)':sample_rate=${RATE}`;

/** Publishes flashes and beeps until it is stopped. */
function startGuest(url) {
  return startChild('ffmpeg', [
    ...['-v', 'error', '-nostdin', '-re', '-f', 'lavfi', '-i', FLASH],
    ...['-re', '-f', 'lavfi', '-i', BEEP, '-c:v', 'libx264', '-preset', 'veryfast'],
    ...['-g', String(FPS), '-pix_fmt', 'yuv420p', '-c:a', 'aac', '-f', 'flv', url],
  ]);
}

/** @returns {Promise<number[]>} seconds at which the recording turns white */
async function flashesOf(file) {
  const probe = ['-f', 'lavfi', '-of', 'csv=p=0', '-v', 'error', '-show_entries'];
  const entries = 'frame=pts_time:frame_tags=lavfi.signalstats.YAVG';
  const source = `movie=${file},signalstats`;
  const lines = String(
    await runChild('ffprobe', [...probe, entries, source], { deadlineSeconds: 60 }),
  );
  const frames = lines
    .trim()
    .split('\n')
    .map((line) => line.split(',').map(Number));
  return frames
    .filter(([, luma], index) => luma > 128 && index > 0 && frames[index - 1][1] <= 128)
    .map(([time]) => time);
}

/**
 * @returns {Promise<number[]>} seconds at which beeps start in the recording
 */
async function beepsOf(file) {
  const filter = ['-af', 'aresample=async=1:first_pts=0', '-f', 's16le', '-ac', '1'];
  const raw = await runChild(
    'ffmpeg',
    ['-v', 'error', '-i', file, '-vn', ...filter, '-ar', String(RATE), 'pipe:1'],
    { deadlineSeconds: 60 },
  );
  const beeps = [];
  let quietSince = -RATE;
  for (let i = 0; i < raw.length / 2; i += 1) {
    if (Math.abs(raw.readInt16LE(i * 2)) < 2000) continue;
    if (i - quietSince > RATE / 5 && quietSince >= 0) beeps.push(i / RATE);
    quietSince = i;
  }
  return beeps;
}

describe('a guest in a live mix', { timeout: 120_000 }, () => {
  let folder;
  let server;
  let guest;
  let live;
  let player;
  before(async () => {
    folder = fs.mkdtempSync(path.join(os.tmpdir(), 'live-mix-sync-'));
    server = await startRtmpServer();
    guest = startGuest(server.url('guest'));
    live = openLivePush();
    player = openPlayer(live);
  });
  after(async () => {
    player.close();
    live.close();
    await guest.stop();
    await server.stop();
    fs.rmSync(folder, { recursive: true });
  });

  it('stays in sync with its own audio', async () => {
    await player.play(server.url('guest'));
    const flowing = live.next('onFirstFramePushed');
    live.push.startPush(server.url('mix'));
    const whole = { userId: player.id, x: 0, y: 0, width: 640, height: 360, zOrder: 0 };
    live.push.setLiveMixTranscodingConfig({ mixStreams: [whole] });
    await flowing;

    const file = path.join(folder, 'mix.mkv');
    const length = String(RECORDED_SECONDS);
    const record = ['-v', 'error', '-i', server.url('mix'), '-t', length, '-c', 'copy', file];
    await runChild('ffmpeg', record, { deadlineSeconds: 60 });
    const [flashes, beeps] = await Promise.all([flashesOf(file), beepsOf(file)]);

    const offsets = flashes
      .map((flash) => beeps.map((beep) => (beep - flash) * 1000).find((ms) => Math.abs(ms) < 400))
      .filter((ms) => ms !== undefined)
      .sort((a, b) => a - b);
    assert.ok(offsets.length >= RECORDED_SECONDS / 2, `${offsets.length} flashes with a beep`);
    // A tick of the mix shows the newest frame, which is up to a frame old.
    const median = offsets[Math.floor(offsets.length / 2)];
    assert.ok(Math.abs(median) <= 1000 / FPS, `audio is ${median.toFixed(1)} ms late: ${offsets}`);
  });
});
