'use strict';

const os = require('node:os');
const { monitorEventLoopDelay } = require('node:perf_hooks');

/**
 * Measures the load of the machine during a benchmark: the load average, and the lateness of this
 * process's timers (99th percentile and worst), which affects players and senders too.
 */
function watchMachine() {
  const delays = monitorEventLoopDelay({ resolution: 5 });
  delays.enable();
  return {
    /** @returns {string} "load, 99 % / worst lateness in ms" */
    stop() {
      delays.disable();
      const ms = (nanoseconds) => Math.max(0, nanoseconds / 1e6 - 5).toFixed(0);
      const late = `${ms(delays.percentile(99))}/${ms(delays.max)}`;
      return `${os.loadavg()[0].toFixed(1)}, ${late} ms`;
    },
  };
}

module.exports = { watchMachine };
