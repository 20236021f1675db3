'use strict';

const fs = require('node:fs');
const os = require('node:os');
const path = require('node:path');
const { runChild } = require('../../tools/rtmp/child');

const SORTS = {
  'by thread': ['comm', 14],
  'by library': ['dso', 14],
  'by function': ['symbol', 30],
};
const SAMPLES_PER_SECOND = 499;

/**
 * Where a process spends its processor time, by thread name, library and function, as perf sees it.
 *
 * @param {number} pid
 * @param {number} seconds
 * @returns {Promise<string>} tables
 * @throws {Error} without perf, or without leave to use it
 */
async function profileProcess(pid, seconds) {
  const folder = fs.mkdtempSync(path.join(os.tmpdir(), 'profile-'));
  const file = path.join(folder, 'perf.data');
  const deadline = { deadlineSeconds: seconds + 60 };
  try {
    const sampling = ['record', '-q', '-F', String(SAMPLES_PER_SECOND), '-o', file];
    await runChild('perf', [...sampling, '-p', String(pid), '--', 'sleep', `${seconds}`], deadline);
    const tables = [];
    for (const [title, [key, lines]] of Object.entries(SORTS)) {
      const layout = ['--stdio', '--no-children', '--sort', key, '-i', file];
      const text = String(await runChild('perf', ['report', '-q', ...layout], deadline));
      const rows = text.split('\n').filter((line) => /^\s*\d/.test(line));
      tables.push([`${title}:`, ...rows.slice(0, lines)].join('\n'));
    }
    return tables.join('\n\n');
  } finally {
    fs.rmSync(folder, { recursive: true, force: true });
  }
}

module.exports = { profileProcess };
