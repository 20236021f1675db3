'use strict';

const { spawn } = require('node:child_process');

/**
 * A child process.
 *
 * @typedef {object} Child
 * @property {import('node:child_process').ChildProcess} process
 * @property {Promise<string>} ended resolves when it has ended, with the reason and its output to
 *   stderr; never rejects
 * @property {() => Promise<string>} stop terminates it, kills it after two seconds, and waits
 */

/**
 * Starts a program. It runs in a process group of its own, so that Ctrl-C in a terminal reaches
 * only this process, which then shuts down in order; and on Linux the kernel kills it when this
 * process dies, for whatever reason.
 *
 * @param {string} command
 * @param {string[]} args
 * @returns {Child}
 */
function startChild(command, args) {
  const line = [command, ...args];
  if (process.platform === 'linux') line.unshift('setpriv', '--pdeathsig', 'KILL');
  const child = spawn(line[0], line.slice(1), {
    detached: true,
    stdio: ['ignore', 'pipe', 'pipe'],
    // A preloaded sanitizer runtime is for this process only.
    env: { ...process.env, LD_PRELOAD: '' },
  });

  let errors = '';
  child.stderr.setEncoding('utf8').on('data', (text) => {
    errors = (errors + text).slice(-10_000);
  });
  const ended = new Promise((resolve) => {
    child.once('error', (error) => resolve(`${command}: ${error.message}`));
    child.once('close', (code, signal) =>
      resolve(`${command}: ${signal ? `ended by ${signal}` : `exit code ${code}`}\n${errors}`),
    );
  });

  async function stop() {
    child.kill('SIGTERM');
    const insist = setTimeout(() => child.kill('SIGKILL'), 2000);
    const reason = await ended;
    clearTimeout(insist);
    return reason;
  }

  return { process: child, ended, stop };
}

/**
 * Runs a program to its end.
 *
 * @param {string} command
 * @param {string[]} args
 * @param {object} options
 * @param {number} options.deadlineSeconds it is ended after that time
 * @returns {Promise<Buffer>} what it wrote to standard output
 * @throws {Error} when it fails or takes too long
 */
async function runChild(command, args, { deadlineSeconds }) {
  const child = startChild(command, args);
  const chunks = [];
  child.process.stdout.on('data', (chunk) => chunks.push(chunk));
  const deadline = setTimeout(() => child.stop(), deadlineSeconds * 1000);
  const reason = await child.ended;
  clearTimeout(deadline);
  if (child.process.exitCode !== 0) throw new Error(reason);
  return Buffer.concat(chunks);
}

module.exports = { runChild, startChild };
