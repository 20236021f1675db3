'use strict';

// Runs the cases of hostile servers and reports the results.
//
// Usage: node test/hostile/main.js [--only REGEX] [--quick] [--list] [--jobs N] [--json FILE]
//                                  [--update-docs]
//   --only REGEX   cases whose names match, for example "rtmp push: .*ping"
//   --quick        those that `npm test` runs
//   --jobs N       so many at a time, default 3
//   --json FILE    all figures
//   --update-docs  writes the table into docs/hostile-servers.md
//
// Prints the table. The exit code is 1 when a case fails.

const fs = require('node:fs');
const { parseArgs } = require('node:util');
const { readRows } = require('./rows');
const { PAGE, tableOf, withTable } = require('./support/page');
const { JOBS, casesOf, openSuite } = require('./support/suite');

function readArguments() {
  const { values } = parseArgs({
    options: {
      only: { type: 'string', default: '' },
      quick: { type: 'boolean' },
      list: { type: 'boolean' },
      jobs: { type: 'string', default: String(JOBS) },
      json: { type: 'string' },
      'update-docs': { type: 'boolean' },
    },
  });
  const pattern = new RegExp(values.only);
  const cases = Object.entries(readRows())
    .flatMap(([group, rows]) =>
      casesOf(rows).map((each) => ({ ...each, name: `${group} ${each.name}` })),
    )
    .filter(({ name, row }) => pattern.test(name) && (!values.quick || row.quick));
  if (cases.length === 0) throw new Error('no such case');
  return { ...values, cases };
}

async function main() {
  const { cases, jobs, json, list, ...values } = readArguments();
  if (list) {
    for (const { name } of cases) console.log(name);
    return;
  }
  const suite = await openSuite();
  const waiting = [...cases.entries()];
  const results = [];
  const work = async () => {
    for (let next = waiting.shift(); next; next = waiting.shift()) {
      const [index, each] = next;
      const { failures, figures } = await suite.run(each);
      results[index] = { name: each.name, failures, figures };
      console.log(`${failures.length === 0 ? 'ok    ' : 'FAILED'} ${each.name}`);
      for (const failure of failures) console.log(`         ${failure}`);
    }
  };
  await Promise.all(Array.from({ length: Number(jobs) }, work));
  suite.close();
  console.log(`\n${tableOf(results)}`);
  if (json) fs.writeFileSync(json, JSON.stringify(results, null, 1));
  if (values['update-docs']) {
    fs.writeFileSync(PAGE, withTable(fs.readFileSync(PAGE, 'utf8'), tableOf(results)));
  }
  const failed = results.filter(({ failures }) => failures.length > 0).length;
  console.log(`\n${results.length - failed} passed, ${failed} failed`);
  process.exitCode = failed > 0 ? 1 : 0;
}

main().catch((error) => {
  console.error(error);
  process.exit(2);
});
