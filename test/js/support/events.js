'use strict';

const { EVENT_NAMES: eventNames } = require('../../../lib/events');
const sdk = require('./scripted_sdk');

function listen(wrapper, name, listener) {
  const result = wrapper.addEventListener(name, listener);
  if (result !== true) throw new Error(`addEventListener('${name}') returned ${result}`);
}

/**
 * Waits for the next event of one name. Replaces the wrapper's listener for it.
 * @param {object} wrapper
 * @param {string} name
 * @param {{hangGuard?: number}} [options] milliseconds after which the promise is rejected
 * @returns {Promise<{args: any[], receiver: any}>} the listener's arguments and its `this`
 */
function nextEvent(wrapper, name, { hangGuard = 30_000 } = {}) {
  return new Promise((resolve, reject) => {
    const timer = setTimeout(() => reject(new Error(`no event '${name}'`)), hangGuard);
    listen(wrapper, name, function onEvent(...args) {
      clearTimeout(timer);
      resolve({ args, receiver: this });
    });
  });
}

/**
 * Collects events from now on. Replaces the wrapper's listeners for them. "onVideoRenderData" is
 * collected only when it is named, since listening for it starts the delivery of frames.
 * @param {object} wrapper
 * @param {string[]} [names]
 * @returns {{name: string, args: any[], receiver: any}[]} grows as events arrive, in their order
 */
function recordEvents(wrapper, names = eventNames.filter((name) => name !== 'onVideoRenderData')) {
  const events = [];
  for (const name of names) {
    listen(wrapper, name, function onEvent(...args) {
      events.push({ name, args, receiver: this });
    });
  }
  return events;
}

function loopTurn() {
  return new Promise((resolve) => {
    setImmediate(resolve);
  });
}

/**
 * Waits until everything that SDK threads have fired so far has reached JavaScript.
 *
 * Once the threads are idle, every event is queued and the event loop is woken for it. Immediates
 * run after the loop has polled for wake-ups; two in a row have one whole poll between them, and
 * that one delivers all that was queued before, of every wrapper.
 */
async function flush() {
  sdk.settle();
  await loopTurn();
  await loopTurn();
}

module.exports = { eventNames, nextEvent, recordEvents, flush };
