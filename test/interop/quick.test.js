'use strict';

// The quick rows of the interoperability suite, and its page in docs/.

const assert = require('node:assert/strict');
const fs = require('node:fs');
const { after, before, describe, it } = require('node:test');
const { PAGE, keyOf, readPage } = require('./lib/page');
const { peersThere } = require('./lib/peers');
const { openSuite } = require('./lib/suite');
const { readRows } = require('./rows');

const JOBS = 2;

// Other programs may run beside a test run; the whole suite has no such allowance.
const ALLOWANCE = { firstFrameMs: 300, silenceMs: 60 };

describe('playing streams of other senders', { timeout: 240_000, concurrency: JOBS }, () => {
  let suite;
  before(async () => {
    suite = await openSuite({ peers: peersThere(), allowance: ALLOWANCE });
  });
  after(() => suite.close());

  for (const row of readRows().filter(({ quick }) => quick)) {
    it(row.name, async () => {
      // Repeated once on failure: the checks depend on real time, on a machine that may be busy.
      const first = await suite.run(row);
      const { result, reasons } = first.result === 'ok' ? first : await suite.run(row);
      assert.equal(result, 'ok', reasons.join('; '));
    });
  }
});

describe('the compatibility page', () => {
  it('has every row of the suite, and no other', () => {
    const listed = readPage(fs.readFileSync(PAGE, 'utf8'));
    assert.deepEqual([...listed.keys()].sort(), readRows().map(keyOf).sort());
  });
});
