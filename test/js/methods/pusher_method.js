'use strict';

const assert = require('node:assert/strict');
const { it } = require('node:test');
const { sdk } = require('../support/addon');
const { handlerOf } = require('./arguments');
const { callNames, logLines, newWrapper, newWrapperWithoutPusher } = require('../support/wrapper');

/**
 * Defines the tests that every method of the pusher passes.
 * @param {object} row
 * @param {string} row.method the method, and the pusher's operation of the same name
 * @param {any[]} [row.good] arguments that it accepts
 * @param {boolean} [row.exact] whether it refuses further arguments; else it ignores them
 * @param {object} [row.given] what the SDK is given
 * @param {any} row.answer what the SDK answers
 * @param {any} [row.result] what JavaScript gets, the answer when left out
 * @param {any} row.failure what JavaScript gets for refused arguments and without a pusher
 * @param {any[][]} [row.bad] argument lists that it refuses
 * @param {string} [row.message] the log line for them, the handler's name when left out
 */
function itIsAPusherMethod(row) {
  const { method, good = [], exact = false, given = {}, answer, result = answer } = row;
  const { failure, bad = [], message = handlerOf(method) } = row;
  const handler = handlerOf(method);

  it(`${method} makes one SDK call and answers its result`, () => {
    sdk.answer(`pusher.${method}`, answer);
    const further = exact ? [] : ['one', 'too many'];
    assert.deepEqual(newWrapper()[method](...good, ...further), result);
    assert.deepEqual(callNames(), ['pusher.Create', `pusher.${method}`]);
    assert.deepEqual(sdk.calls(method)[0].args, given);
    assert.deepEqual(logLines(), []);
  });

  it(`${method} without a pusher answers ${JSON.stringify(failure)} and logs`, () => {
    assert.deepEqual(newWrapperWithoutPusher()[method](...good), failure);
    assert.deepEqual(logLines(), [[handler, `GetLivePusher failed: ${handler}`]]);
    sdk.answer('pusher.Create', null);
    assert.deepEqual(newWrapper()[method](...good), failure);
    assert.deepEqual(logLines().slice(1), [
      ['GetLivePusher', 'Create livePusher failed'],
      [handler, `GetLivePusher failed: ${handler}`],
    ]);
    assert.deepEqual(callNames(), ['pusher.Create']);
  });

  if (bad.length === 0) return;
  it(`${method} refuses bad arguments, logs "${message}", and looks no pusher up`, () => {
    const wrapper = newWrapper();
    for (const args of bad) assert.equal(wrapper[method](...args), failure);
    assert.deepEqual(logLines(), Array(bad.length).fill([handler, message]));
    assert.deepEqual(callNames(), []);
  });
}

/**
 * A getter that destroys the pusher in use must lead to the failure path, not to a dead pusher.
 * @param {string} method
 * @param {string} key an option that the method reads
 * @param {any} failure what the method answers without a pusher
 */
function itSurvivesTheEndOfThePusher(method, key, failure) {
  it(`${method}: a getter that destroys the pusher leads to the failure path`, () => {
    const wrapper = newWrapper();
    const options = Object.defineProperty({}, key, {
      enumerable: true,
      get: () => wrapper.destroyPusher(),
    });
    assert.equal(wrapper[method](options), failure);
    assert.equal(sdk.calls(`pusher.${method}`).length, 0);
    const handler = handlerOf(method);
    assert.deepEqual(logLines(), [[handler, `GetLivePusher failed: ${handler}`]]);
  });
}

module.exports = { itIsAPusherMethod, itSurvivesTheEndOfThePusher };
