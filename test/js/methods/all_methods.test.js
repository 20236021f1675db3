'use strict';

// Every method of the list with every kind of argument: outcomes.js says what comes of it.

const assert = require('node:assert/strict');
const { describe, it } = require('node:test');
const { createLivePush, scriptedDirectory, sdk } = require('../support/addon');
const { pluginPath } = require('../support/plugins');
const {
  callNames,
  logLines,
  newWrapper,
  newWrapperWithoutPusher,
  useFreshSdk,
} = require('../support/wrapper');
const { METHODS } = require('../../../lib/methods');
const { OUTCOMES, operationOf } = require('./outcomes');

function thrower() {
  throw new Error('from inside an argument');
}

const { proxy: revokedProxy, revoke } = Proxy.revocable({}, {});
revoke();
const throwingObject = Object.defineProperty({}, 'width', { enumerable: true, get: thrower });

/** One value of every kind, by a name of it. */
const VALUES = {
  undefined: undefined,
  null: null,
  true: true,
  false: false,
  'an integer': 5,
  'minus zero': -0,
  'a fraction': 2.5,
  NaN: NaN,
  Infinity: Infinity,
  'a large integer': 2 ** 40,
  'a bigint': 5n,
  'a string': scriptedDirectory, // registPlugin takes it as a directory, the others as any text
  'a symbol': Symbol('s'),
  'an object': {},
  'an object with unknown keys': { unknown: 1, 5: 5 },
  'an object without prototype': Object.create(null),
  'an object with a getter that throws': throwingObject,
  'an object that does not convert': { toString: thrower, valueOf: thrower },
  'an array': [],
  'a function': () => {},
  'a class': class {},
  'a Buffer': Buffer.from('x'),
  'a Date': new Date(0),
  'a boxed number': Object(5),
  'a boxed string': Object('x'),
  'a boxed boolean': Object(true),
  'a proxy': new Proxy({}, {}),
  'a proxy of a function': new Proxy(() => {}, {}),
  'a proxy that throws': new Proxy({}, { ownKeys: thrower, get: thrower }),
  'a revoked proxy': revokedProxy,
  'a wrapper': createLivePush(),
};

const isObject = (value) =>
  (typeof value === 'object' && value !== null) || typeof value === 'function';

/** Whether a value is of a type that the list names. */
const IS = {
  boolean: (value) => typeof value === 'boolean',
  function: (value) => typeof value === 'function',
  integer: (value) => Number.isInteger(value) && Object.is(value | 0, value),
  number: (value) => typeof value === 'number',
  object: isObject,
  'object or null': (value) => value === null || isObject(value),
  string: (value) => typeof value === 'string',
};

/** Makes what an ID shall name, and gives the ID. */
const MAKE = {
  player: (wrapper) => wrapper.initPlayer({}),
  'plug-in': (wrapper) => {
    wrapper.addPlugin({ id: 'plugin', path: pluginPath('recording') });
    return 'plugin';
  },
};
const isId = (type) => type in MAKE;

/** A value that `type` accepts. */
function goodValue(type, wrapper) {
  if (isId(type)) return MAKE[type](wrapper);
  return Object.values(VALUES).find(IS[type]);
}

function assertOutcome(call, expected, message) {
  sdk.forget();
  const result = call();
  const log = logLines().map(([name, text]) => `${name}: ${text}`);
  if (expected.result === 'a player ID') assert.match(result, /^0x[0-9a-f]+$/, message);
  else assert.deepEqual(result, expected.result, message);
  assert.deepEqual(log, expected.log ?? [], message);
  assert.deepEqual(callNames(), expected.calls ?? [], message);
}

const PASSED_ON = { string: 'Kamera №1', number: 7, integer: 4, boolean: true };
const ANSWERS = { status: -42, number: 9, text: 'Kamera №1', boolean: true, nothing: undefined };

/** Whether a method hands single values to the SDK's operation and its answer back. */
function passesOn({ actsOn, takes, returns }) {
  const values = takes.filter((type) => !isId(type));
  const single = values.every((type) => type in PASSED_ON) && returns in ANSWERS;
  return ['pusher', 'player', 'sdk'].includes(actsOn) && single;
}

function assertPassesOn(method, { actsOn, takes, exactly, returns }) {
  const operation = operationOf(actsOn === 'sdk' ? 'base' : actsOn, method);
  const wrapper = newWrapper();
  const values = takes.filter((type) => !isId(type)).map((type) => PASSED_ON[type]);
  const id = takes.length > values.length ? [MAKE[actsOn](wrapper)] : [];
  if (actsOn === 'player') MAKE.player(wrapper); // another one, which is left alone
  sdk.forget();
  const answer = ANSWERS[returns];
  if (answer !== undefined) sdk.answer(operation, answer);
  const further = exactly ? [] : ['one', 'too many'];
  const result = wrapper[method](...id, ...values, ...further);
  assert.equal(result, method === 'stopCamera' ? 0 : answer);
  const [{ self, args }, ...more] = sdk.calls(operation);
  assert.deepEqual(Object.values(args).slice(0, values.length), values);
  if (actsOn === 'player') assert.equal(self, id[0]);
  assert.deepEqual([more, logLines()], [[], []]);
}

/** Outcomes on both kinds of wrappers, by what is said about the arguments. */
function outcomesOf(row) {
  const { accepted, refused, notFound } = row;
  const { withoutPusher = accepted, refusedWithoutPusher = refused } = row;
  return [
    [newWrapper, { accepted, refused, notFound }],
    [newWrapperWithoutPusher, { accepted: withoutPusher, refused: refusedWithoutPusher, notFound }],
  ];
}

/** Calls `method` with the value at `place` replaced by every kind of value, others being good. */
function walkValues(method, row, place) {
  const { accepts = [] } = row;
  for (const [newWrapperOfAKind, outcomes] of outcomesOf(row)) {
    const wrapper = newWrapperOfAKind();
    for (const [name, value] of Object.entries(VALUES)) {
      wrapper.destroyPusher();
      wrapper.releasePluginManager();
      const args = accepts.map((type) => goodValue(type, wrapper));
      args[place] = value;
      const type = accepts[place];
      let outcome = outcomes.accepted;
      if (type && isId(type)) outcome = outcomes.notFound;
      else if (type && !IS[type](value)) outcome = outcomes.refused;
      assertOutcome(() => wrapper[method](...args), outcome, `${name} as argument ${place + 1}`);
    }
  }
}

describe('every method', () => {
  useFreshSdk();

  it('is in the list, in the order of registration', () => {
    const { prototype } = Object.getPrototypeOf(createLivePush()).constructor;
    assert.deepEqual(
      Object.keys(METHODS),
      Object.keys(prototype).filter((key) => key !== 'constructor'),
    );
  });

  it('builds no record of the SDK before there is a pusher', () => {
    const wrapper = newWrapperWithoutPusher();
    const layout = { mixStreams: [{ userId: 'anna' }] };
    sdk.recordStrings();
    for (const [method, { accepts = [] }] of Object.entries(OUTCOMES)) {
      sdk.forget();
      const args = accepts.map((type) => goodValue(type, wrapper));
      if (method === 'setLiveMixTranscodingConfig') args[0] = layout;
      wrapper[method](...args);
      assert.deepEqual([sdk.strings(), sdk.arrays()], [[], []], method);
    }
  });

  for (const [method, row] of Object.entries(OUTCOMES)) {
    const { accepts, exactly } = row;

    if (passesOn(METHODS[method])) {
      it(`${method} passes its arguments on and returns what the SDK returns`, () =>
        assertPassesOn(method, METHODS[method]));
    }

    if (METHODS[method].actsOn === 'pusher') {
      it(`${method} when the SDK returns no pusher`, () => {
        sdk.answer('pusher.Create', null);
        const wrapper = newWrapper();
        const { result, log } = row.withoutPusher;
        const outcome = {
          result,
          log: ['GetLivePusher: Create livePusher failed', ...log],
          calls: ['pusher.Create'],
        };
        const args = accepts.map((type) => goodValue(type, wrapper));
        assertOutcome(() => wrapper[method](...args), outcome, method);
      });
    }

    it(`${method} with too few arguments`, () => {
      for (const [newWrapperOfAKind, outcomes] of outcomesOf(row)) {
        for (let count = 0; count < accepts.length; count += 1) {
          const wrapper = newWrapperOfAKind();
          const args = accepts.slice(0, count).map((type) => goodValue(type, wrapper));
          const outcome = count === 0 && isId(accepts[0]) ? outcomes.notFound : outcomes.refused;
          assertOutcome(() => wrapper[method](...args), outcome, `${count} arguments`);
        }
        if (accepts.length > 0) continue;
        assertOutcome(() => newWrapperOfAKind()[method](), outcomes.accepted, 'no argument');
      }
    });

    it(`${method} with enough arguments and one too many`, () => {
      for (const [newWrapperOfAKind, outcomes] of outcomesOf(row)) {
        for (const further of [[], [undefined], [{}, 5]]) {
          const wrapper = newWrapperOfAKind();
          const args = [...accepts.map((type) => goodValue(type, wrapper)), ...further];
          const outcome = exactly && further.length > 0 ? outcomes.refused : outcomes.accepted;
          assertOutcome(() => wrapper[method](...args), outcome, `${args.length} arguments`);
          wrapper.releasePluginManager();
        }
      }
    });

    for (let place = 0; place < Math.max(accepts.length, 1); place += 1) {
      it(`${method} with every kind of value as argument ${place + 1}`, () =>
        walkValues(method, row, place));
    }
  }
});
