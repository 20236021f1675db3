'use strict';

// The server side of the end-to-end tests is checked with an FFmpeg publisher, so that failures of
// the other tests are those of the SDK.

const assert = require('node:assert/strict');
const fs = require('node:fs');
const { after, before, describe, it } = require('node:test');
const { setTimeout: sleep } = require('node:timers/promises');
const { startTestPublisher } = require('../../tools/rtmp/publisher');
const { startRtmpServer } = require('../../tools/rtmp/rtmp_server');
const { frameColours, probeStream, saveImage, watchPackets } = require('../../tools/rtmp/witness');

const GUARD = { timeout: 60_000 };

async function isPublished(server, stream) {
  while (!(await server.status(stream)).publishing) await sleep(20);
}

function isAlive(pid) {
  try {
    process.kill(pid, 0);
    return true;
  } catch {
    return false;
  }
}

describe('the RTMP server and the witness', GUARD, () => {
  let server;
  let publisher;
  before(async () => {
    server = await startRtmpServer();
    publisher = startTestPublisher(server.url(), { width: 320, height: 180, frameRate: 25 });
    await isPublished(server);
  });
  after(async () => {
    await publisher.stop();
    await server.stop();
  });

  it('receive the published stream', async () => {
    const { video, audio } = await probeStream(server.url(), 2);
    assert.deepEqual([video.codec, video.width, video.height], ['h264', 320, 180]);
    assert.ok(Math.abs(video.fps - 25) < 0.5, `${video.fps} frames per second`);
    assert.ok(Math.abs(video.keyFrameSeconds - 1) < 0.1, `a key frame in ${video.keyFrameSeconds}`);
    assert.ok(video.longestGapSeconds < 0.1, `a gap of ${video.longestGapSeconds} s`);
    assert.ok(video.bitrate > 50, `${video.bitrate} kbit/s`);
    assert.deepEqual([audio.codec, audio.sampleRate, audio.channels], ['aac', 48000, 1]);
  });

  it('count bytes and players', async () => {
    const first = await server.status();
    assert.deepEqual([first.width, first.height, first.frameRate], [320, 180, 25]);
    const watcher = watchPackets(server.url(), () => {});
    while ((await server.status()).clients < 2) await sleep(20);
    await watcher.stop();
    const second = await server.status();
    assert.ok(first.bytesIn > 0);
    assert.ok(second.bytesIn > first.bytesIn);
  });

  it('pass on every frame, in order', async () => {
    const times = [];
    let enough;
    const counted = new Promise((resolve) => {
      enough = resolve;
    });
    const watcher = watchPackets(server.url(), (time) => {
      if (times.push(time) === 30) enough();
    });
    await counted;
    await watcher.stop();
    for (const [index, time] of times.entries()) {
      assert.ok(Math.abs(time - times[0] - index / 25) < 0.002, `frame ${index} at ${time}`);
    }
  });

  it('show the video', async () => {
    // Six full colours side by side; the moving foreground changes the means a little.
    const expected = [
      [255, 0, 0],
      [0, 255, 0],
      [255, 255, 0],
      [0, 0, 255],
      [255, 0, 255],
      [0, 255, 255],
    ];
    const [colours] = await frameColours(server.url(), 6, 1);
    for (const [column, colour] of colours.entries()) {
      for (const [channel, value] of colour.entries()) {
        const difference = Math.abs(value - expected[column][channel]);
        assert.ok(difference < 90, `column ${column}: ${colour}`);
      }
    }
  });

  it('save a frame', async (t) => {
    const file = `${fs.mkdtempSync('/tmp/witness-')}/frame.png`;
    t.after(() => fs.rmSync(file.replace('/frame.png', ''), { recursive: true }));
    await saveImage(server.url(), file);
    assert.equal((await frameColours(file, 2, 1))[0].length, 2);
  });
});

describe('the RTMP server', GUARD, () => {
  it('leaks nothing, and can restart on its port', async () => {
    const server = await startRtmpServer();
    const { pid, rtmpPort } = server;
    assert.ok(isAlive(pid));
    await server.stop();
    await server.stop();
    assert.ok(!isAlive(pid));

    const again = await startRtmpServer({ rtmpPort });
    assert.equal(again.url('a', 'b'), `rtmp://127.0.0.1:${rtmpPort}/b/a`);
    await again.kill();
    assert.ok(!isAlive(again.pid));
  });

  it('keeps its publisher through a freeze and loses it with its end', async () => {
    const server = await startRtmpServer();
    const publisher = startTestPublisher(server.url('x'), { width: 320, height: 180 });
    await isPublished(server, 'x');
    server.freeze();
    await assert.rejects(server.status('x'));
    server.thaw();
    assert.equal((await server.status('x')).publishing, true);
    await server.kill();
    assert.match(await publisher.ended, /ffmpeg: exit code/);
  });

  it('serves the configured applications', async () => {
    const server = await startRtmpServer({
      applications: { closed: 'live on; deny publish all;' },
    });
    for (const application of ['closed', 'live']) {
      const publisher = startTestPublisher(server.url('x', application));
      assert.match(await publisher.ended, /ffmpeg: exit code/);
    }
    const { publishing, bytesIn, clients } = await server.status('x');
    assert.deepEqual(
      { publishing, bytesIn, clients },
      { publishing: false, bytesIn: 0, clients: 0 },
    );
    await server.stop();
  });

  it('asks for permission to publish', async () => {
    const asked = [];
    const server = await startRtmpServer({
      authorise: (request) => {
        asked.push(request.get('name'));
        return request.get('key') === 'good';
      },
    });
    const refused = startTestPublisher(server.url('x?key=bad'));
    assert.match(await refused.ended, /ffmpeg: exit code/);
    const allowed = startTestPublisher(server.url('y?key=good'));
    await isPublished(server, 'y');
    await allowed.stop();
    assert.deepEqual(asked, ['x', 'y']);
    await server.stop();
  });

  it('reports why it does not start', async () => {
    await assert.rejects(
      startRtmpServer({ applications: { live: 'no_such_directive;' } }),
      /did not start.*no_such_directive/s,
    );
  });
});
