'use strict';

// Tests that take too long for every change: ten million hostile calls, a thousand lifetimes of
// pushers and players, random use of all methods, a system that lacks resources, and half an hour
// of pushing and playing while the server is killed, frozen and throttled.
//
// Usage: node test/nightly/main.js [--minutes N] [--calls N] [--cycles N] [--seed N] [--only PART]...
//   --minutes N  total for the parts that run for a time, default 60: half of it turmoil --calls N
//   hostile calls, default 10000000 --cycles N   lifetimes of pushers and players, default 1000
//   --seed N     starts with this seed, which each run prints; default: another one each time
//   --only PART runs only calls, cycles, monkey, starved or turmoil
//
// Ends with a table. The exit code is 1 when anything failed.

const crypto = require('node:crypto');
const { parseArgs } = require('node:util');

const PARTS = ['calls', 'cycles', 'monkey', 'starved', 'turmoil'];

function readArguments() {
  const { values } = parseArgs({
    options: {
      minutes: { type: 'string', default: '60' },
      calls: { type: 'string', default: '10000000' },
      cycles: { type: 'string', default: '1000' },
      seed: { type: 'string', default: String(crypto.randomInt(1, 2 ** 31)) },
      only: { type: 'string', multiple: true, default: PARTS },
    },
  });
  const unknown = values.only.find((name) => !PARTS.includes(name));
  if (unknown) throw new Error(`--only ${unknown}: expected one of ${PARTS.join(', ')}`);
  const numbers = ['minutes', 'calls', 'cycles', 'seed'].map((name) => {
    const number = Number(values[name]);
    if (!(number > 0)) throw new Error(`--${name} ${values[name]}: expected a number above 0`);
    return [name, number];
  });
  return { ...Object.fromEntries(numbers), only: values.only };
}

/**
 * One line of the summary.
 *
 * @typedef {object} Line
 * @property {string} what
 * @property {string} figures
 * @property {string[]} failures empty: it passed
 */

async function main() {
  const { only, ...options } = readArguments();
  console.log(`seed ${options.seed}`);
  const table = ['| part | what | figures | result |', '|---|---|---|---|'];
  let failed = 0;
  for (const name of PARTS.filter((part) => only.includes(part))) {
    console.log(`\n=== ${name}`);
    const { run } = require(`./parts/${name}`);
    /** @param {Line} line */
    const report = ({ what, figures, failures }) => {
      if (failures.length > 0) failed += 1;
      const result = failures.length > 0 ? `FAILED: ${failures.join('; ')}` : 'ok';
      console.log(`${what}: ${figures}: ${result}`);
      table.push(`| ${name} | ${what} | ${figures} | ${result} |`);
    };
    try {
      await run(options, report);
    } catch (error) {
      report({ what: 'the part itself', figures: '-', failures: [error.message] });
    }
  }
  console.log(`\n${table.join('\n')}\n\n${failed} failed`);
  process.exit(failed > 0 ? 1 : 0);
}

main().catch((error) => {
  console.error(error.message);
  process.exit(2);
});
