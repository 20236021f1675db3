'use strict';

const { addonFile, loadError, sdkDirectory } = require('../native');
const { installCommand } = require('../system_libraries');
const checks = require('./checks');

/** @returns {import('./checks').Check[]} all that is known about this system, in reading order */
function examine() {
  const binaries = checks.checkBinaries({ addonFile, sdkDirectory, loadError });
  return [
    checks.checkRuntime(),
    ...binaries,
    ...(process.platform === 'linux' ? [...checks.checkElements(), checks.checkTls()] : []),
    ...(loadError ? [] : checks.checkDevices()),
    ...checks.checkDesktop(),
  ];
}

const MARKS = { ok: 'ok', missing: 'MISSING', none: '-' };

/** @param {import('./checks').Check[]} all @returns {string} a table, and what to do */
function report(all) {
  const width = Math.max(...all.map(({ what }) => what.length));
  const lines = all.map(
    ({ what, state, detail }) => `${what.padEnd(width)}  ${MARKS[state].padEnd(7)}  ${detail}`,
  );
  const packages = all.flatMap((check) => check.packages ?? []);
  if (packages.length > 0) lines.push('', 'On Debian and Ubuntu:', `  ${installCommand(packages)}`);
  return lines.join('\n');
}

/** Prints the table. @returns {number} the exit code: 0 when nothing is missing, else 1 */
function runDoctor() {
  const all = examine();
  console.log(report(all));
  return all.some(({ state }) => state === 'missing') ? 1 : 0;
}

module.exports = { report, runDoctor };
