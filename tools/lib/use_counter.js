'use strict';

// Preloaded into every process of a counted test run, including those that tests start: records
// which test calls which native method and receives which event. Each first time is a line of JSON,
// [kind, name, test], in the file that LUMO_USES names. Kinds: "method", a call that came back;
// "event", a call of a listener; "listens", a listener for a name.

const fs = require('node:fs');
const path = require('node:path');

// Also passes the name of the test to a process that it starts.
const RUNNING = 'LUMO_RUNNING_TEST';

const noted = new Set();

function note(kind, name) {
  const test = process.env[RUNNING];
  const line = `${JSON.stringify([kind, name, test])}\n`;
  if (!test || noted.has(line)) return;
  noted.add(line);
  fs.appendFileSync(process.env.LUMO_USES, line);
}

// ---------------------------------------------------------------------------------- which test

const defined = new Map();

/** The test's name, with its file, made unique. */
function identityOf(name) {
  const text = `${path.basename(process.argv[1])}: ${name}`;
  const times = (defined.get(text) ?? 0) + 1;
  defined.set(text, times);
  return times > 1 ? `${text} (${times})` : text;
}

/** Runs `body` as a part of a test; hooks are not counted. */
function during(test, body) {
  return async function run(...args) {
    process.env[RUNNING] = test;
    try {
      return await body.apply(this, args);
    } finally {
      delete process.env[RUNNING];
    }
  };
}

function watchTests() {
  const runner = require('node:test');
  for (const key of ['it', 'test']) {
    const define = runner[key];
    const watched = (name, ...rest) =>
      define(
        name,
        ...rest.map((part) => (typeof part === 'function' ? during(identityOf(name), part) : part)),
      );
    runner[key] = Object.assign(watched, define);
  }
}

// ----------------------------------------------------------------------------- what it makes use of

function watchListener(name, listener) {
  note('listens', name);
  return new Proxy(listener, {
    apply(target, receiver, args) {
      note('event', name);
      return Reflect.apply(target, receiver, args);
    },
  });
}

function watchMethod(name, method) {
  return new Proxy(method, {
    apply(target, receiver, given) {
      const [event, listener, ...more] = given;
      const listens = name === 'addEventListener' && typeof event === 'string';
      const args =
        listens && typeof listener === 'function' && more.length === 0
          ? [event, watchListener(event.split('\0')[0], listener)]
          : given;
      const answer = Reflect.apply(target, receiver, args);
      note('method', name);
      return answer;
    },
  });
}

function watchClass({ prototype }) {
  for (const [name, method] of Object.entries(prototype)) {
    if (name !== 'constructor') prototype[name] = watchMethod(name, method);
  }
}

const { dlopen } = process;
process.dlopen = (module, ...rest) => {
  dlopen.call(process, module, ...rest);
  const { LumoLivePushJSWrapper } = module.exports;
  if (LumoLivePushJSWrapper) watchClass(LumoLivePushJSWrapper);
};

if (!process.env[RUNNING]) watchTests();
