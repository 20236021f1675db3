'use strict';

const assert = require('node:assert/strict');
const fs = require('node:fs');
const http = require('node:http');
const https = require('node:https');
const net = require('node:net');
const os = require('node:os');
const path = require('node:path');
const tls = require('node:tls');
const { after, before, describe, it } = require('node:test');
const { runChild, startChild } = require('../../tools/rtmp/child');
const { startTestPublisher } = require('../../tools/rtmp/publisher');
const { freePort, startRtmpServer } = require('../../tools/rtmp/rtmp_server');
const { makeCertificate } = require('./support/certificate');
const { openLivePush } = require('./support/live_push');
const { openPlayer } = require('./support/player');

// An unresponsive name server is queried once more, not for as long as a player tries.
process.env.RES_OPTIONS = 'timeout:1 attempts:2';

const GUARD = { timeout: 90_000, concurrency: 3 };

// See LumoLiveErrorCode in the SDK's LumoLiveResult.h.
const CODE = {
  hostNotFound: -3001,
  refused: -3002,
  timeout: -3003,
  lost: -3006,
  componentMissing: -3104,
  streamNotFound: -3201,
  rejected: -3202,
  undecodable: -3203,
  untrusted: -3204,
};

/** Listens on a free port. @returns {Promise<number>} */
function listening(server) {
  return new Promise((resolve) => {
    server.listen(0, '127.0.0.1', () => resolve(server.address().port));
  });
}

// Several tests wait ten seconds for nothing to happen, so some run concurrently. Together they
// stay below sixteen players.
describe('failed playback is reported with its error code', GUARD, () => {
  let folder;
  let server;
  let live;
  const open = [];
  before(async () => {
    folder = fs.mkdtempSync(path.join(os.tmpdir(), 'playback-failures-'));
    server = await startRtmpServer({
      applications: { live: 'live on;', closed: 'live on; deny play all;' },
    });
    live = openLivePush();
  });
  after(async () => {
    live.close();
    for (const each of open) each.close();
    await server.stop();
    fs.rmSync(folder, { recursive: true });
  });

  async function failureOf(url) {
    const player = openPlayer(live);
    try {
      const error = await player.failureOf(url);
      assert.notEqual(error.msg, '');
      assert.deepEqual(player.names(), ['onPlayError'], url);
      return error.code;
    } finally {
      player.close();
    }
  }

  async function expectCode(expected, urls) {
    const codes = await Promise.all(urls.map(failureOf));
    assert.deepEqual(
      Object.fromEntries(urls.map((url, index) => [url, codes[index]])),
      Object.fromEntries(urls.map((url) => [url, expected])),
    );
  }

  const urlsOf = (host, port) => [
    `rtmp://${host}:${port}/live/s`,
    `http://${host}:${port}/s.flv`,
    `rtsp://${host}:${port}/s`,
  ];

  it('the host does not exist', () =>
    expectCode(CODE.hostNotFound, [
      ...urlsOf('nowhere.invalid', 5000),
      'srt://nowhere.invalid:5000',
      'https://nowhere.invalid/s.m3u8',
    ]));

  it('no server listens', async () =>
    expectCode(CODE.refused, urlsOf('127.0.0.1', await freePort())));

  it('the server sends nothing', async () => {
    const silent = net.createServer(() => {});
    open.push(silent);
    const port = await listening(silent);
    await expectCode(CODE.timeout, [
      ...urlsOf('127.0.0.1', port),
      `srt://127.0.0.1:${await freePort()}`,
    ]);
  });

  it('there is no such stream or file', async () => {
    const web = http.createServer((_request, response) => response.writeHead(404).end());
    open.push(web);
    await expectCode(CODE.streamNotFound, [
      server.url('missing'),
      `http://127.0.0.1:${await listening(web)}/missing.m3u8`,
      path.join(folder, 'missing.mp4'),
    ]);
  });

  it('the server or the system refuses', async () => {
    const web = http.createServer((request, response) => {
      response.writeHead(Number(request.url.slice(1))).end();
    });
    open.push(web);
    const port = await listening(web);
    await expectCode(CODE.rejected, [
      `http://127.0.0.1:${port}/403`,
      `http://127.0.0.1:${port}/500`,
      server.url('s', 'closed'),
      folder,
    ]);
  });

  it('the data are not media', async () => {
    const text = path.join(folder, 'notes.mp4');
    fs.writeFileSync(text, 'This is not video.\n'.repeat(1000));
    const noise = path.join(folder, 'noise.mp4');
    fs.writeFileSync(noise, Buffer.alloc(100_000, 0x5a));
    const web = http.createServer((_request, response) => response.end('not video'.repeat(500)));
    open.push(web);
    const url = `http://127.0.0.1:${await listening(web)}/page.html`;
    await expectCode(CODE.undecodable, [text, noise, url]);
  });

  it('the certificate is not trusted', async () => {
    const identity = await makeCertificate(folder);
    const web = https.createServer(identity, (_request, response) => response.end());
    const tunnel = tls.createServer(identity, (socket) => {
      const inner = net.connect(server.rtmpPort, '127.0.0.1');
      socket.pipe(inner).pipe(socket);
      for (const end of [socket, inner]) end.on('error', () => {});
    });
    open.push(web, tunnel);
    await expectCode(CODE.untrusted, [
      `https://127.0.0.1:${await listening(web)}/s.m3u8`,
      `rtmps://127.0.0.1:${await listening(tunnel)}/live/s`,
    ]);
  });

  it('a component is not installed: the error and the log name its package', async () => {
    const plugins = path.join(folder, 'plugins');
    fs.mkdirSync(plugins);
    const query = ['--variable=pluginsdir', 'gstreamer-1.0'];
    const installed = String(await runChild('pkg-config', query, { deadlineSeconds: 10 })).trim();
    for (const file of fs.readdirSync(installed)) {
      if (file !== 'libgstsrt.so') {
        fs.symlinkSync(path.join(installed, file), path.join(plugins, file));
      }
    }
    const child = startChild('env', [
      `LD_PRELOAD=${process.env.LD_PRELOAD ?? ''}`, // this one is no foreign program
      `GST_PLUGIN_SYSTEM_PATH_1_0=${plugins}`,
      `GST_REGISTRY_1_0=${path.join(folder, 'registry')}`,
      process.execPath,
      ...[path.join(__dirname, 'support/print_play_error.js'), 'srt://127.0.0.1:1'],
    ]);
    let printed = '';
    child.process.stdout.setEncoding('utf8').on('data', (text) => {
      printed += text;
    });
    const log = await child.ended;
    const error = JSON.parse(printed);
    assert.equal(error.code, CODE.componentMissing);
    assert.match(error.msg, /srtsrc \(package gstreamer1\.0-plugins-bad\)/);
    assert.match(log, /srtsrc is missing; Debian package gstreamer1\.0-plugins-bad/);
  });

  it('a frozen server blocks neither a stop nor other players', async () => {
    const frozen = await startRtmpServer();
    const publishers = [frozen, server].map((each) => startTestPublisher(each.url('steady')));
    const [held, free] = [openPlayer(live), openPlayer(live)];
    await Promise.all([held.play(frozen.url('steady')), free.play(server.url('steady'))]);
    frozen.freeze();
    const stopped = held.stop();
    const began = performance.now();
    await stopped;
    assert.ok(performance.now() - began < 1000);
    await free.nextFrame();
    held.close();
    free.close();
    frozen.thaw();
    for (const publisher of publishers) await publisher.stop();
    await frozen.stop();
  });

  it('the stream is lost and does not return', async () => {
    const dying = await startRtmpServer();
    const publisher = startTestPublisher(dying.url());
    const player = openPlayer(live);
    await player.play(dying.url());
    const lost = player.next('onPlayError');
    await dying.kill();
    assert.equal((await lost).code, CODE.lost);
    await publisher.stop();
    player.close();
  });
});
