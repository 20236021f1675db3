'use strict';

const fs = require('node:fs');
const path = require('node:path');
const { root } = require('./project');
const { run } = require('./run');
const { count } = require('./tally');

const reporter = path.join(__dirname, 'node_test_reporter.js');

/**
 * Runs test files of node:test, each in a process of its own with `gc()` exposed, and counts every
 * test. A process that ends badly without a failed test, or in which no test ran, counts as one
 * failure.
 *
 * Prints the results of a file and how long it took: with one job as they come, with several when
 * the file has ended.
 *
 * @param {import('./tally').Tally} tally
 * @param {string[]} files relative to the project's root
 * @param {object} options
 * @param {string} options.buildFolder absolute; given to the tests as LUMO_BUILD_DIR
 * @param {string} [options.node] the runtime, default: the one that runs this
 * @param {NodeJS.ProcessEnv} [options.env] added to the tests' environment
 * @param {number} [options.deadlineSeconds] for each file: a guard against hangs
 * @param {number} [options.jobs] so many files at a time, default 1
 * @param {string[]} [options.alone] files that run when all others have ended, one at a time
 */
async function runNodeTests(tally, files, options) {
  const { node = process.execPath, jobs = 1, alone = [] } = options;
  const forceExit = '--test-force-exit';
  const probe = await run(node, ['-p', `process.allowedNodeEnvironmentFlags.has('${forceExit}')`], {
    capture: true,
  });
  const args = ['--expose-gc', `--test-reporter=${reporter}`, '--test-reporter-destination=stdout'];
  if (probe.output.trim() === 'true') args.push(forceExit);

  const runEach = async (waiting, capture) => {
    for (let file = waiting.shift(); file; file = waiting.shift()) {
      await runFile(tally, [node, ...args], file, { ...options, capture });
    }
  };
  const together = files.filter((file) => !alone.includes(file));
  await Promise.all(Array.from({ length: jobs }, () => runEach(together, jobs > 1)));
  await runEach(
    files.filter((file) => alone.includes(file)),
    false,
  );
}

/** @returns {string} the file with the outcome of each test of a file, in a build folder */
function resultsOf(file, buildFolder) {
  return path.join(buildFolder, 'test-results', `${file.replaceAll(path.sep, '-')}.jsonl`);
}

/** @param {string[]} command what runs a test file */
async function runFile(tally, [node, ...args], file, options) {
  const { buildFolder, env, deadlineSeconds = 300, capture } = options;
  const results = resultsOf(file, buildFolder);
  fs.mkdirSync(path.dirname(results), { recursive: true });
  fs.writeFileSync(results, '');
  if (!capture) console.log(`\n${file}`);
  const began = performance.now();
  const { ok, output, reason } = await run(node, [...args, path.join(root, file)], {
    env: { ...env, LUMO_BUILD_DIR: buildFolder, LUMO_TEST_RESULTS: results },
    deadlineSeconds,
    capture,
  });
  if (capture) console.log(`\n${file}\n${output.trimEnd()}`);
  console.log(`  ${file}: ${((performance.now() - began) / 1000).toFixed(1)} s`);
  countResults(tally, file, results, ok ? '' : reason);
}

/** @param {string} badEnd why the process's end was bad; empty when it was not */
function countResults(tally, file, resultsFile, badEnd) {
  const results = fs.readFileSync(resultsFile, 'utf8').split('\n').filter(Boolean).map(JSON.parse);
  let failed = 0;
  for (const { name, outcome, reason } of results) {
    if (outcome === 'skip') {
      tally.skips.push(`${file}: ${name} (${reason})`);
      continue;
    }
    if (outcome === 'fail') failed += 1;
    count(tally, outcome === 'pass', `${file}: ${name}`);
  }
  if (badEnd && failed === 0) count(tally, false, `${file}: the test process: ${badEnd}`);
  else if (results.length === 0) count(tally, false, `${file}: no test ran`);
}

module.exports = { resultsOf, runNodeTests };
