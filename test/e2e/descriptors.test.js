'use strict';

// No file, socket or other descriptor of the engine's, or of the libraries that it uses, reaches the
// programs that the application starts.

const assert = require('node:assert/strict');
const { spawnSync } = require('node:child_process');
const fs = require('node:fs');
const http = require('node:http');
const { endianness } = require('node:os');
const os = require('node:os');
const path = require('node:path');
const { after, before, describe, it } = require('node:test');
const { setTimeout: sleep } = require('node:timers/promises');
const { runChild, startChild } = require('../../tools/rtmp/child');
const { startTestPublisher, testStream, writeTestFile } = require('../../tools/rtmp/publisher');
const { freePort, startRtmpServer } = require('../../tools/rtmp/rtmp_server');
const { buildDirectory } = require('../js/support/build_directory');
const { openLivePush } = require('./support/live_push');
const { openPlayer } = require('./support/player');
const { startSoundServer } = require('./support/sound_server');
const { startDisplay } = require('./support/x_display');

const GUARD = { timeout: 120_000 };
const CLOSE_ON_EXEC = 0o2000000;
const SOURCE = { source: 'color=red' };

/** This process's descriptors: number, target, whether a child inherits it. */
function descriptors() {
  return fs.readdirSync('/proc/self/fd').flatMap((number) => {
    try {
      const target = fs.readlinkSync(`/proc/self/fd/${number}`);
      const [, flags] = /flags:\s+(\d+)/.exec(fs.readFileSync(`/proc/self/fdinfo/${number}`));
      return [{ number, target, inherited: (Number.parseInt(flags, 8) & CLOSE_ON_EXEC) === 0 }];
    } catch {
      return []; // closed meanwhile: that of the folder itself
    }
  });
}

const inherited = () => descriptors().filter((each) => each.inherited);
const described = (list) => list.map(({ number, target }) => `${number} ${target}`);

/** The open descriptors of a program that this process starts. */
function ofAChild() {
  const script = 'for fd in /proc/self/fd/*; do readlink $fd; done';
  const stdio = ['ignore', 'pipe', 'ignore'];
  return spawnSync('sh', ['-c', script], { stdio, encoding: 'utf8' }).stdout.trim().split('\n');
}

describe('descriptors', GUARD, () => {
  let folder;
  let atFirst;
  let childAtFirst;
  const stops = [];
  before(() => {
    folder = fs.mkdtempSync(path.join(os.tmpdir(), 'descriptors-'));
    atFirst = described(inherited());
    childAtFirst = ofAChild().length;
  });
  after(async () => {
    for (const stop of stops.reverse()) await stop();
    fs.rmSync(folder, { recursive: true });
  });

  async function window(display) {
    display.open('xlogo', ['-title', 'canvas', '-geometry', '320x180+0+0']);
    for (;;) {
      const query = runChild('xwininfo', ['-children', '-name', 'canvas'], { deadlineSeconds: 10 });
      const [, inner] = String(await query.catch(() => '')).match(/child:\n +(0x[0-9a-f]+)/) ?? [];
      if (!inner) {
        await sleep(20);
        continue;
      }
      const handle = Buffer.alloc(4);
      handle[`writeUInt32${endianness()}`](Number(inner));
      return handle;
    }
  }

  it('of everything at once are not inherited by a child', async () => {
    const soundServer = await startSoundServer();
    stops.push(() => soundServer.stop());
    process.env.PULSE_SERVER = soundServer.address;
    const display = await startDisplay();
    stops.push(() => display.stop());
    const hls = 'live on; hls on; hls_path FILES; hls_fragment 1s;';
    const server = await startRtmpServer({ applications: { live: 'live on;', hls } });
    stops.push(() => server.stop());
    const rtsp = startChild(path.join(buildDirectory, 'e2e/rtsp_test_server'), []);
    stops.push(() => rtsp.stop());
    const [rtspPort] = await new Promise((resolve) => {
      rtsp.process.stdout.once('data', (text) => resolve([Number(text)]));
    });
    const srt = `srt://127.0.0.1:${await freePort()}`;
    const srtUrl = `${srt}?mode=listener&pkt_size=1316`;
    const publishers = [
      startTestPublisher(srtUrl, { ...SOURCE, format: 'mpegts' }),
      startTestPublisher(server.url('red', 'hls'), SOURCE),
    ];
    for (const each of publishers) stops.push(() => each.stop());
    const web = http.createServer((_request, response) => {
      const source = startChild('ffmpeg', [...testStream(SOURCE), '-f', 'flv', 'pipe:1']);
      response.writeHead(200, { 'Content-Type': 'video/x-flv' });
      source.process.stdout.pipe(response);
      response.on('close', () => source.stop());
    });
    await new Promise((resolve) => web.listen(0, '127.0.0.1', resolve));
    stops.push(() => web.close());
    const file = path.join(folder, 'red.mp4');
    await writeTestFile(file, 20, SOURCE);
    const list = path.join(server.filesFolder, 'red.m3u8');
    while (!fs.existsSync(list)) await sleep(50);

    const live = openLivePush();
    stops.push(() => live.close());
    assert.equal(live.push.setLogDirPath(folder), 0);
    const view = await window(display);
    const previewed = live.next('onPreviewStarted');
    live.push.startPreview({ view, width: 320, height: 180 });
    await previewed;
    const started = live.next('onFirstFramePushed');
    live.push.startPush(server.url());
    await started;
    live.push.startScreenShareByDesktopId(await live.sourceNamed(/^Screen /));
    const urls = [
      ...[server.url(), `http://127.0.0.1:${web.address().port}/live.flv`, srt, file],
      ...[`rtsp://127.0.0.1:${rtspPort}/red`, server.fileUrl('red.m3u8')],
    ];
    for (const url of urls) {
      const player = openPlayer(live);
      stops.push(() => player.close());
      await player.play(url);
    }

    assert.ok(descriptors().length > 40, 'there are many');
    assert.deepEqual(
      described(inherited()).filter((each) => !atFirst.includes(each)),
      [],
    );
    assert.equal(ofAChild().length, childAtFirst);
  });
});
