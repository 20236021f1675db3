'use strict';

// Hostile calls to the scripted SDK (test/js/support/hostile_process.js), in one process after the
// other. Each has a seed of its own, which is its first call's number away from the run's: with
// `--seed` and `--calls` of what is left, a run goes on where another one ended.

const fs = require('node:fs');
const os = require('node:os');
const path = require('node:path');
const { run: runProgram } = require('../../../tools/lib/run');
const { buildFolder, root } = require('../../../tools/lib/project');

const PROCESS = path.join(root, 'test/js/support/hostile_process.js');
const CALLS_EACH = 100_000;
const JOBS = 2;

/** What V8 is told, in turns: nothing, to collect and to move objects all the time. */
const STRESS = [
  [],
  ['--gc-interval=499'],
  ['--stress-compaction', '--gc-interval=4999'],
  ['--stress-scavenge=50'],
  ['--random-gc-interval=997'],
];

/** The oldest and the newest of the runtimes that `npm run test:runtimes` has installed. */
function runtimes() {
  const folder = path.join(root, 'build/runtimes');
  const found = fs.existsSync(folder)
    ? fs.readdirSync(folder).filter((name) => /^node-\d/.test(name) && !name.endsWith('.partial'))
    : [];
  found.sort((a, b) => Number.parseInt(a.slice(5), 10) - Number.parseInt(b.slice(5), 10));
  const ends = [...new Set([found[0], found.at(-1)].filter(Boolean))];
  const own = { name: `Node ${process.version.slice(1)}`, node: process.execPath };
  const others = ends.map((name) => ({
    name: `Node ${name.slice(5)}`,
    node: path.join(folder, name, 'bin/node'),
    build: path.join(folder, `build-${name}`),
  }));
  // Each needs an add-on that was built for it.
  return [own, ...others.filter(({ build }) => fs.existsSync(build))];
}

async function run({ calls, seed }, report) {
  const folder = fs.mkdtempSync(path.join(os.tmpdir(), 'hostile-calls-'));
  const all = runtimes();
  for (const [index, { name, node, build }] of all.entries()) {
    const share = Math.ceil(calls / all.length / CALLS_EACH);
    const waiting = Array.from({ length: share }, (_, count) => seed + index * share + count);
    const problems = [];
    let made = 0;
    const began = performance.now();
    const work = async () => {
      for (let next = waiting.shift(); next !== undefined; next = waiting.shift()) {
        const note = path.join(folder, String(next));
        const count = Math.min(CALLS_EACH, calls);
        const flags = STRESS[next % STRESS.length];
        const { ok, output, reason } = await runProgram(
          node,
          ['--expose-gc', ...flags, PROCESS, String(next), String(count), note],
          {
            capture: true,
            env: { LUMO_BUILD_DIR: build ?? buildFolder('release') },
            deadlineSeconds: 1200,
          },
        );
        made += count;
        if (ok) continue;
        const last = fs.existsSync(note) ? fs.readFileSync(note, 'utf8').trim() : 'none';
        problems.push(`${flags.join(' ')} seed ${next}: ${reason}; last call: ${last}`);
        console.log(output.slice(-3000));
      }
    };
    await Promise.all(Array.from({ length: JOBS }, work));
    const seconds = ((performance.now() - began) / 1000).toFixed(0);
    report({ what: `hostile calls, ${name}`, figures: `${made} in ${seconds} s`, problems });
  }
  fs.rmSync(folder, { recursive: true });
}

module.exports = { run };
