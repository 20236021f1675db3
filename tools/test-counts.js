'use strict';

// Runs the JavaScript tests and counts, for each method and event of the add-on, the tests that
// exercise it. Fails when one has fewer than two, or when a test fails.
//
// Usage: node tools/test-counts.js

const { EVENTS, EVENT_NAMES } = require('../lib/events');
const { METHODS } = require('../lib/methods');
const { runNodeTests } = require('./lib/node_tests');
const { buildFolder, testFiles } = require('./lib/project');
const { count, runStages } = require('./lib/tally');
const { countUses } = require('./lib/uses');

const FEWEST = 2;

/** Tests that only require of every method that nothing breaks. */
const ASK_NOTHING = [
  'test/js/robustness/concurrency.test.js',
  'test/js/robustness/hostile_calls.test.js',
];

/** Names that the interface reserves: nothing is ever delivered under them. */
const RESERVED = EVENT_NAMES.filter((name) => EVENTS[name].raisedBy === 'nothing');

const RULES = `
What counts as a test: one it() of test/js, in whichever process it works.
A test exercises a method when a call of it on a wrapper came back, whatever the arguments;
calls in hooks, with wrong receivers and with new do not count.
A test exercises an event when a listener that it registered was called; for the two reserved
names, which are never delivered, when it registered a listener that was to stay silent.
Left out: ${ASK_NOTHING.join(', ')},
which call everything and ask of each call only that nothing breaks.
`;

const folder = buildFolder('release');
const uses = countUses(folder);

async function runTests(tally) {
  const files = testFiles('js').filter((file) => !ASK_NOTHING.includes(file));
  await runNodeTests(tally, files, { buildFolder: folder, env: uses.env });
}

function printTable(tally, title, names, testsOf) {
  const rows = names.map((name) => ({ name, tests: testsOf(name).size }));
  rows.sort((a, b) => a.tests - b.tests || a.name.localeCompare(b.name));
  console.log(`\n${title}`);
  for (const { name, tests } of rows) {
    console.log(`${String(tests).padStart(6)}  ${name}`);
    count(tally, tests >= FEWEST, `${name}: ${tests} tests, at least ${FEWEST} are required`);
  }
  const all = new Set(names.flatMap((name) => [...testsOf(name)]));
  console.log(`${String(all.size).padStart(6)}  tests for ${names.length} ${title}`);
}

async function report(tally) {
  const noted = uses.read();
  const tests = (kind, name) => noted.get(`${kind} ${name}`) ?? new Set();
  printTable(tally, 'methods', Object.keys(METHODS), (name) => tests('method', name));
  printTable(tally, 'events', EVENT_NAMES, (name) =>
    tests(RESERVED.includes(name) ? 'listens' : 'event', name),
  );
  console.log(RULES);
}

runStages([
  { name: 'JavaScript tests', run: runTests },
  { name: 'tests by method and event', run: report },
]).then(
  (ok) => {
    process.exitCode = ok ? 0 : 1;
  },
  (error) => {
    console.error(error.message);
    process.exitCode = 2;
  },
);
