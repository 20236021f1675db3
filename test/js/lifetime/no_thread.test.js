'use strict';

// Listeners for frames where the system starts no thread that could look for frames.

const assert = require('node:assert/strict');
const { execFileSync, fork } = require('node:child_process');
const path = require('node:path');
const { describe, it } = require('node:test');

const NEEDS_ROOT = process.getuid() !== 0 && 'only root can become a user with a limit of its own';

/** As the user whose process it is: root itself may lack the right in a container. */
function limitThreads(pid, count) {
  const user = ['--reuid=60999', '--regid=60999', '--clear-groups'];
  execFileSync('setpriv', [...user, 'prlimit', '--pid', String(pid), `--nproc=${count}:1000`]);
}

const ACTIONS = { limit: 0, lift: 1000 };

/** @returns {Promise<object>} the process's last message */
function runLimited() {
  const child = fork(path.join(__dirname, 'no_thread_process.js'), { timeout: 60_000 });
  return new Promise((resolve, reject) => {
    child.on('message', (message) => {
      if (!(message in ACTIONS)) return resolve(message);
      limitThreads(child.pid, ACTIONS[message]);
      return child.send('done');
    });
    child.once('close', (code, signal) => reject(new Error(`ended by ${signal ?? code}`)));
  });
}

describe('a listener for frames without a thread', { skip: NEEDS_ROOT }, () => {
  it('stays registered, and gets frames once a later registration starts the thread', async () => {
    const { result, lines, frames } = await runLimited();
    assert.equal(result, true);
    assert.match(lines.join('\n'), /no thread for %s: %s .*onVideoRenderData/);
    assert.equal(frames, 1);
  });
});
