'use strict';

const assert = require('node:assert/strict');
const { it } = require('node:test');
const { sdk } = require('../support/addon');
const { handlerOf } = require('./arguments');
const { callNames, logLines, newWrapper } = require('../support/wrapper');

/**
 * A method of the pusher hands over what it read, and hands back what the SDK answers. (Bad
 * arguments and a missing pusher are the business of all_methods.test.js.)
 * @param {object} row
 * @param {string} row.method the method, and the pusher's operation of the same name
 * @param {any[]} [row.good] arguments that it accepts
 * @param {object} [row.given] what the SDK is given
 * @param {any} row.answer what the SDK answers
 * @param {any} [row.result] what JavaScript gets, the answer when left out
 */
function itIsAPusherMethod({ method, good = [], given = {}, answer, result = answer }) {
  it(`${method} makes one SDK call and returns its result`, () => {
    sdk.answer(`pusher.${method}`, answer);
    assert.deepEqual(newWrapper()[method](...good, 'one', 'too many'), result);
    assert.deepEqual(callNames(), ['pusher.Create', `pusher.${method}`]);
    assert.deepEqual(sdk.calls(method)[0].args, given);
    assert.deepEqual(logLines(), []);
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
