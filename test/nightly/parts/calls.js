'use strict';

// Hostile calls to the scripted SDK (test/js/robustness/hostile_process.js), in one process after the
// other. Each has a seed of its own, which is its first call's number away from the run's: with
// `--seed` and `--calls` of what is left, a run goes on where another one ended.

const fs = require('node:fs');
const os = require('node:os');
const path = require('node:path');
const { run: runProgram } = require('../../../tools/lib/run');
const { root } = require('../../../tools/lib/project');
const { buildForRuntime, versions } = require('../../../tools/lib/runtimes');

const PROCESS = path.join(root, 'test/js/robustness/hostile_process.js');
const CALLS_EACH = 100_000;
const JOBS = 2;
const RUNTIMES = 2;

/** What V8 is told, in turns: nothing, to collect and to move objects all the time. */
const STRESS = [
  [],
  ['--gc-interval=499'],
  ['--stress-compaction', '--gc-interval=4999'],
  ['--stress-scavenge=50'],
  ['--random-gc-interval=997'],
];

/** The oldest and the newest supported runtime, each with an add-on that is built for it. */
async function* runtimes() {
  const all = Object.values(versions);
  for (const version of [all.at(0), all.at(-1)]) {
    yield { name: `Node ${version}`, ...(await buildForRuntime(version)) };
  }
}

/** One process of calls. @returns {Promise<string | undefined>} what went wrong */
async function callAll({ node, buildFolder }, seed, calls, note) {
  const flags = STRESS[seed % STRESS.length];
  const args = ['--expose-gc', ...flags, PROCESS, String(seed), String(calls), note];
  const env = { LUMO_BUILD_DIR: buildFolder };
  const options = { capture: true, env, deadlineSeconds: 1200 };
  const { ok, output, reason } = await runProgram(node, args, options);
  if (ok) return undefined;
  const last = fs.existsSync(note) ? fs.readFileSync(note, 'utf8').trim() : 'none';
  console.log(output.slice(-3000));
  return `${flags.join(' ')} seed ${seed}: ${reason}; last call: ${last}`;
}

async function run({ calls, seed }, report) {
  const folder = fs.mkdtempSync(path.join(os.tmpdir(), 'hostile-calls-'));
  const each = Math.min(CALLS_EACH, calls);
  const share = Math.ceil(calls / RUNTIMES / each);
  let next = seed;
  for await (const runtime of runtimes()) {
    const end = next + share;
    const failures = [];
    const began = performance.now();
    const work = async () => {
      while (next < end) {
        const own = next++;
        const failure = await callAll(runtime, own, each, path.join(folder, String(own)));
        if (failure) failures.push(failure);
      }
    };
    await Promise.all(Array.from({ length: JOBS }, work));
    const seconds = ((performance.now() - began) / 1000).toFixed(0);
    const figures = `${share * each} in ${seconds} s`;
    report({ what: `hostile calls, ${runtime.name}`, figures, failures });
  }
  fs.rmSync(folder, { recursive: true });
}

module.exports = { run };
