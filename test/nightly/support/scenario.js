'use strict';

const { fork } = require('node:child_process');
const path = require('node:path');
const { usageOf } = require('../../hostile/support/client');

/**
 * Runs a script of this folder in a process of its own, which sends messages and ends by itself.
 *
 * @param {string} name
 * @param {string[]} args
 * @param {object} options
 * @param {number} options.deadlineSeconds it is killed after that time, and has failed
 * @param {object} [options.env]
 * @param {string[]} [options.launcher] a program, with its arguments, that becomes the process
 * @param {(message: object, usage: () => object) => void} [options.onMessage]
 * @returns {Promise<string[]>} what went wrong
 */
function runScenario(name, args, { deadlineSeconds, env, launcher, onMessage = () => {} }) {
  const script = path.join(__dirname, name);
  const [command, ...before] = launcher ?? [];
  const child = fork(script, args, {
    execPath: command ?? process.execPath,
    execArgv: launcher ? [...before, process.execPath, '--expose-gc'] : ['--expose-gc'],
    env: env ?? process.env,
    stdio: ['ignore', 'ignore', 'pipe', 'ipc'],
    timeout: deadlineSeconds * 1000,
    killSignal: 'SIGKILL',
  });
  let errors = '';
  child.stderr.setEncoding('utf8').on('data', (text) => {
    errors = (errors + text).slice(-4000);
  });
  child.on('message', (message) => onMessage(message, () => usageOf(child.pid)));
  return new Promise((resolve) => {
    child.once('error', (error) => resolve([error.message]));
    child.once('close', (code, signal) => {
      if (code === 0) return resolve([]);
      const reason = signal ? `ended by ${signal}` : `exit code ${code}`;
      return resolve([`${reason} ${errors.match(/^.*Error: .*$/m)?.[0] ?? ''}`.trim()]);
    });
  });
}

module.exports = { runScenario };
