'use strict';

// No password, stream key or token leaves the engine, whatever fails and wherever the text comes
// from: not in the log at its lowest level, not in an event, not in a thread's name.

const assert = require('node:assert/strict');
const fs = require('node:fs');
const http = require('node:http');
const net = require('node:net');
const os = require('node:os');
const path = require('node:path');
const { after, before, describe, it } = require('node:test');
const { freePort, startRtmpServer } = require('../../tools/rtmp/rtmp_server');
const { openLivePush } = require('./support/live_push');
const { openPlayer } = require('./support/player');

const GUARD = { timeout: 90_000 };
const SECRET = /hidden\d/;
const USER = 'hidden1:hidden2';
const QUERY = 'token=hidden3&hidden4';

function listening(server) {
  return new Promise((resolve) => {
    server.listen(0, '127.0.0.1', () => resolve(server.address().port));
  });
}

const threadNames = () =>
  fs.readdirSync('/proc/self/task').map((id) => {
    try {
      return fs.readFileSync(`/proc/self/task/${id}/comm`, 'utf8').trim();
    } catch {
      return ''; // it has ended
    }
  });

describe('secrets of an address', GUARD, () => {
  let folder;
  let live;
  let rtmp;
  let web;
  let rtsp;
  let webPort;
  let rtspPort;
  const names = new Set();
  const players = [];
  const log = () => fs.readFileSync(path.join(folder, 'nimbo_sdk.log'), 'utf8');
  const noteThreads = () => {
    for (const name of threadNames()) names.add(name);
  };

  before(async () => {
    folder = fs.mkdtempSync(path.join(os.tmpdir(), 'secrets-'));
    rtmp = await startRtmpServer({
      applications: { live: 'live on;', closed: 'live on; deny publish all; deny play all;' },
    });
    web = http.createServer((request, response) => {
      noteThreads();
      const status = Number(/^\/(\d+)\//.exec(request.url)?.[1] ?? 403);
      response.statusCode = status;
      if (status !== 200) return response.end('no');
      const segment = `segments/hidden5/hidden6.ts?${QUERY}`;
      response.setHeader('Content-Type', 'application/vnd.apple.mpegurl');
      response.end(`#EXTM3U\n#EXT-X-TARGETDURATION:1\n#EXTINF:1,\n${segment}\n#EXT-X-ENDLIST\n`);
    });
    webPort = await listening(web);
    rtsp = net.createServer((socket) => {
      socket.on('error', () => {});
      socket.on('data', (data) => {
        const number = /CSeq: *(\d+)/i.exec(data)?.[1] ?? 1;
        socket.write(`RTSP/1.0 404 Not Found\r\nCSeq: ${number}\r\n\r\n`);
      });
    });
    rtspPort = await listening(rtsp);
    live = openLivePush();
    live.push.setLogLevel(0);
    assert.equal(live.push.setLogDirPath(folder), 0);
  });
  after(async () => {
    for (const player of players) player.close();
    live.close();
    web.close();
    rtsp.close();
    await rtmp.stop();
    fs.rmSync(folder, { recursive: true });
  });

  async function failureOf(url) {
    const player = openPlayer(live);
    players.push(player);
    const { msg } = await player.failureOf(url);
    assert.ok(msg.length > 0);
    assert.doesNotMatch(msg, SECRET);
    return msg;
  }

  for (const status of [401, 403, 404, 500]) {
    it(`HTTP ${status}`, () =>
      failureOf(`http://${USER}@127.0.0.1:${webPort}/${status}/hidden8.flv?${QUERY}`));
  }

  it('a segment of a playlist', () =>
    failureOf(`http://${USER}@127.0.0.1:${webPort}/200/hidden8.m3u8?${QUERY}`));

  it('RTSP', () => failureOf(`rtsp://${USER}@127.0.0.1:${rtspPort}/live/hidden8?${QUERY}`));

  it('SRT', async () => {
    const port = await freePort();
    await failureOf(`srt://127.0.0.1:${port}?streamid=hidden1&passphrase=hidden2-hidden3`);
  });

  it('RTMP, denied', () =>
    failureOf(`rtmp://${USER}@127.0.0.1:${rtmp.rtmpPort}/closed/hidden8?${QUERY}`));

  it('RTMP, an unknown application', async () => {
    const failed = live.next('onSDKError');
    const url = `rtmp://${USER}@127.0.0.1:${rtmp.rtmpPort}/unknown/hidden8?${QUERY}`;
    assert.equal(live.push.startPush(url), 0);
    assert.doesNotMatch((await failed).msg, SECRET);
  });

  it('an address that cannot be read', () => {
    const before = log().length;
    assert.notEqual(live.push.startPush('rtmp://hidden1:hidden2/live/x'), 0);
    assert.match(log().slice(before), /cannot publish/);
  });

  it('a user of a mix', async () => {
    const answered = live.next('onSetLiveMixTranscodingConfig');
    const userId = `rtmp://${USER}@127.0.0.1/live/hidden8`;
    const place = { x: 0, y: 0, width: 64, height: 64, zOrder: 0 };
    live.push.setLiveMixTranscodingConfig({ mixStreams: [{ userId, ...place }] });
    const { error } = await answered;
    assert.doesNotMatch(JSON.stringify(await answered), SECRET, error);
  });

  it('none of them is in the log, in an event or in the name of a thread', () => {
    noteThreads();
    assert.ok(names.has('nimbo-players') && names.size > 5, 'threads were seen');
    assert.doesNotMatch([...names].join(), SECRET);
    assert.doesNotMatch(JSON.stringify(live.events), SECRET);
    const lines = log();
    assert.match(lines, /pipeline player: \S+ failed/);
    const leaked = lines.split('\n').filter((line) => SECRET.test(line));
    assert.deepEqual(leaked, []);
  });
});
