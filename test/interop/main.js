'use strict';

// Plays streams of other programs and reports the results.
//
// Usage: node test/interop/main.js [--only REGEX] [--quick] [--list] [--jobs N] [--retries N]
//                                  [--json FILE] [--update-docs] --retries N  plays a failing row
//   up to N more times, which the result states: for a machine with other load

const fs = require('node:fs');
const { parseArgs } = require('node:util');
const { PAGE, writePage } = require('./lib/page');
const { peersThere } = require('./lib/peers');
const { openSuite } = require('./lib/suite');
const { readRows } = require('./rows');

function readArguments() {
  const { values } = parseArgs({
    options: {
      only: { type: 'string', default: '' },
      quick: { type: 'boolean' },
      jobs: { type: 'string', default: '2' },
      retries: { type: 'string', default: '0' },
      json: { type: 'string' },
      list: { type: 'boolean' },
      'update-docs': { type: 'boolean' },
    },
  });
  const pattern = new RegExp(values.only);
  const rows = readRows().filter((row) => pattern.test(row.name) && (!values.quick || row.quick));
  if (rows.length === 0) throw new Error('no such row');
  return { ...values, rows, jobs: Number(values.jobs), retries: Number(values.retries) };
}

/** Plays a row until it passes, or the retries are used up. */
async function runOften(suite, row, retries) {
  const first = await suite.run(row);
  let result = first;
  for (let attempt = 2; result.result === 'failed' && attempt <= retries + 1; attempt += 1) {
    result = await suite.run(row);
    if (result.result === 'failed') continue;
    result.remarks.push(`attempt ${attempt}, the first: ${first.reasons.join('; ')}`);
  }
  return result;
}

const figure = (value, unit) => (value === undefined ? '-' : `${value} ${unit}`);

function print({ name }, { result, reasons, remarks, ours, reference, seconds }, count, all) {
  const first = `${figure(ours.firstMs, 'ms')} (${figure(reference.firstFrameMs ?? reference.firstAudioMs, 'ms')})`;
  const rate = ours.renderFps === undefined ? '' : `${ours.renderFps}/s ${ours.deliveredFps}/s`;
  console.log(
    `${String(count).padStart(3)}/${all} ${result.padEnd(12)} ${name}  ${first} ${rate} ${seconds} s`,
  );
  for (const reason of [...reasons, ...remarks]) console.log(`            ${reason}`);
}

async function main() {
  const { rows, jobs, retries, json, list, ...values } = readArguments();
  if (list) {
    for (const { name } of rows) console.log(name);
    return;
  }
  const peers = peersThere();
  const runnable = rows.filter(({ route }) => (route.needs ?? []).every((peer) => peers.has(peer)));
  const results = {};
  let count = 0;
  const onResult = (row, result) => {
    results[row.name] = result;
    count += 1;
    print(row, result, count, runnable.length);
    if (json) fs.writeFileSync(json, JSON.stringify(results, null, 1));
  };
  const suite = await openSuite({ peers });
  const waiting = [...runnable];
  const work = async () => {
    for (let row = waiting.shift(); row; row = waiting.shift())
      onResult(row, await runOften(suite, row, retries));
  };
  // Ctrl-C ends the run in order, after the rows in progress; twice, immediately.
  process.once('SIGINT', () => waiting.splice(0));
  await Promise.all(Array.from({ length: jobs }, work));
  suite.close();
  if (values['update-docs']) {
    const before = fs.existsSync(PAGE) ? fs.readFileSync(PAGE, 'utf8') : '';
    fs.writeFileSync(PAGE, writePage(readRows(), results, before));
  }
  const failed = Object.values(results).filter(({ result }) => result === 'failed').length;
  const skipped = rows.length - runnable.length;
  console.log(`\n${count - failed} passed, ${failed} failed, ${skipped} without their peer`);
  process.exitCode = failed + skipped > 0 ? 1 : 0;
}

main();
