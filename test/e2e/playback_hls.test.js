'use strict';

const assert = require('node:assert/strict');
const fs = require('node:fs');
const http = require('node:http');
const os = require('node:os');
const path = require('node:path');
const { after, afterEach, before, describe, it } = require('node:test');
const { runChild } = require('../../tools/rtmp/child');
const { openLivePush, pixel } = require('./support/live_push');
const { openPlayer } = require('./support/player');

const GUARD = { timeout: 90_000 };
const TIMED = 2; // LumoLivePlayMode
const RED = [63, 102, 240]; // in BT.709
const SECRET = 'token=s3cret';

const isRed = (frame) =>
  pixel(frame, 0.5, 0.5).every((value, index) => Math.abs(value - RED[index]) < 8);

/** Writes a playlist of three segments of a second. @param {string[]} options of the HLS muxer */
async function writePlaylist(file, options = []) {
  fs.mkdirSync(path.dirname(file), { recursive: true });
  await runChild(
    'ffmpeg',
    [
      ...['-v', 'error', '-nostdin', '-f', 'lavfi', '-i', 'color=red:size=320x180:rate=15'],
      ...['-f', 'lavfi', '-i', 'sine=sample_rate=48000', '-t', '3', '-g', '15'],
      ...['-c:v', 'libx264', '-preset', 'ultrafast', '-pix_fmt', 'yuv420p', '-c:a', 'aac'],
      ...['-f', 'hls', '-hls_time', '1', '-hls_playlist_type', 'vod', ...options, file],
    ],
    { deadlineSeconds: 60, cwd: path.dirname(file) },
  );
}

/** Serves a folder, with range requests; "/moved/x" redirects to "/x". Records the requests. */
function serveFolder(folder, asked) {
  return http.createServer((request, response) => {
    const { pathname, search } = new URL(request.url, 'http://host');
    asked.push(request);
    if (pathname.startsWith('/moved/')) {
      return response.writeHead(302, { Location: pathname.slice(6) + search }).end();
    }
    const file = path.join(folder, pathname);
    if (!fs.existsSync(file)) return response.writeHead(404).end();
    const bytes = fs.readFileSync(file);
    const [, from, to] = request.headers.range?.match(/bytes=(\d+)-(\d*)/) ?? [];
    if (from === undefined) return response.end(bytes);
    const end = to ? Number(to) + 1 : bytes.length;
    response.writeHead(206, { 'Content-Range': `bytes ${from}-${end - 1}/${bytes.length}` });
    return response.end(bytes.subarray(Number(from), end));
  });
}

describe('HLS plays', GUARD, () => {
  let folder;
  let web;
  let address;
  let live;
  let player;
  const asked = [];
  before(async () => {
    folder = fs.mkdtempSync(path.join(os.tmpdir(), 'playback-hls-'));
    web = serveFolder(folder, asked);
    await new Promise((resolve) => web.listen(0, '127.0.0.1', resolve));
    address = `127.0.0.1:${web.address().port}`;
    live = openLivePush();
    await writePlaylist(path.join(folder, 'plain/list.m3u8'));
  });
  afterEach(() => player?.close());
  after(() => {
    live.close();
    web.close();
    fs.rmSync(folder, { recursive: true });
  });

  /** Plays to the end; the video must be red. */
  async function expectRed(url) {
    asked.length = 0;
    player = openPlayer(live);
    const over = player.next('onPlayStopped');
    assert.ok(isRed(await player.play(url)), url);
    assert.equal(live.push.getPlayMode(player.id), TIMED);
    await over;
    assert.ok(!player.names().includes('onPlayError'));
  }

  it('with relative and absolute addresses, behind a redirect, with a user and parameters', async () => {
    const list = fs.readFileSync(path.join(folder, 'plain/list.m3u8'), 'utf8');
    const mixed = list
      .replace('list0.ts', `http://${address}/plain/list0.ts?${SECRET}`)
      .replace('list1.ts', '../plain/./list1.ts')
      .replace('list2.ts', '/moved/plain/list2.ts');
    fs.writeFileSync(path.join(folder, 'plain/mixed.m3u8'), mixed);
    await expectRed(`http://user:pass%20word@${address}/moved/plain/mixed.m3u8?${SECRET}`);
    const urls = asked.map(({ url }) => url);
    assert.deepEqual(urls, [
      `/moved/plain/mixed.m3u8?${SECRET}`,
      `/plain/mixed.m3u8?${SECRET}`,
      `/plain/list0.ts?${SECRET}`,
      '/plain/list1.ts',
      '/moved/plain/list2.ts',
      '/plain/list2.ts',
    ]);
    const authorization = `Basic ${Buffer.from('user:pass word').toString('base64')}`;
    assert.equal(asked[0].headers.authorization, authorization);
    assert.equal(asked[2].headers.authorization, undefined, 'the address has no user');
  });

  it('with a master playlist', async () => {
    const master = '#EXTM3U\n#EXT-X-STREAM-INF:BANDWIDTH=500000,CODECS="avc1.42c00d,mp4a.40.2"\n';
    fs.writeFileSync(path.join(folder, 'master.m3u8'), `${master}plain/list.m3u8\n`);
    await expectRed(`http://${address}/master.m3u8`);
  });

  it('with encrypted segments', async () => {
    const key = path.join(folder, 'crypt/key.bin');
    fs.mkdirSync(path.dirname(key));
    fs.writeFileSync(key, Buffer.alloc(16, 7));
    const info = path.join(folder, 'crypt/info');
    fs.writeFileSync(info, `key.bin\n${key}\n`);
    await writePlaylist(path.join(folder, 'crypt/list.m3u8'), ['-hls_key_info_file', info]);
    await expectRed(`http://${address}/crypt/list.m3u8`);
    assert.ok(asked.some(({ url }) => url === '/crypt/key.bin'));
  });

  it('with segments that are parts of one file', async () => {
    await writePlaylist(path.join(folder, 'parts/list.m3u8'), ['-hls_flags', 'single_file']);
    await expectRed(`http://${address}/parts/list.m3u8`);
    assert.ok(asked.some(({ headers }) => headers.range));
  });

  it('with fragmented MP4', async () => {
    await writePlaylist(path.join(folder, 'mp4/list.m3u8'), ['-hls_segment_type', 'fmp4']);
    await expectRed(`http://${address}/mp4/list.m3u8`);
    assert.ok(asked.some(({ url }) => url.endsWith('init.mp4')));
  });

  it('from files, in the playlist’s folder and below', async () => {
    const master = '#EXTM3U\n#EXT-X-STREAM-INF:BANDWIDTH=500000\nplain/list.m3u8\n';
    fs.writeFileSync(path.join(folder, 'local.m3u8'), master);
    await expectRed(path.join(folder, 'local.m3u8'));
    await expectRed(`file://${folder}/plain/list.m3u8`);
  });

  it('from files only what is in the playlist’s folder', async () => {
    const outside = fs.mkdtempSync(path.join(os.tmpdir(), 'playback-hls-outside-'));
    fs.copyFileSync(path.join(folder, 'plain/list0.ts'), path.join(outside, 'list0.ts'));
    fs.symlinkSync(path.join(outside, 'list0.ts'), path.join(folder, 'plain/link.ts'));
    const refused = [
      path.join(outside, 'list0.ts'),
      `file://${outside}/list0.ts`,
      `../../${path.basename(outside)}/list0.ts`,
      'link.ts',
      `http://${address}/plain/list0.ts`,
    ];
    for (const each of refused) {
      const file = path.join(folder, 'plain/refused.m3u8');
      fs.writeFileSync(file, `#EXTM3U\n#EXT-X-TARGETDURATION:1\n#EXTINF:1,\n${each}\n`);
      player = openPlayer(live);
      const error = await player.failureOf(file);
      assert.equal(error.code, -3202, each);
      assert.match(error.msg, /local playlist/);
      player.close();
    }
    fs.rmSync(outside, { recursive: true });
  });
});
