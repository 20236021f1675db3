'use strict';

const { inspect } = require('node:util');

/**
 * Several listeners for an event, isolated from each other: an exception of one is reported to the
 * listeners of "error", or becomes a warning of the process when there is none.
 *
 * @typedef {object} Subscription
 * @property {(...args: any[]) => any} listener
 * @property {object} owner its `this`
 * @property {boolean} [once]
 * @property {(...args: any[]) => boolean} [accepts] whether an event is meant for it; default: any
 */
class EventHub {
  /** @type {Map<string, Set<Subscription>>} */
  #subscriptions = new Map();
  #connect;

  /** @param {(name: string) => void} connect begins to receive an event; may throw */
  constructor(connect) {
    this.#connect = connect;
  }

  /**
   * Adds a listener; one added twice is called twice.
   * @param {string} name
   * @param {Subscription} subscription
   * @returns {() => void} removes it again; more calls do nothing
   */
  add(name, subscription) {
    if (typeof subscription.listener !== 'function') {
      throw new TypeError(`The listener of "${name}" must be a function`);
    }
    const subscriptions = this.open(name);
    subscriptions.add(subscription);
    return () => {
      subscriptions.delete(subscription);
    };
  }

  /** Begins to receive an event, unless it does so already. */
  open(name) {
    if (!this.#subscriptions.has(name)) {
      if (name !== 'error') this.#connect(name);
      this.#subscriptions.set(name, new Set());
    }
    return this.#subscriptions.get(name);
  }

  /** Removes every subscription of `listener` that `owner` made for the event. */
  remove(name, listener, owner) {
    const subscriptions = this.#subscriptions.get(name) ?? new Set();
    for (const subscription of subscriptions) {
      if (subscription.listener === listener && subscription.owner === owner) {
        subscriptions.delete(subscription);
      }
    }
  }

  /** Removes the listeners of `owner`, or all if it is left out. */
  clear(owner) {
    for (const subscriptions of this.#subscriptions.values()) {
      for (const subscription of subscriptions) {
        if (owner === undefined || subscription.owner === owner) subscriptions.delete(subscription);
      }
    }
  }

  /** Calls the listeners that were registered at the start and have not been removed since. */
  dispatch(name, args) {
    const subscriptions = this.#subscriptions.get(name) ?? new Set();
    for (const subscription of [...subscriptions]) {
      if (!subscriptions.has(subscription)) continue;
      if (subscription.accepts && !subscription.accepts(...args)) continue;
      if (subscription.once) subscriptions.delete(subscription);
      this.#call(name, subscription, args);
    }
  }

  #call(name, { listener, owner }, args) {
    try {
      const result = listener.apply(owner, args);
      // An async listener may fail later.
      if (typeof result?.then === 'function') {
        Promise.resolve(result).catch((error) => this.#report(name, error));
      }
    } catch (error) {
      this.#report(name, error);
    }
  }

  #report(event, error) {
    const hasListener = this.#subscriptions.get('error')?.size > 0;
    if (event !== 'error' && hasListener) return this.dispatch('error', [{ error, event }]);
    const text = error instanceof Error ? error.stack : inspect(error);
    process.emitWarning(`A listener of "${event}" threw: ${text}`, 'LivePushListenerWarning');
  }
}

module.exports = { EventHub };
