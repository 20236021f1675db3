'use strict';

const assert = require('node:assert/strict');
const dgram = require('node:dgram');
const fs = require('node:fs');
const http = require('node:http');
const https = require('node:https');
const net = require('node:net');
const os = require('node:os');
const path = require('node:path');
const tls = require('node:tls');
const { after, afterEach, before, describe, it } = require('node:test');
const { startChild } = require('../../tools/rtmp/child');
const { startTestPublisher, testStream, writeTestFile } = require('../../tools/rtmp/publisher');
const { freePort, startRtmpServer } = require('../../tools/rtmp/rtmp_server');
const { buildDirectory, isSanitized } = require('../js/support/build_directory');
const { makeCertificate } = require('./support/certificate');
const { openLivePush, pixel } = require('./support/live_push');
const { openPlayer } = require('./support/player');

const GUARD = { timeout: isSanitized ? 600_000 : 120_000 };
const RED_SOURCE = { source: 'color=red' };
const RED = [63, 102, 240]; // in BT.709
const LIVE = 1; // LumoLivePlayMode
const TIMED = 2;

const isRed = (frame) =>
  pixel(frame, 0.5, 0.5).every((value, index) => Math.abs(value - RED[index]) < 8);

/** Listens on a free port. @returns {Promise<number>} */
function listening(server) {
  return new Promise((resolve) => {
    server.listen(0, '127.0.0.1', () => resolve(server.address().port));
  });
}

/** A server that sends each client an FLV stream of its own, without an end or a length. */
const flvServer = () =>
  http.createServer((_request, response) => {
    const source = startChild('ffmpeg', [...testStream(RED_SOURCE), '-f', 'flv', 'pipe:1']);
    response.writeHead(200, { 'Content-Type': 'video/x-flv' });
    source.process.stdout.pipe(response);
    response.on('close', () => source.stop());
  });

/** A proxy of a UDP port that drops one of `every` datagrams on the way back. */
async function startLossyProxy(port, every) {
  const front = dgram.createSocket('udp4');
  const back = dgram.createSocket('udp4');
  let client;
  let count = 0;
  front.on('message', (data, from) => {
    client = from;
    back.send(data, port, '127.0.0.1');
  });
  back.on('message', (data) => {
    count += 1;
    if (count % every) front.send(data, client.port, client.address);
  });
  await new Promise((resolve) => front.bind(0, '127.0.0.1', resolve));
  const close = () => {
    for (const socket of [front, back]) socket.close();
  };
  return { port: front.address().port, close };
}

/** A TLS tunnel to a port. */
const tunnelTo = (port, identity) =>
  tls.createServer(identity, (socket) => {
    const inner = net.connect(port, '127.0.0.1');
    socket.pipe(inner).pipe(socket);
    for (const end of [socket, inner]) end.on('error', () => {});
  });

describe('playing over', GUARD, () => {
  let folder;
  let identity;
  let server;
  let live;
  let player;
  let source;
  const servers = [];
  before(async () => {
    folder = fs.mkdtempSync(path.join(os.tmpdir(), 'playback-protocols-'));
    identity = await makeCertificate(folder);
    const hls = 'live on; hls on; hls_path FILES; hls_fragment 1s;';
    server = await startRtmpServer({ applications: { live: 'live on;', hls } });
    const extra = { camera: 'test', microphone: 'test', trustedCertificates: identity.file };
    live = openLivePush({ extra });
  });
  afterEach(async () => {
    player?.close();
    await source?.stop();
    source = undefined;
  });
  after(async () => {
    live.close();
    for (const each of servers) each.close();
    await server.stop();
    fs.rmSync(folder, { recursive: true });
  });

  /** Plays `url`, which must show red at thirty frames per second, for three seconds. */
  async function expectRed(url, mode) {
    player = openPlayer(live);
    assert.ok(isRed(await player.play(url)), url);
    assert.equal(live.push.getPlayMode(player.id), mode);
    for (let inARow = 0; inARow < 3; ) {
      const figures = await player.next('onPlayerStatistics');
      const { renderFps } = figures;
      const right = renderFps > 24 && renderFps < 36 && figures.audioBitrate > 0;
      inARow = right ? inARow + 1 : 0;
      assert.deepEqual([figures.videoWidth, figures.videoHeight], [640, 360]);
    }
  }

  async function publishTo(url, name) {
    source = startTestPublisher(url, RED_SOURCE);
    while (!(await server.status(name)).publishing) {
      await new Promise((resolve) => setTimeout(resolve, 20));
    }
  }

  it('HTTP-FLV', async () => {
    const web = flvServer();
    servers.push(web);
    await expectRed(`http://127.0.0.1:${await listening(web)}/live.flv`, LIVE);
  });

  it('HLS', async () => {
    await publishTo(server.url('red', 'hls'), 'red');
    const list = path.join(server.filesFolder, 'red.m3u8');
    while (!fs.existsSync(list) || fs.readFileSync(list, 'utf8').split('#EXTINF').length < 4) {
      await new Promise((resolve) => setTimeout(resolve, 50));
    }
    await expectRed(server.fileUrl('red.m3u8'), TIMED);
  });

  it('HTTP, a file', async () => {
    await writeTestFile(path.join(server.filesFolder, 'red.mp4'), 8, RED_SOURCE);
    await expectRed(server.fileUrl('red.mp4'), TIMED);
    await writeTestFile(path.join(server.filesFolder, 'red.flv'), 8, RED_SOURCE);
    player.close();
    await expectRed(server.fileUrl('red.flv'), TIMED);
  });

  it('SRT', async () => {
    const port = await freePort();
    const url = `srt://127.0.0.1:${port}`;
    source = startTestPublisher(`${url}?mode=listener&pkt_size=1316`, {
      ...RED_SOURCE,
      format: 'mpegts',
    });
    await expectRed(url, LIVE);
  });

  it('SRT with packet loss, and reports the loss', async () => {
    const port = await freePort();
    const format = 'mpegts';
    const target = `srt://127.0.0.1:${port}?mode=listener&pkt_size=1316`;
    source = startTestPublisher(target, { ...RED_SOURCE, format });
    const proxy = await startLossyProxy(port, 10);
    try {
      player = openPlayer(live);
      await player.play(`srt://127.0.0.1:${proxy.port}`);
      const { lossRate } = await player.next('onPlayerStatistics', (seen) => seen.lossRate > 0);
      assert.ok(lossRate >= 3 && lossRate <= 30, `${lossRate} %`);
    } finally {
      proxy.close();
    }
  });

  it('RTSP', async () => {
    source = startChild(path.join(buildDirectory, 'e2e/rtsp_test_server'), []);
    const port = await new Promise((resolve) => {
      source.process.stdout.once('data', (text) => resolve(Number(text)));
    });
    await expectRed(`rtsp://127.0.0.1:${port}/red`, LIVE);
    player.close();
    player = openPlayer(live);
    const missing = await player.failureOf(`rtsp://127.0.0.1:${port}/missing`);
    assert.equal(missing.code, -3201);
  });

  it('RTMPS, with a certificate that is trusted', async () => {
    await publishTo(server.url('red'), 'red');
    const tunnel = tunnelTo(server.rtmpPort, identity);
    servers.push(tunnel);
    await expectRed(`rtmps://127.0.0.1:${await listening(tunnel)}/live/red`, LIVE);
  });

  it('HTTPS, with a certificate that is trusted', async () => {
    await writeTestFile(path.join(folder, 'red.mp4'), 8, RED_SOURCE);
    const file = fs.readFileSync(path.join(folder, 'red.mp4'));
    const web = https.createServer(identity, (_request, response) => response.end(file));
    servers.push(web);
    await expectRed(`https://127.0.0.1:${await listening(web)}/red.mp4`, TIMED);
  });
});
