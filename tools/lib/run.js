'use strict';

const { spawn } = require('node:child_process');
const os = require('node:os');
const { root } = require('./project');

/**
 * Runs a program in the project's root and waits for it. Never rejects: for a program that cannot
 * be started the result is not ok, with the reason.
 *
 * @param {string} command
 * @param {string[]} args
 * @param {object} [options]
 * @param {NodeJS.ProcessEnv} [options.env] added to this process's environment
 * @param {boolean} [options.capture] collect what it prints instead of showing it
 * @param {boolean} [options.background] run it at low priority
 * @param {number} [options.deadlineSeconds] kill it after that time: a guard against hangs
 * @returns {Promise<{ok: boolean, output: string, reason: string}>} `reason` says why it is not ok
 */
function run(command, args, { env, capture = false, background = false, deadlineSeconds } = {}) {
  return new Promise((resolve) => {
    const child = spawn(command, args, {
      cwd: root,
      env: { ...process.env, ...env },
      stdio: capture ? ['ignore', 'pipe', 'pipe'] : ['ignore', 'inherit', 'inherit'],
      timeout: deadlineSeconds && deadlineSeconds * 1000,
      killSignal: 'SIGKILL',
    });
    if (background && child.pid) os.setPriority(child.pid, os.constants.priority.PRIORITY_LOW);
    let output = '';
    for (const stream of [child.stdout, child.stderr]) {
      stream?.setEncoding('utf8').on('data', (text) => {
        output += text;
      });
    }
    let drained;
    const end = (code, signal) => {
      clearTimeout(drained);
      child.stdout?.destroy();
      child.stderr?.destroy();
      const reason = signal ? `ended by ${signal}` : `exit code ${code}`;
      resolve({ ok: code === 0, output, reason });
    };
    child.once('error', (error) => resolve({ ok: false, output, reason: error.message }));
    child.once('close', end);
    // Its own child processes may outlive it and keep the pipes open.
    child.once('exit', (code, signal) => {
      drained = setTimeout(end, 2000, code, signal);
    });
  });
}

module.exports = { run };
