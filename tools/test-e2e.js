'use strict';

// Runs the end-to-end tests and lists each operation and callback of the SDK's interface with the
// tests that show it: those that docs/sdk.md names, or else those that called the method or received
// the event. Fails when nothing shows one, or when a test does not exist or did not pass.
//
// Usage: node tools/test-e2e.js

const fs = require('node:fs');
const path = require('node:path');
const { EVENTS } = require('../lib/events');
const { METHODS } = require('../lib/methods');
const { interfaceNames } = require('./lib/interface_names');
const { resultsOf, runNodeTests } = require('./lib/node_tests');
const { buildFolder, root, testFiles } = require('./lib/project');
const { count, runStages } = require('./lib/tally');
const { countUses } = require('./lib/uses');

const folder = buildFolder('release');
const files = testFiles('e2e');
const uses = countUses(folder);

/** @returns {Map<string, string>} "file: test" -> outcome of the run before */
function readOutcomes() {
  const outcomes = new Map();
  for (const file of files) {
    const text = fs.readFileSync(resultsOf(file, folder), 'utf8');
    for (const line of text.split('\n').filter(Boolean)) {
      const { name, outcome } = JSON.parse(line);
      outcomes.set(`${path.basename(file, '.test.js')}: ${name}`, outcome);
    }
  }
  return outcomes;
}

/**
 * Reads the tables of a chapter of docs/sdk.md, whose sections are named after the interface's
 * classes.
 *
 * @param {string} chapter its heading
 * @returns {{name: string, meaning: string, tests: string[]}[]} `name` is "Class::function"
 */
function rowsOf(chapter) {
  const document = fs.readFileSync(path.join(root, 'docs/sdk.md'), 'utf8');
  const [, text = ''] = document.split(`\n## ${chapter}\n`);
  const rows = [];
  let section = '';
  for (const line of text.split('\n## ')[0].split('\n')) {
    section = line.match(/^### `(\w+)`/)?.[1] ?? section;
    const cells = line.split('|').slice(1, -1);
    const name = cells[0]?.match(/^ `(\w+)` $/)?.[1];
    if (!name) continue;
    const tests = cells[2].split('<br>').map((test) => test.trim());
    rows.push({ name: `${section}::${name}`, meaning: cells[1].trim(), tests });
  }
  return rows;
}

/**
 * The tests that called the method, or received the event, of a function of the interface.
 *
 * @param {string} name "Class::function"
 * @returns {string[]} "file: test"
 */
function usersOf(name) {
  const own = name.split('::')[1].toLowerCase();
  const isOwn = (other) => other.toLowerCase() === own;
  const keys = [
    ...Object.keys(METHODS)
      .filter(isOwn)
      .map((method) => `method ${method}`),
    ...Object.entries(EVENTS)
      .filter(([event, { callback = event }]) => isOwn(callback))
      .map(([event]) => `event ${event}`),
  ];
  const noted = uses.read();
  return keys
    .flatMap((key) => [...(noted.get(key) ?? [])])
    .map((test) => test.replace('.test.js', ''));
}

function list(tally, chapter, names, outcomes) {
  const rows = new Map(rowsOf(chapter).map((row) => [row.name, row]));
  console.log(`\n${chapter}`);
  for (const name of names) {
    const { meaning = '', tests } = rows.get(name) ?? { tests: usersOf(name) };
    console.log(`\n  ${name}\n    ${meaning}`);
    if (tests.length === 0) count(tally, false, `${name}: no test, and not in docs/sdk.md`);
    for (const test of tests) {
      const outcome = outcomes.get(test) ?? 'no such test';
      console.log(`    ${outcome}: ${test}`);
      count(tally, outcome === 'pass', `${name}: ${test}: ${outcome}`);
    }
    rows.delete(name);
  }
  for (const name of rows.keys()) count(tally, false, `${name}: not in the interface`);
}

function report(tally) {
  const outcomes = readOutcomes();
  const { operations, callbacks } = interfaceNames();
  list(tally, 'Every operation', operations, outcomes);
  list(tally, 'Every callback', callbacks, outcomes);
}

runStages([
  {
    name: 'end-to-end tests',
    run: (tally) => runNodeTests(tally, files, { buildFolder: folder, env: uses.env }),
  },
  { name: 'operations and callbacks', run: async (tally) => report(tally) },
]).then(
  (ok) => {
    process.exitCode = ok ? 0 : 1;
  },
  (error) => {
    console.error(error.message);
    process.exitCode = 2;
  },
);
