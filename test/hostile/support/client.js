'use strict';

const { fork } = require('node:child_process');
const { EventEmitter, once } = require('node:events');
const fs = require('node:fs');
const path = require('node:path');
const { setTimeout: sleep } = require('node:timers/promises');

const WARM_UP_MS = 30_000;
// An action that takes longer counts as hanging.
const ACTION_MS = 5000;

/** The current resource usage of a process; `peakMib` since resetPeak(). */
function usageOf(pid) {
  const status = fs.readFileSync(`/proc/${pid}/status`, 'utf8');
  const mib = (name) => Number(status.match(new RegExp(`${name}:\\s+(\\d+)`))[1]) / 1024;
  const threads = fs.readdirSync(`/proc/${pid}/task`).flatMap((task) => {
    try {
      return [fs.readFileSync(`/proc/${pid}/task/${task}/comm`, 'utf8').trim()];
    } catch {
      return []; // it has just ended
    }
  });
  return {
    mib: mib('VmRSS'),
    peakMib: mib('VmHWM'),
    descriptors: fs.readdirSync(`/proc/${pid}/fd`).length,
    threads: threads.length,
    threadNames: threads.sort(),
  };
}

/** Resets the kernel's record of a process's peak memory. */
const resetPeak = (pid) => fs.writeFileSync(`/proc/${pid}/clear_refs`, '5');

/** Waits until no more threads of the warm-up end. */
async function settle(pid) {
  let threads = 0;
  for (let level = 0; level < 5; level += 1) {
    await sleep(100);
    const now = usageOf(pid).threads;
    if (now !== threads) level = 0;
    threads = now;
  }
}

/**
 * Starts the application of one case and waits until it is warm.
 *
 * @param {object} options
 * @param {'push' | 'play'} options.role
 * @param {object} options.settings extra configuration
 * @param {string} options.clip
 */
async function startClient({ role, settings, clip }) {
  const file = path.join(__dirname, 'client_process.js');
  const child = fork(file, [role, JSON.stringify(settings), clip], {
    execArgv: ['--expose-gc'],
    stdio: ['ignore', 'ignore', 'pipe', 'ipc'],
    env: { ...process.env, NODE_OPTIONS: '' },
  });
  const messages = new EventEmitter();
  messages.setMaxListeners(0);
  let output = '';
  child.stderr.setEncoding('utf8').on('data', (text) => {
    output = (output + text).slice(-10_000);
  });
  child.on('message', (message) => messages.emit(message.done ?? message.event, message));
  const ended = new Promise((resolve) => {
    child.once('exit', (code, signal) => {
      resolve({ code, signal, at: performance.now() });
      messages.emit('ended');
    });
  });

  const client = {
    pid: child.pid,
    output: () => output,
    usage: () => usageOf(child.pid),
    resetPeak: () => resetPeak(child.pid),

    /**
     * The next event or answer of that name; undefined if none arrives in time, or if the process
     * ends.
     */
    async next(name, timeoutMs) {
      const limit = AbortSignal.timeout(timeoutMs);
      const end = new AbortController();
      const signal = AbortSignal.any ? AbortSignal.any([limit, end.signal]) : limit;
      const onEnd = () => end.abort();
      messages.once('ended', onEnd);
      try {
        return (await once(messages, name, { signal }))[0];
      } catch {
        return undefined;
      } finally {
        messages.off('ended', onEnd);
      }
    },

    /**
     * @returns {Promise<{ms: number, result: unknown} | undefined>} undefined: it has not ended
     */
    async act(action, options) {
      const done = client.next(action, ACTION_MS);
      if (child.connected) child.send({ do: action, ...options });
      return done;
    },

    /**
     * Makes it call process.exit(). @returns {Promise<number>} ms; Infinity when it had to be
     * killed
     */
    async exit() {
      const exiting = client.next('exiting', ACTION_MS);
      child.send({ do: 'exit' });
      if (!(await exiting)) return Infinity;
      const began = performance.now();
      const timer = setTimeout(() => child.kill('SIGKILL'), ACTION_MS);
      const { code, at } = await ended;
      clearTimeout(timer);
      return code === 0 ? at - began : Infinity;
    },

    async kill() {
      child.kill('SIGKILL');
      await ended;
    },
  };
  if (!(await client.next('warm', WARM_UP_MS))) {
    await client.kill();
    throw new Error(`the application did not start: ${output}`);
  }
  await settle(child.pid);
  return client;
}

module.exports = { startClient, usageOf };
