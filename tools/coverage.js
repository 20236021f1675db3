'use strict';

// Runs the C++ and JavaScript tests of the add-on on an instrumented build, and reports which lines
// and branches of src/ ran: a table here, and pages to open in build/coverage/report. Fails when a
// test fails or when fewer lines ran than required.
//
// Usage: node tools/coverage.js

const fs = require('node:fs');
const path = require('node:path');
const { runCtest } = require('./lib/ctest');
const { runNodeTests } = require('./lib/node_tests');
const { buildFolder, testFiles } = require('./lib/project');
const { run } = require('./lib/run');
const { count, endWith, runStages } = require('./lib/tally');

const LINES_PERCENT = 95;

const folder = buildFolder('coverage');
const report = path.join(folder, 'report');

/** Counters accumulate from run to run, so earlier ones are removed first. */
function forgetCounters() {
  for (const file of fs.readdirSync(folder, { recursive: true })) {
    if (file.endsWith('.gcda')) fs.rmSync(path.join(folder, file));
  }
  fs.rmSync(report, { recursive: true, force: true });
  fs.mkdirSync(report);
}

async function writeReport(tally) {
  const page = path.join(report, 'index.html');
  const { ok, reason } = await run('gcovr', [
    ...['--root', '.', '--filter', 'src/', '--object-directory', folder, folder],
    // Branches that the compiler adds for exceptions, which nothing here throws, are no decisions.
    ...['--exclude-throw-branches', '--exclude-unreachable-branches'],
    ...['--print-summary', '--txt', '--html-details', page],
    ...['--fail-under-line', String(LINES_PERCENT)],
  ]);
  console.log(`report: ${page}`);
  count(tally, ok, `coverage: ${reason}; ${LINES_PERCENT} % of the lines are required`);
}

async function main() {
  forgetCounters();
  return runStages([
    { name: 'C++ tests', run: (tally) => runCtest(tally, path.join(folder, 'test/cpp/utils')) },
    {
      name: 'plug-in tests',
      run: (tally) => runCtest(tally, path.join(folder, 'test/cpp/plugin')),
    },
    {
      name: 'JavaScript tests',
      run: (tally) => runNodeTests(tally, testFiles('js'), { buildFolder: folder }),
    },
    { name: 'coverage', run: writeReport },
  ]);
}

endWith(main);
