'use strict';

// A long check, not part of the suite: one push through many restarts of its server.
//
// Usage: node test/e2e/soak/reconnect.js [OUTAGES]
//
// Prints a line for each outage and a summary; the exit code is 0 if video always resumed in time
// and nothing was leaked.

const fs = require('node:fs');
const { startRtmpServer } = require('../../../tools/rtmp/rtmp_server');
const { watchPackets } = require('../../../tools/rtmp/witness');
const { openLivePush } = require('../support/live_push');
const { killAndRestart } = require('../support/outages');

const OUTAGES = Number(process.argv[2] ?? 20);
const WARM_UP = Math.floor(OUTAGES / 4);
const LIMIT_SECONDS = 3;
const LIMIT_GROWTH_MIB = 4;

function usage() {
  return {
    rssMiB: process.memoryUsage().rss / 2 ** 20,
    descriptors: fs.readdirSync('/proc/self/fd').length,
    threads: fs.readdirSync('/proc/self/task').length,
  };
}

/**
 * Compares the minimum of resource usage in the second half with that in the first: temporary usage
 * varies, a leak stays.
 */
function growth(usages) {
  const middle = Math.floor(usages.length / 2);
  const least = (part, key) => Math.min(...part.map((entry) => entry[key]));
  const grown = (key) => least(usages.slice(middle), key) - least(usages.slice(0, middle), key);
  return {
    rssMiB: grown('rssMiB'),
    descriptors: grown('descriptors'),
    threads: grown('threads'),
  };
}

/**
 * @returns {Promise<number>} seconds until the witness has received frames, from its start
 */
async function secondsToFrame(url) {
  const begin = performance.now();
  await new Promise((resolve) => {
    const witness = watchPackets(url, () => witness.stop().then(resolve));
  });
  return (performance.now() - begin) / 1000;
}

async function main() {
  let server = await startRtmpServer();
  const live = openLivePush({
    extra: { reconnect: { maxAttempts: 100, firstDelayMs: 200, maxDelayMs: 1000 } },
    config: { mVideoEncodeGop: 1 },
  });
  const flowing = live.next('onFirstFramePushed');
  live.push.startPush(server.url());
  await flowing;

  const usages = [];
  let late = 0;
  for (let outage = 1; outage <= OUTAGES; outage += 1) {
    const lost = performance.now();
    server = await killAndRestart(server, live);
    const back = performance.now();
    const seconds = (back - server.startedAt) / 1000 + (await secondsToFrame(server.url()));
    global.gc?.();
    const last = usage();
    usages.push(last);
    if (seconds > LIMIT_SECONDS) late += 1;
    console.log(
      `outage ${outage}: down ${((server.startedAt - lost) / 1000).toFixed(2)} s, back after ` +
        `${((back - server.startedAt) / 1000).toFixed(2)} s, frames after ${seconds.toFixed(2)} s, ` +
        `${last.rssMiB.toFixed(1)} MiB, ${last.descriptors} descriptors, ${last.threads} threads`,
    );
  }
  const count = (name) => live.names().filter((raised) => raised === name).length;
  const grown = growth(usages.slice(WARM_UP));
  const good =
    late === 0 &&
    count('onReconnectSucceed') === OUTAGES &&
    grown.rssMiB <= LIMIT_GROWTH_MIB &&
    grown.descriptors <= 0 &&
    grown.threads <= 0;
  console.log(
    `${count('onReconnectSucceed')} reconnects of ${OUTAGES}, ${late} late; grown by ` +
      `${grown.rssMiB.toFixed(1)} MiB, ${grown.descriptors} descriptors, ${grown.threads} threads: ` +
      `${good ? 'good' : 'BAD'}`,
  );
  live.close();
  await server.stop();
  process.exit(good ? 0 : 1);
}

main();
