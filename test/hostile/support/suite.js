'use strict';

const assert = require('node:assert/strict');
const fs = require('node:fs');
const os = require('node:os');
const path = require('node:path');
const { after, before, describe, it } = require('node:test');
const { runChild } = require('../../../tools/rtmp/child');
const { runCase } = require('./case');

const JOBS = 3;
const ROLES = ['push', 'play'];

/**
 * @param {import('./case').Row[]} rows
 * @returns {{name: string, row: import('./case').Row, role: string}[]}
 */
const casesOf = (rows) =>
  rows.flatMap((row) =>
    ROLES.filter((role) => row[role]).map((role) => ({ name: `${role}: ${row.name}`, row, role })),
  );

/** A second of video and audio, which applications play to load what playing needs. */
async function makeClip(folder) {
  const file = path.join(folder, 'clip.mp4');
  const options = [
    ...['-v', 'error', '-f', 'lavfi', '-i', 'testsrc2=size=320x180:rate=15'],
    ...['-f', 'lavfi', '-i', 'sine=sample_rate=48000', '-t', '1', '-pix_fmt', 'yuv420p'],
    ...['-c:v', 'libx264', '-preset', 'veryfast', '-c:a', 'aac', '-y', file],
  ];
  await runChild('ffmpeg', options, { deadlineSeconds: 60 });
  return file;
}

/** State shared by all cases of a run. */
async function openSuite() {
  const folder = fs.mkdtempSync(path.join(os.tmpdir(), 'hostile-'));
  const clip = await makeClip(folder);
  return {
    run: ({ row, role }) => runCase({ row, role, clip }),
    close: () => fs.rmSync(folder, { recursive: true }),
  };
}

/** Declares the quick ones of these rows as tests. */
function testQuickRows(title, rows) {
  describe(title, { timeout: 240_000, concurrency: JOBS }, () => {
    let suite;
    before(async () => {
      suite = await openSuite();
    });
    after(() => suite.close());

    for (const each of casesOf(rows.filter(({ quick }) => quick))) {
      it(each.name, async () => {
        const { failures } = await suite.run(each);
        assert.deepEqual(failures, []);
      });
    }
  });
}

module.exports = { JOBS, casesOf, openSuite, testQuickRows };
