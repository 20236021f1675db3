'use strict';

// Runs the whole test suite: lint, C++ tests, JavaScript tests with the scripted SDK, end-to-end
// tests with the default SDK, the quick rows of the interoperability suite and of the hostile
// servers. Every stage runs, whatever the results of the earlier ones. Lint runs at the same time at
// low priority, because most of the other stages wait for media. The last line is `N passed, N
// failed` for all together; the exit code is 0 when nothing failed.
//
// Usage: node tools/test.js [--sanitizer asan|tsan] [--only STAGE]... [--cpp PATTERN] [FILE...]
//   --sanitizer KIND  test build/KIND instead of build/release; lint is left out, and interop and
//                     hostile, whose outcomes depend on time and memory
//   --only STAGE      run lint, cpp, js, e2e, interop or hostile only (repeatable)
//   --cpp PATTERN     run only the C++ tests whose names match this regular expression
//   FILE              run only these JavaScript, end-to-end, interop and hostile test files

const path = require('node:path');
const { parseArgs } = require('node:util');
const { runCtest } = require('./lib/ctest');
const { runNodeTests } = require('./lib/node_tests');
const { buildFolder, root, testFiles } = require('./lib/project');
const { countReports, sanitizerEnvironment } = require('./lib/sanitizers');
const { endWith, runStages } = require('./lib/tally');
const { lint } = require('./lint');

const names = ['lint', 'cpp', 'js', 'e2e', 'interop', 'hostile'];
const nodeStages = ['js', 'e2e', 'interop', 'hostile'];
/** Number of files that run at a time; those of interop/ start several processes themselves. */
const JOBS = { js: 2, e2e: 2, hostile: 2 };
/** These measure times and rates, so no other test file may take their processor time. */
const ALONE = [
  'test/e2e/live_mix_sync.test.js',
  'test/e2e/playback_audio_whole.test.js',
  'test/e2e/poor_network.test.js',
];
const notSanitized = ['lint', 'interop', 'hostile'];

function readArguments() {
  const { values, positionals } = parseArgs({
    options: {
      sanitizer: { type: 'string' },
      only: { type: 'string', multiple: true },
      cpp: { type: 'string' },
    },
    allowPositionals: true,
  });
  const { sanitizer, cpp } = values;
  if (sanitizer && !['asan', 'tsan'].includes(sanitizer)) {
    throw new Error(`--sanitizer ${sanitizer}: expected asan or tsan`);
  }
  const files = positionals.map((file) => path.relative(root, path.resolve(file)));
  const chosen = [cpp && 'cpp', ...files.map(stageOf)].filter(Boolean);
  const all = sanitizer ? names.filter((name) => !notSanitized.includes(name)) : names;
  const only = values.only ?? (chosen.length > 0 ? chosen : all);
  const unknown = only.find((name) => !names.includes(name));
  if (unknown) throw new Error(`--only ${unknown}: expected one of ${names.join(', ')}`);
  return { sanitizer, only, cpp, files };
}

function stageOf(file) {
  const name = nodeStages.find((stage) => isTestOf(stage, file));
  if (!name) throw new Error(`${file}: no test file of test/${nodeStages.join(', test/')}`);
  return name;
}

function isTestOf(stage, file) {
  return file.startsWith(`test/${stage}/`) && file.endsWith('.test.js');
}

async function main() {
  const { sanitizer, only, cpp, files } = readArguments();
  const folder = buildFolder(sanitizer ?? 'release');
  const environment = sanitizer ? sanitizerEnvironment(sanitizer) : {};
  const runNode = (stage) => (tally) =>
    runNodeTests(
      tally,
      files.length > 0 ? files.filter((file) => isTestOf(stage, file)) : testFiles(stage),
      { buildFolder: folder, env: environment.node, alone: ALONE, jobs: JOBS[stage] },
    );
  const stages = {
    cpp: {
      name: 'C++ tests',
      run: (tally) => runCtest(tally, folder, { env: environment.cpp, pattern: cpp }),
    },
    js: { name: 'JavaScript tests', run: runNode('js') },
    e2e: { name: 'end-to-end tests', run: runNode('e2e') },
    interop: { name: 'interoperability', run: runNode('interop') },
    hostile: { name: 'hostile servers', run: runNode('hostile') },
  };
  const selected = names.filter((name) => only.includes(name) && stages[name]);
  return runStages(
    selected.map((name) => (sanitizer ? checked(stages[name], sanitizer) : stages[name])),
    only.includes('lint') ? [{ name: 'lint', run: lint }] : [],
  );
}

/** A stage whose sanitizer reports are counted at its end, even when it throws. */
function checked({ name, run }, sanitizer) {
  return {
    name: `${name} (${sanitizer})`,
    run: (tally) => run(tally).finally(() => countReports(tally, sanitizer)),
  };
}

endWith(main);
