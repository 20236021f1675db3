'use strict';

// Hostile calls to the scripted SDK, and some to the default one, in successive processes. Each
// process has a seed of its own, counted up from the run's: with `--seed` and the remaining
// `--calls`, a run continues where another one ended.

const fs = require('node:fs');
const os = require('node:os');
const path = require('node:path');
const { run: runProgram } = require('../../../tools/lib/run');
const { root } = require('../../../tools/lib/project');
const { startRtmpServer } = require('../../../tools/rtmp/rtmp_server');
const { buildForRuntime, versions } = require('../../../tools/lib/runtimes');

const SCRIPTED = {
  name: 'scripted SDK',
  script: path.join(root, 'test/js/robustness/hostile_process.js'),
  callsEach: 100_000,
};
const DEFAULT = {
  name: 'default SDK',
  script: path.join(root, 'test/nightly/support/hostile_sdk_process.js'),
  callsEach: 10_000,
};
const DEFAULT_SHARE = 0.02; // of the calls: the operations that they start take time
const JOBS = 2;
const RUNTIMES = 2;

/** V8's options, used in turn: none; collect and move objects all the time. */
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
async function callAll({ node, buildFolder }, script, seed, calls, note, url) {
  const flags = STRESS[seed % STRESS.length];
  const args = ['--expose-gc', ...flags, script, String(seed), String(calls), note, url];
  const env = { LUMO_BUILD_DIR: buildFolder };
  const options = { capture: true, env, deadlineSeconds: 1200 };
  const { ok, output, reason } = await runProgram(node, args, options);
  if (ok) return undefined;
  const last = fs.existsSync(note) ? fs.readFileSync(note, 'utf8').trim() : 'none';
  console.log(output.slice(-3000));
  return `${flags.join(' ')} seed ${seed}: ${reason}; last call: ${last}`;
}

/** All calls to one SDK on one runtime, JOBS processes at a time. */
async function callSdk(runtime, { name, script, callsEach }, { calls, seed, folder, url }, report) {
  const each = Math.min(callsEach, Math.ceil(calls));
  const processes = Math.ceil(calls / each);
  const failures = [];
  let next = 0;
  const began = performance.now();
  const work = async () => {
    while (next < processes) {
      const own = seed + next++;
      const failure = await callAll(runtime, script, own, each, path.join(folder, `${own}`), url);
      if (failure) failures.push(failure);
    }
  };
  await Promise.all(Array.from({ length: JOBS }, work));
  const seconds = ((performance.now() - began) / 1000).toFixed(0);
  const figures = `${processes * each} in ${seconds} s`;
  report({ what: `hostile calls, ${name}, ${runtime.name}`, figures, failures });
}

async function run({ calls, seed }, report) {
  const folder = fs.mkdtempSync(path.join(os.tmpdir(), 'hostile-calls-'));
  const server = await startRtmpServer();
  const own = { seed, folder, url: server.url() };
  for await (const runtime of runtimes()) {
    const share = calls / RUNTIMES;
    await callSdk(runtime, SCRIPTED, { ...own, calls: share }, report);
    await callSdk(runtime, DEFAULT, { ...own, calls: share * DEFAULT_SHARE }, report);
  }
  await server.stop();
  fs.rmSync(folder, { recursive: true });
}

module.exports = { run };
