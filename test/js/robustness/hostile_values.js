'use strict';

/*
 * Values that mean harm, made at random. Makers take a world: its `random` numbers, and its act(),
 * which getters, traps and conversions call: it does something to the very objects in use, and it
 * may throw.
 *
 * A null, an undefined or a hole in "mixStreams" ends the process, as documented, so that key is
 * never given an array with one.
 */

const vm = require('node:vm');
const { OPTION_KEYS } = require('./option_keys');

const MIX_STREAM = ['userId', 'x', 'y', 'width', 'height', 'zOrder'];

const OTHER_KEYS = ['unknown', '__proto__', 'constructor', '', 'a\0b', Symbol('key')];

const PRIMITIVES = [
  ...[undefined, null, true, false, 0, -0, 1, 5, 640, 2.5, -1, -2.9, NaN, Infinity, -Infinity],
  ...[2 ** 31, 2 ** 31 - 1, -(2 ** 31) - 1, 2 ** 32, 2 ** 53, 1e308, 5e-324],
  ...[0n, -(2n ** 70n), Symbol('s'), Symbol.iterator],
];

const TEXTS = [
  ...['', 'text', 'tëxt', '\u{1f600}', '\ud800', '\udc00tail', '\0', 'cut\0off', '%s%n%d%'],
  ...['__proto__', 'undefined', '-1', 'rtmp://host/app/stream', '0x1', '../..', '/', '.so'],
];
const LONG_TEXTS = ['x'.repeat(2 ** 20 + 1), '\u00eb\ud800'.repeat(2 ** 19 + 1)];

function text({ random }) {
  if (!random.once(400)) return random.pick(TEXTS);
  // Joined, so that the engine holds pieces that the add-on makes it put together.
  return random.pick(LONG_TEXTS) + random.below(10);
}

const wasmMemory = new WebAssembly.Memory({ initial: 1 });

/** Views of every kind of memory; that of some of them has gone. */
const VIEWS = [
  () => Buffer.from([1, 2, 3, 4, 5, 6, 7, 8]),
  () => Buffer.alloc(0),
  () => new Uint8Array(64).subarray(64),
  () => new DataView(new ArrayBuffer(16), 8),
  () => new Float64Array(2),
  () => new BigInt64Array(new SharedArrayBuffer(16)),
  () => new Uint8Array(wasmMemory.buffer),
  () => {
    const buffer = new ArrayBuffer(16, { maxByteLength: 1 << 20 });
    const view = new Uint8Array(buffer, 8);
    buffer.resize?.(1); // on older runtimes the buffer has a fixed length
    return view;
  },
  () => {
    const view = new Uint8Array(16);
    structuredClone(view.buffer, { transfer: [view.buffer] });
    return view;
  },
];

function view(world) {
  const made = world.random.pick(VIEWS)();
  world.lastView = made;
  return made;
}

const otherContext = vm.createContext();

/** What options are read from: new objects of every kind. */
const BASES = [
  () => ({}),
  () => Object.create(null),
  () => Object.create({ width: 5, id: 'inherited' }),
  () => Object.assign(Array(3), { 2: 'behind holes' }),
  () => Object.assign([], { 4294967294: 'far' }),
  () => () => {},
  () => class {},
  () => new Date(NaN),
  () => new Map([['width', 5]]),
  () => Object('boxed'),
  () => Object(5n),
  () => Promise.resolve(),
  () => new Float32Array(3),
  () => new Error('an error'),
  () => vm.runInContext('({ width: 5 })', otherContext),
];

function hostileTraps(world) {
  const { random } = world;
  const traps = {
    ownKeys: (target) => {
      world.act();
      return random.pick([5, ['a', 'a'], ['width', 'id'], Reflect.ownKeys(target)]);
    },
    get: (_, key) => {
      world.act();
      return property(world, key);
    },
    getOwnPropertyDescriptor: (target, key) => {
      world.act();
      return random.once(2)
        ? { value: property(world, key), enumerable: true, configurable: true }
        : Reflect.getOwnPropertyDescriptor(target, key);
    },
    getPrototypeOf: () => {
      world.act();
      return null;
    },
  };
  for (const name of Object.keys(traps)) if (random.once(2)) delete traps[name];
  return traps;
}

function revoked() {
  const { proxy, revoke } = Proxy.revocable({}, {});
  revoke();
  return proxy;
}

/** An object that options with `keys` are read from. */
function options(world, keys) {
  const { random } = world;
  const object = random.once(3) ? random.pick(BASES)() : {};
  for (let count = random.below(5); count > 0; count -= 1) {
    const key = random.once(6) ? random.pick(OTHER_KEYS) : random.pick(keys);
    const get = () => {
      world.act();
      return property(world, key);
    };
    const value = random.once(3) ? { get } : { value: property(world, key) };
    Object.defineProperty(object, key, { ...value, enumerable: true, configurable: true });
  }
  if (random.once(10)) Object.preventExtensions(object);
  if (random.once(10)) hostileConversions(world, object);
  return random.once(8) ? new Proxy(object, hostileTraps(world)) : object;
}

function hostileConversions(world, object) {
  const convert = () => {
    world.act();
    return {}; // of no use to any conversion
  };
  for (const name of ['toString', 'valueOf', 'toJSON', Symbol.toPrimitive]) {
    Reflect.defineProperty(object, name, { value: convert, configurable: true });
  }
}

/** A layout's streams, or a value that cannot be one. */
function mixStreams(world) {
  const { random } = world;
  if (random.once(4)) {
    return random.pick([...PRIMITIVES, text(world), revoked(), new Proxy([null], {}), { 0: null }]);
  }
  const streams = [];
  for (let index = 0; index < random.below(5); index += 1) {
    const stream = random.once(4) ? (random.pick(PRIMITIVES) ?? 5) : options(world, MIX_STREAM);
    const get = () => {
      if (random.once(4)) streams.length = index + 1;
      world.act();
      return stream;
    };
    Object.defineProperty(streams, index, {
      enumerable: true,
      configurable: true,
      ...(random.once(3) ? { get } : { value: stream }),
    });
  }
  return streams;
}

/** The value of an option. */
function property(world, key) {
  const { random } = world;
  if (key === 'mixStreams') return mixStreams(world);
  if (key === 'view' && !random.once(3)) return view(world);
  if (key === 'path' && !random.once(3)) return world.pluginPath();
  if (key === 'id' && !random.once(3)) return world.pluginId();
  return any(world);
}

/** Any value at all. */
function any(world) {
  const { random } = world;
  const kind = random.below(16);
  if (kind < 8) return random.pick(PRIMITIVES);
  if (kind < 11) return text(world);
  if (kind < 12) return random.once(2) ? view(world) : revoked();
  if (kind < 13) return world.wrapper;
  return options(world, random.pick(Object.values(OPTION_KEYS)));
}

/** For each type that the list of methods names, a value that a method accepts. */
const ACCEPTED = {
  boolean: ({ random }) => random.once(2),
  function: (world) => world.listener(),
  integer: ({ random }) => random.next() | 0,
  number: ({ random }) => random.pick(PRIMITIVES.filter((value) => typeof value === 'number')),
  object: (world, method) => options(world, OPTION_KEYS[method]),
  'object or null': (world, method) =>
    world.random.once(20) ? null : options(world, OPTION_KEYS[method]),
  string: (world, method) => world.textFor(method) ?? text(world),
  player: (world) => world.playerId(),
  'plug-in': (world) => world.pluginId(),
};

/**
 * Arguments for a method: mostly of the types that it accepts, but of what they are made of, and of
 * their number, nothing is certain.
 * @param {string[]} accepts
 */
function hostileArguments(world, method, accepts) {
  const { random } = world;
  const args = accepts.map((type) => (random.once(6) ? any(world) : ACCEPTED[type](world, method)));
  if (random.once(20)) args.length = random.below(args.length + 1);
  if (random.once(12)) args.push(any(world), any(world));
  return args;
}

module.exports = { any, hostileArguments };
