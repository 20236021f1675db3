'use strict';

// Lifetimes of pushers and players with a real server; three of four end before they have started.

const { startRtmpServer } = require('../../../tools/rtmp/rtmp_server');
const { runScenario } = require('../support/scenario');

const LIMITS = { mib: 48, descriptors: 2, threads: 2 };

async function run({ cycles, seed }, report) {
  const server = await startRtmpServer();
  const usages = [];
  const failures = await runScenario(
    'cycles_process.js',
    [server.url(), seed, cycles].map(String),
    {
      deadlineSeconds: 120 + cycles * 4,
      onMessage: (_message, usage) => usages.push(usage()),
    },
  );
  const { clients } = await server.status();
  await server.stop();
  const [before, after] = usages;
  const figures = Object.keys(LIMITS).map((name) => {
    if (!after) return `${name} -`;
    const growth = after[name] - before[name];
    if (growth > LIMITS[name]) failures.push(`${growth.toFixed(0)} ${name} more`);
    return `${name} ${before[name].toFixed(0)} to ${after[name].toFixed(0)}`;
  });
  if (clients > 0) failures.push(`the server still has ${clients} connections`);
  report({ what: `${cycles} lives`, figures: figures.join(', '), failures });
}

module.exports = { run };
