'use strict';

/**
 * The result of one stage of a test run.
 *
 * @typedef {object} Tally
 * @property {string} stage
 * @property {number} passed
 * @property {string[]} failures one text for each failure
 * @property {string[]} skips one text for each skipped test, with its reason
 */

/** @param {string} stage @returns {Tally} */
function newTally(stage) {
  return { stage, passed: 0, failures: [], skips: [] };
}

/**
 * Counts an outcome and prints a failed one immediately.
 *
 * @param {Tally} tally
 * @param {boolean} ok
 * @param {string} text what failed, when it did
 */
function count(tally, ok, text) {
  if (ok) {
    tally.passed += 1;
    return;
  }
  tally.failures.push(text);
  console.log(`FAILED ${text}`);
}

/**
 * @typedef {object} Stage
 * @property {string} name
 * @property {(tally: Tally) => Promise<void>} run
 */

/**
 * Runs stages one after the other, whatever the result of each, and prints the summary. A stage
 * that throws, or in which nothing ran, has failed.
 *
 * @param {Stage[]} stages
 * @param {Stage[]} [beside] they begin at once and run beside those
 * @returns {Promise<boolean>} true when nothing failed
 */
async function runStages(stages, beside = []) {
  const others = beside.map(runStage);
  const tallies = [];
  for (const stage of stages) tallies.push(await runStage(stage));
  return summarize([...(await Promise.all(others)), ...tallies]);
}

async function runStage({ name, run }) {
  console.log(`\n=== ${name}`);
  const began = performance.now();
  const tally = newTally(name);
  try {
    await run(tally);
    if (tally.passed + tally.failures.length === 0) count(tally, false, `${name}: nothing ran`);
  } catch (error) {
    count(tally, false, `${name}: ${error.stack}`);
  }
  return { ...tally, seconds: Math.round((performance.now() - began) / 1000) };
}

function summarize(tallies) {
  console.log('\n=== Summary');
  for (const { stage, passed, failures, skips, seconds } of tallies) {
    const numbers = `${passed} passed, ${failures.length} failed, ${skips.length} skipped`;
    console.log(`${stage.padEnd(24)} ${numbers.padEnd(40)} ${seconds} s`);
  }
  for (const text of tallies.flatMap((tally) => tally.skips)) console.log(`skipped ${text}`);
  const failures = tallies.flatMap((tally) => tally.failures);
  for (const text of failures) console.log(`FAILED ${text}`);
  const passed = tallies.reduce((sum, tally) => sum + tally.passed, 0);
  console.log(`\n${passed} passed, ${failures.length} failed`);
  return failures.length === 0;
}

/**
 * Ends the process with 0 when `main` resolves to true, 1 when to false, and 2, with the error, when
 * it throws.
 *
 * @param {() => Promise<boolean>} main
 */
function endWith(main) {
  main().then(
    (ok) => {
      process.exitCode = ok ? 0 : 1;
    },
    (error) => {
      console.error(error.message);
      process.exitCode = 2;
    },
  );
}

module.exports = { count, endWith, runStages };
