'use strict';

const assert = require('node:assert/strict');
const { it } = require('node:test');

// For each type of option: values of that type, what is read from them, and what is read from
// values of any other type.
const TYPES = {
  signed: {
    type: 'number',
    given: [7, -1, 2.9, -2.9, NaN, 2147483648, 4294967297],
    read: [7, -1, 2, -2, 0, -2147483648, 1],
    fallback: -1,
  },
  unsigned: {
    type: 'number',
    given: [7, 0.9, NaN, Infinity, -1, 4294967299.5],
    read: [7, 0, 0, 0, 4294967295, 3],
    fallback: 0,
  },
  boolean: { type: 'boolean', given: [true, false], read: [true, false], fallback: false },
  string: {
    type: 'string',
    given: ['strïng', 'cut\0off', ''],
    read: ['strïng', 'cut', ''],
    fallback: '',
  },
};

const VALUES = [undefined, null, true, 1, '1', 1n, Symbol('s'), {}, [], () => 1].concat(
  [1, '1', true].map(Object),
  Buffer.from('1'),
);

function thrower() {
  throw new Error('from inside an object');
}

function withGetter(key, get) {
  return Object.defineProperty({}, key, { enumerable: true, get });
}

/**
 * Defines the tests that every reader of an option object passes.
 * @param {string} method names the tests
 * @param {{[key: string]: ['signed'|'unsigned'|'boolean'|'string', any]}} keys each key's type and
 *   the value that it has when it is absent
 * @param {(options: object) => object} read passes `options` to the method and returns what the
 *   SDK was given, by key
 */
function itReadsOptions(method, keys, read) {
  const defaults = Object.fromEntries(Object.entries(keys).map(([key, [, value]]) => [key, value]));

  it(`${method}: absent options have their defaults`, () => {
    assert.deepEqual(read({}), defaults);
  });

  for (const [key, [name]] of Object.entries(keys)) {
    const { type, given: values, read: expectations, fallback } = TYPES[name];

    it(`${method} reads "${key}" as ${name}`, () => {
      values.forEach((given, index) => {
        assert.deepEqual(read({ [key]: given }), { ...defaults, [key]: expectations[index] });
      });
    });

    it(`${method}: "${key}" of any other type is ${JSON.stringify(fallback)}`, () => {
      const expected = { ...defaults, [key]: fallback };
      for (const given of VALUES.filter((value) => typeof value !== type)) {
        assert.deepEqual(read({ [key]: given }), expected, String(given));
      }
      assert.deepEqual(read(withGetter(key, thrower)), expected);
    });
  }

  it(`${method} ignores every other key, but runs its getter`, () => {
    const [key] = Object.keys(keys);
    let runs = 0;
    const options = withGetter('unknown', () => {
      runs += 1;
    });
    Object.assign(options, { [`${key} `]: 9, [key.toUpperCase()]: 9, [key.slice(1)]: 9, 0: 9 });
    options[Symbol(key)] = 9;
    assert.deepEqual(read(options), defaults);
    assert.equal(runs, 1);
  });

  it(`${method} sees own enumerable options only`, () => {
    const [key] = Object.keys(keys);
    assert.deepEqual(read(Object.create({ [key]: 9 }, { [key]: { value: 9 } })), defaults);
  });

  it(`${method} takes arrays, functions and proxies, even revoked ones`, () => {
    const { proxy, revoke } = Proxy.revocable({}, {});
    revoke();
    for (const options of [[5], () => {}, new Proxy({}, { ownKeys: thrower }), proxy]) {
      assert.deepEqual(read(options), defaults);
    }
    const [key, [name]] = Object.entries(keys)[0];
    const { given, read: expectations } = TYPES[name];
    const options = new Proxy({ [key]: given[0] }, {});
    assert.deepEqual(read(options), { ...defaults, [key]: expectations[0] });
  });
}

/** Moves a view's memory elsewhere, as posting it to a worker does. */
function detach(view) {
  structuredClone(view.buffer, { transfer: [view.buffer] });
}

/**
 * Defines the tests that every method with a "view" passes: the SDK reads the bytes of the Buffer,
 * so it must not be given the address of bytes that are gone.
 * @param {string} method names the tests
 * @param {(options: object) => {view: string|null}} read passes `options` to the method and
 *   returns what the SDK was given
 */
function itPassesOnlyBytesThatAreThere(method, read) {
  it(`${method}: a later getter that takes the view's memory away makes it null`, () => {
    const view = new Uint8Array(8);
    const options = {
      view,
      get width() {
        detach(view);
        return 5;
      },
    };
    const { view: given, width } = read(options);
    assert.deepEqual([given, width], [null, 5]);
  });

  it(`${method}: a view without bytes is null`, () => {
    const detached = new Uint8Array(8);
    detach(detached);
    const shrunk = new ArrayBuffer(16, { maxByteLength: 16 });
    const outside = new Uint8Array(shrunk, 8);
    const views = [Buffer.alloc(0), new Uint8Array(8).subarray(8), detached];
    if (shrunk.resizable) {
      shrunk.resize(4);
      views.push(outside);
    }
    for (const view of views) assert.equal(read({ view }).view, null);
  });
}

module.exports = { itReadsOptions, itPassesOnlyBytesThatAreThere };
