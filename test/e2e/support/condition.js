'use strict';

/**
 * Waits for conditions that change only when something arrives, for example a frame: they are
 * checked at each arrival instead of being polled.
 */
function createCondition() {
  let waiters = [];
  return {
    /** Something has arrived. */
    changed() {
      const due = waiters.filter(({ condition }) => condition());
      waiters = waiters.filter((waiter) => !due.includes(waiter));
      for (const { resolve } of due) resolve();
    },
    /** Resolves as soon as `condition()` holds, at once or at an arrival. */
    async until(condition) {
      if (condition()) return;
      await new Promise((resolve) => waiters.push({ condition, resolve }));
    },
  };
}

module.exports = { createCondition };
