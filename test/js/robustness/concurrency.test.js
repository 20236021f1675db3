'use strict';

/*
 * Every callback from eight native threads at once, while JavaScript does everything that could be
 * in the way; see support/concurrency_process.js for the cases. Each runs in a process of its own,
 * so that a crash is a failed test, and again under the engine's flags that make it collect garbage
 * and move objects all the time.
 */

const assert = require('node:assert/strict');
const { spawnSync } = require('node:child_process');
const path = require('node:path');
const { describe, it } = require('node:test');
const { scaled } = require('./scale');

const CASES = {
  everyMethod: 'JavaScript calls every method',
  hostileCalls: 'hostile code calls what it likes',
  collection: 'wrappers are dropped and collected',
  listeners: 'listeners are added and replaced',
  targets: 'pushers and players are destroyed and created again',
  rawFrames: 'frames are fetched',
};

const STRESSES = {
  'as usual': { flags: [], rounds: 100 },
  'with a scavenge every few allocations': { flags: ['--stress-scavenge=10'], rounds: 20 },
  'with objects moved at every collection': {
    flags: ['--stress-compaction', '--stress-incremental-marking'],
    rounds: 20,
  },
};

function run(name, { flags, rounds }) {
  const script = path.join(__dirname, 'concurrency_process.js');
  const { status, signal, error, stderr } = spawnSync(
    process.execPath,
    ['--expose-gc', ...flags, script, name, `${scaled(rounds)}`],
    { encoding: 'utf8', stdio: ['ignore', 'ignore', 'pipe'], timeout: 250_000 },
  );
  assert.equal(error?.code ?? signal ?? status, 0, stderr);
}

for (const [stress, options] of Object.entries(STRESSES)) {
  describe(`eight threads call back, ${stress}, while`, () => {
    for (const [name, what] of Object.entries(CASES)) it(what, () => run(name, options));
  });
}
