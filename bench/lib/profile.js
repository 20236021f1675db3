'use strict';

const fs = require('node:fs');
const os = require('node:os');
const path = require('node:path');
const { runChild } = require('../../tools/rtmp/child');

// Title: perf's key, and how many lines are shown.
const SORTS = {
  'by thread': ['comm', 14],
  'by library': ['dso', 14],
  'by function': ['symbol', 30],
};
const SAMPLES_PER_SECOND = 499;

/**
 * Profiles a process with perf: its processor time by thread name, library and function.
 *
 * @param {number} pid
 * @param {number} seconds
 * @returns {Promise<string>} tables
 * @throws {Error} without perf, or without permission to use it
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
      tables.push([`${title}:`, ...merged(text).slice(0, lines)].join('\n'));
    }
    return tables.join('\n\n');
  } finally {
    fs.rmSync(folder, { recursive: true, force: true });
  }
}

/** Merges perf's rows that differ in a number only: threads of a kind are numbered. */
function merged(text) {
  const shares = new Map();
  for (const line of text.split('\n')) {
    const [, percent, rest] = line.match(/^\s*([\d.]+)%\s+(.*?)(?:\s+-\s+-)?\s*$/) ?? [];
    if (!percent) continue;
    const name = /0x/.test(rest) ? rest : rest.replace(/(?<=[a-z])\d+/g, 'N');
    shares.set(name, (shares.get(name) ?? 0) + Number(percent));
  }
  const sorted = [...shares].sort(([, a], [, b]) => b - a);
  return sorted.map(([name, share]) => `${share.toFixed(1).padStart(6)} %  ${name}`);
}

module.exports = { profileProcess };
