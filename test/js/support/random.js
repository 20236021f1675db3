'use strict';

/** Random numbers that a seed determines, by Marsaglia's xorshift of 32 bits. */
class Random {
  #state;

  /** @param {number} seed an unsigned 32-bit integer; 0 counts as 1 */
  constructor(seed) {
    this.#state = seed >>> 0 || 1;
  }

  /** @returns {number} an integer from 1 to 2^32 - 1 */
  next() {
    let x = this.#state;
    x ^= x << 13;
    x ^= x >>> 17;
    x ^= x << 5;
    this.#state = x >>> 0;
    return this.#state;
  }

  /** @returns {number} an integer from 0 to `limit` - 1 */
  below(limit) {
    return this.next() % limit;
  }

  /** @returns {boolean} true once in `times` */
  once(times) {
    return this.below(times) === 0;
  }

  /** One of a list's items. */
  pick(list) {
    return list[this.below(list.length)];
  }
}

module.exports = { Random };
