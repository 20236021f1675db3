'use strict';

/**
 * How often a test that repeats itself shall do so: `count` times, or as much less as
 * LUMO_TEST_SCALE says, a number from 0 to 1 for runs in which everything takes longer.
 * @param {number} count
 * @returns {number} at least 1
 */
function scaled(count) {
  return Math.max(1, Math.round(count * Number(process.env.LUMO_TEST_SCALE ?? 1)));
}

module.exports = { scaled };
