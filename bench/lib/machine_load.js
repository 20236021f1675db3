'use strict';

const os = require('node:os');
const { monitorEventLoopDelay } = require('node:perf_hooks');

/**
 * How busy the machine is while something is measured: the load average, and by how much timers of
 * this process are late (99th percentile and worst), which is what players and senders suffer too.
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
