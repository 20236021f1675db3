'use strict';

const { fork } = require('node:child_process');
const { once } = require('node:events');
const path = require('node:path');

const PROGRAM = path.join(__dirname, 'our_player_process.js');

/** In addition to the player's own limits, a guard against a process that hangs. */
const GUARD_SECONDS = 15;

/**
 * A process that is ready to play one stream with the players of this project.
 *
 * @param {NodeJS.ProcessEnv} env added to its environment
 * @param {string} clip a file that is played briefly before
 * @param {string} certificates a file with the authorities to be trusted
 * @returns {Promise<{play: (order: object) => Promise<object>, stop: () => void}>}
 */
async function openOurPlayer(env, clip, certificates) {
  const child = fork(PROGRAM, [clip, certificates], {
    env: { ...process.env, ...env },
    stdio: ['ignore', 'ignore', 'pipe', 'ipc'],
  });
  let errors = '';
  child.stderr.setEncoding('utf8').on('data', (text) => {
    errors = (errors + text).slice(-4000);
  });
  const ended = new Promise((resolve) => {
    child.once('close', (code, signal) =>
      resolve({ crash: `${signal ?? `exit code ${code}`} ${errors}`.trim() }),
    );
  });
  const answer = () => Promise.race([once(child, 'message').then(([message]) => message), ended]);
  const first = await answer();
  if (first !== 'ready') throw new Error(`our player does not start: ${first.crash}`);

  return {
    /** Resolves with an OurReport, or with {crash} if the process crashed. */
    async play(order) {
      const seconds = order.seconds + order.timeoutSeconds + GUARD_SECONDS;
      const guard = setTimeout(() => child.kill('SIGKILL'), seconds * 1000);
      const reply = answer();
      child.send(order);
      const report = await reply;
      clearTimeout(guard);
      return report;
    },
    stop: () => child.kill('SIGKILL'),
  };
}

module.exports = { openOurPlayer };
