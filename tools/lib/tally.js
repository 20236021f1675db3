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
 * Runs stages one after the other, whatever the result of each, and prints the summary. A stage
 * that throws, or in which nothing ran, has failed.
 *
 * @param {Array<{name: string, run: (tally: Tally) => Promise<void>}>} stages
 * @returns {Promise<boolean>} true when nothing failed
 */
async function runStages(stages) {
  const tallies = [];
  for (const { name, run } of stages) {
    console.log(`\n=== ${name}`);
    const started = process.hrtime.bigint();
    const tally = newTally(name);
    try {
      await run(tally);
      if (tally.passed + tally.failures.length === 0) count(tally, false, `${name}: nothing ran`);
    } catch (error) {
      count(tally, false, `${name}: ${error.stack}`);
    }
    const seconds = Number((process.hrtime.bigint() - started) / 1_000_000_000n);
    tallies.push({ ...tally, seconds });
  }
  return summarize(tallies);
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

module.exports = { count, runStages };
