'use strict';

// Runs the benchmarks one after the other. Each measures its peer in the same run and ends with a
// ratio.
//
// Usage: npm run bench [-- NAME...]

const path = require('node:path');
const { buildFolder } = require('../tools/lib/project');
const { run } = require('../tools/lib/run');

const BENCHMARKS = {
  i420_repack: [path.join(buildFolder('release'), 'bench/i420_repack_bench')],
  frame_normalizer: [path.join(buildFolder('release'), 'bench/frame_normalizer_bench')],
  publish_cost: ['node', 'bench/publish_cost.js'],
  latency: ['node', 'bench/latency.js'],
  players: ['node', 'bench/players.js'],
  lip_sync: ['node', 'bench/lip_sync.js'],
  tone: ['node', 'bench/tone.js'],
};
const DEADLINE_SECONDS = 1800;

async function main(names) {
  const unknown = names.find((name) => !(name in BENCHMARKS));
  if (unknown) throw new Error(`${unknown}: expected ${Object.keys(BENCHMARKS).join(', ')}`);
  let failed = 0;
  for (const name of names.length > 0 ? names : Object.keys(BENCHMARKS)) {
    const [command, ...args] = BENCHMARKS[name];
    console.log(`\n=== ${name}\n`);
    const { ok, reason } = await run(command, args, { deadlineSeconds: DEADLINE_SECONDS });
    if (!ok) console.error(`${name}: ${reason}`);
    failed += ok ? 0 : 1;
  }
  return failed;
}

main(process.argv.slice(2)).then(
  (failed) => process.exit(failed > 0 ? 1 : 0),
  (error) => {
    console.error(error.message);
    process.exit(2);
  },
);
