'use strict';

// A reporter for node:test. Prints one line for each test, and appends each outcome as a line of
// JSON to the file named by LUMO_TEST_RESULTS, at once, so that outcomes survive a crash.
//
// A listener keeps the event loop alive, so a test file cannot end by itself. Node's
// --test-force-exit ends it; where Node has no such option, this reporter does, once every
// top-level test has reported.

const fs = require('node:fs');
const { Transform } = require('node:stream');
const { inspect } = require('node:util');

const mustEndProcess = !process.execArgv.includes('--test-force-exit');

/** @returns {{name: string, outcome: 'pass'|'fail'|'skip', reason?: string} | undefined} */
function outcomeOf(type, { name, skip, todo, details }) {
  const failureType = details.error?.failureType;
  // Its failed children have reported already.
  if (failureType === 'subtestsFailed') return undefined;
  const reason = skip ?? todo;
  if (reason !== undefined && reason !== false) {
    return reason === true || reason === ''
      ? { name, outcome: 'fail', reason: 'skipped without a reason' }
      : { name, outcome: 'skip', reason };
  }
  if (type === 'test:fail') return { name, outcome: 'fail', reason: failureType };
  return details.type === 'suite' ? undefined : { name, outcome: 'pass' };
}

function print({ name, outcome, reason }, { nesting, details }) {
  const mark = { pass: 'ok  ', fail: 'FAIL', skip: 'skip' }[outcome];
  const note = outcome === 'pass' ? `(${Math.round(details.duration_ms)} ms)` : `(${reason})`;
  process.stdout.write(`${'  '.repeat(nesting + 1)}${mark} ${name} ${note}\n`);
  if (outcome !== 'fail' || !details.error) return;
  const text = inspect(details.error.cause ?? details.error);
  process.stdout.write(`${text.replace(/^/gm, '  '.repeat(nesting + 3))}\n`);
}

let pending = 0;
let anyFailed = false;

function report({ type, data }) {
  if (type === 'test:enqueue' && data.nesting === 0) pending += 1;
  if (type !== 'test:pass' && type !== 'test:fail') return;
  const result = outcomeOf(type, data);
  if (result) {
    print(result, data);
    fs.appendFileSync(process.env.LUMO_TEST_RESULTS, `${JSON.stringify(result)}\n`);
    anyFailed ||= result.outcome === 'fail';
  }
  if (data.nesting > 0) return;
  pending -= 1;
  if (pending === 0 && mustEndProcess) setImmediate(() => process.exit(anyFailed ? 1 : 0));
}

module.exports = new Transform({
  writableObjectMode: true,
  transform(event, _encoding, done) {
    report(event);
    done();
  },
});
