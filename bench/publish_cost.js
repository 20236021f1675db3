'use strict';

// The cost of publishing 1280x720 at 30 frames per second with audio: the processor time of this
// engine against that of ffmpeg with the same raw frames and x264 settings. They alternate, since
// two cores are not enough for both. Ends with the ratio.
//
// Usage: node bench/publish_cost.js [--seconds N] [--rounds N]

const fs = require('node:fs');
const os = require('node:os');
const path = require('node:path');
const { setTimeout: sleep } = require('node:timers/promises');
const { parseArgs } = require('node:util');
const { runChild, startChild } = require('../tools/rtmp/child');
const { startRtmpServer } = require('../tools/rtmp/rtmp_server');
const { printTable, quantile } = require('./lib/numbers');
const { processorSeconds } = require('./lib/processor_time');

// With these, x264 writes the same list of options into both streams.
const X264 = 'bitrate=2000:vbv-maxrate=2000:vbv-bufsize=1200:keyint=60:scenecut=0';

const PUBLISHERS = {
  engine: (file, url) => ['node', [path.join(__dirname, 'lib/publish_process.js'), file, url]],
  ffmpeg: (file, url) => [
    'ffmpeg',
    [
      ...['-v', 'error', '-nostdin', '-re', '-stream_loop', '-1', '-i', file],
      ...['-re', '-f', 'lavfi', '-i', 'sine=frequency=440:sample_rate=48000'],
      ...['-c:v', 'libx264', '-preset', 'veryfast', '-tune', 'zerolatency', '-x264-params', X264],
      ...['-c:a', 'aac', '-b:a', '64k', '-ac', '2', '-f', 'flv', url],
    ],
  ],
};

async function measure(name, file, server, seconds) {
  const url = server.url(name);
  const child = startChild(...PUBLISHERS[name](file, url));
  let ended;
  child.ended.then((reason) => {
    ended = reason;
  });
  while (!ended && (await server.status(name)).bytesIn === 0) await sleep(50);
  await sleep(2000);
  if (ended) throw new Error(`${name}: ${ended}`);
  const before = { time: performance.now(), ...(await server.status(name)) };
  const used = processorSeconds(child.process.pid);
  await sleep(seconds * 1000);
  const cores =
    (processorSeconds(child.process.pid) - used) / ((performance.now() - before.time) / 1000);
  const { bytesIn } = await server.status(name);
  await child.stop();
  return { cores, kbps: ((bytesIn - before.bytesIn) * 8) / (performance.now() - before.time) };
}

async function main() {
  const { values } = parseArgs({
    options: {
      seconds: { type: 'string', default: '10' },
      rounds: { type: 'string', default: '3' },
    },
  });
  const folder = fs.mkdtempSync(path.join(os.tmpdir(), 'publish-cost-'));
  const file = path.join(folder, 'clip.y4m');
  const server = await startRtmpServer();
  try {
    const source = ['-f', 'lavfi', '-i', 'testsrc2=size=1280x720:rate=30', '-t', '4'];
    await runChild('ffmpeg', ['-v', 'error', ...source, '-pix_fmt', 'yuv420p', file], {
      deadlineSeconds: 60,
    });
    const results = { engine: [], ffmpeg: [] };
    for (let round = 0; round < Number(values.rounds); round += 1) {
      for (const [name, list] of Object.entries(results)) {
        list.push(await measure(name, file, server, Number(values.seconds)));
        const { cores, kbps } = list.at(-1);
        console.error(`${name}: ${cores.toFixed(3)} cores, ${kbps.toFixed(0)} kbit/s`);
      }
    }
    const median = (name) => quantile(results[name].map(({ cores }) => cores));
    printTable([
      ['publishing 1280x720 at 30/s', 'cores (median)', 'ratio'],
      ['ffmpeg', median('ffmpeg').toFixed(3), '1.00'],
      [
        'this engine',
        median('engine').toFixed(3),
        (median('engine') / median('ffmpeg')).toFixed(2),
      ],
    ]);
  } finally {
    await server.stop();
    fs.rmSync(folder, { recursive: true });
  }
}

main();
