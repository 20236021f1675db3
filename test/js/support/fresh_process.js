'use strict';

const assert = require('node:assert/strict');
const { spawnSync } = require('node:child_process');
const path = require('node:path');

const PRELUDE = `
  const { addon, createLivePush, flush, recordEvents, scriptedDirectory, sdk } =
    require(${JSON.stringify(path.join(__dirname, 'addon.js'))});
  const wrapper = createLivePush();`;

/**
 * Runs a script in a process of its own, with what support/addon.js offers and one new `wrapper`.
 * A script that brings a listener into being must end its process itself.
 * @param {string} script
 * @param {{env?: object}} [options] variables to add to the environment
 */
function runScript(script, { env } = {}) {
  return spawnSync(process.execPath, ['--expose-gc', '-e', `${PRELUDE}\n${script}`], {
    encoding: 'utf8',
    env: { ...process.env, ...env },
    timeout: 60_000,
  });
}

/** Runs a script as runScript() does; returns what it wrote to standard output. */
function outputOf(script, options) {
  const { status, signal, stdout, stderr } = runScript(script, options);
  assert.deepEqual([status, signal], [0, null], stderr);
  return stdout;
}

module.exports = { runScript, outputOf };
