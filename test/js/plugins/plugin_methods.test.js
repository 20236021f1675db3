'use strict';

// Loading, listing, calling and unloading plug-ins.

const assert = require('node:assert/strict');
const path = require('node:path');
const { describe, it } = require('node:test');
const { createLivePush, flush, sdk } = require('../support/addon');
const { outputOf } = require('../support/fresh_process');
const {
  END,
  OPENED,
  START,
  forgetPluginCalls,
  pluginCallNames,
  pluginCalls,
  pluginDirectory,
  pluginPath,
  useFreshPluginCalls,
} = require('../support/plugins');
const { callNames, logLines, newWrapper, useFreshSdk } = require('../support/wrapper');

const NOT_FOUND = ['GetPluginObjByPluginID', 'Get pluginObj failed'];
const FAILED = 1;
const DONE = 0;

/** A wrapper with plug-ins loaded, by ID; with empty records. Release them when done. */
function newWrapperWith(plugins) {
  const wrapper = newWrapper();
  for (const [id, name] of Object.entries(plugins)) {
    assert.equal(wrapper.addPlugin({ id, path: pluginPath(name) }), DONE);
  }
  sdk.forget();
  forgetPluginCalls();
  return wrapper;
}

/** For child processes that leave a plug-in behind on purpose, when leaks are looked for. */
const LEAKS_ARE_MEANT = {
  env: { ASAN_OPTIONS: `${process.env.ASAN_OPTIONS ?? ''}:detect_leaks=0` },
};

const idsOf = (wrapper) => wrapper.getPlugins().map(({ id }) => id);

describe('loading a plug-in', () => {
  useFreshSdk();
  useFreshPluginCalls();

  it('opens the library, creates the plug-in, starts it and passes it its directory', () => {
    const wrapper = newWrapper();
    assert.equal(wrapper.addPlugin({ id: 'a', path: pluginPath('recording') }, 'ignored'), DONE);
    assert.deepEqual(pluginCallNames(), START);
    assert.equal(pluginCalls().at(-1).argument, `${pluginDirectory}/`);
    assert.ok(pluginCalls().every(({ thread }) => thread === 'loader'));
    assert.deepEqual(logLines(), [OPENED]);
    assert.deepEqual(callNames(), []);
    assert.deepEqual(idsOf(wrapper), ['a']);
    wrapper.releasePluginManager();
  });

  it('takes any type from 1 to 2147483647; 1 when it is absent', () => {
    const given = { id: 'a', path: pluginPath('recording') };
    for (const type of [1, 2, 1.9, 2147483647, 4294967297]) {
      const wrapper = newWrapper();
      assert.equal(wrapper.addPlugin({ ...given, type }), DONE, String(type));
      wrapper.releasePluginManager();
    }
    forgetPluginCalls();
    for (const type of [0, 0.9, -1, 2147483648, NaN, '1', true, null, undefined, 1n]) {
      assert.equal(newWrapper().addPlugin({ ...given, type }), FAILED, String(type));
    }
    assert.deepEqual(pluginCalls(), []);
  });

  it('without an ID or a path fails silently', () => {
    const library = pluginPath('recording');
    const thrower = {
      id: 'a',
      get path() {
        throw new Error('from a getter');
      },
    };
    for (const options of [
      ...[{}, { id: 'a' }, { path: library }, { id: '', path: library }, { id: 'a', path: '' }],
      ...[
        { id: 5, path: library },
        { id: 'a', path: Object(library) },
        { ID: 'a', path: library },
      ],
      ...[Object.create({ id: 'a', path: library }), thrower, [], () => {}],
      ...[
        { id: '\0a', path: library },
        { id: 'a', path: `\0${library}` },
      ],
      new Proxy(
        { id: 'a', path: library },
        {
          ownKeys() {
            throw new Error('from a trap');
          },
        },
      ),
    ]) {
      assert.equal(newWrapper().addPlugin(options), FAILED);
    }
    assert.deepEqual([pluginCalls(), logLines(), callNames()], [[], [], []]);
  });

  it('reads the ID and the path up to U+0000', () => {
    const wrapper = newWrapper();
    const options = { id: 'a\0b', path: `${pluginPath('recording')}\0x`, unknown: 1 };
    assert.equal(wrapper.addPlugin(options), DONE);
    assert.deepEqual(idsOf(wrapper), ['a']);
    wrapper.releasePluginManager();
  });

  it('works with a path relative to the working directory', () => {
    const wrapper = newWrapper();
    const relative = path.relative(process.cwd(), pluginPath('recording'));
    assert.equal(wrapper.addPlugin({ id: 'a', path: `./${relative}` }), DONE);
    const [{ argument }] = pluginCalls().slice(-1);
    assert.equal(argument, `./${path.dirname(relative)}/`);
    wrapper.releasePluginManager();
  });

  it('works with a bare name, which the loader finds; its directory is then empty', () => {
    const result = outputOf("console.log(wrapper.addPlugin({ id: 'a', path: 'recording.so' }));", {
      env: { LD_LIBRARY_PATH: pluginDirectory, DYLD_LIBRARY_PATH: pluginDirectory },
    });
    assert.equal(result, '0\n');
    const [{ call, argument }] = pluginCalls().slice(3);
    assert.deepEqual([call, argument], ['setPluginDirectory', '']);
  });

  it('of one library under two IDs makes two plug-ins', () => {
    const wrapper = newWrapper();
    for (const id of ['a', 'b']) wrapper.addPlugin({ id, path: pluginPath('recording') });
    assert.deepEqual(pluginCallNames(), [...START, ...START.slice(1)]);
    wrapper.removePlugin('a');
    assert.equal(wrapper.enablePlugin('b', true), DONE);
    assert.deepEqual(pluginCallNames().slice(7), [...END.slice(0, 3), 'enable']);
    wrapper.releasePluginManager();
    assert.deepEqual(pluginCallNames().slice(11), END);
  });

  // In a process of its own, because what is replaced is never unloaded.
  it('under an ID in use replaces the plug-in; the earlier one stays loaded', () => {
    const output = outputOf(
      `
      const [first, second] = ${JSON.stringify([pluginPath('recording'), pluginPath('refusing')])};
      console.log(wrapper.addPlugin({ id: 'a', path: first }));
      console.log(wrapper.addPlugin({ id: 'a', path: second }));
      console.log(wrapper.getPlugins().length, wrapper.enablePlugin('a', true));
      wrapper.releasePluginManager();
      const calls = require('node:fs').readFileSync(process.env.LUMO_PLUGIN_LOG, 'utf8');
      console.log(wrapper.getPlugins().length, calls.includes('recording\\tclose'));`,
      LEAKS_ARE_MEANT,
    );
    assert.equal(output, '0\n0\n1 1\n0 false\n');
    assert.deepEqual(pluginCallNames('recording'), [...START, 'close']); // with the process
    assert.deepEqual(pluginCallNames('refusing'), [...START, 'enable', ...END]);
  });

  // The same.
  it('twice under one ID makes two plug-ins of one library, of which the later one is reached', () => {
    const output = outputOf(
      `
      const path = ${JSON.stringify(pluginPath('recording'))};
      console.log(wrapper.addPlugin({ id: 'a', path }), wrapper.addPlugin({ id: 'a', path }));
      console.log(wrapper.getPlugins().length, wrapper.removePlugin('a'), wrapper.removePlugin('a'));
      const calls = require('node:fs').readFileSync(process.env.LUMO_PLUGIN_LOG, 'utf8');
      console.log(calls.includes('close'));`,
      LEAKS_ARE_MEANT,
    );
    assert.equal(output, '0 0\n1 0 1\nfalse\n');
    const untilRemoved = [...START, ...START.slice(1), ...END.slice(0, 3)];
    assert.deepEqual(pluginCallNames(), [...untilRemoved, 'close']); // with the process
  });

  it('that fails under an ID in use changes nothing', () => {
    const wrapper = newWrapperWith({ a: 'recording' });
    assert.equal(wrapper.addPlugin({ id: 'a', path: pluginPath('rejecting_init') }), FAILED);
    assert.equal(wrapper.enablePlugin('a', true), DONE);
    assert.deepEqual(pluginCallNames('recording'), ['enable']);
    wrapper.releasePluginManager();
  });
});

describe('unloading plug-ins', () => {
  useFreshSdk();
  useFreshPluginCalls();

  it('removePlugin ends the plug-in in order and closes its library', () => {
    const wrapper = newWrapperWith({ a: 'recording' });
    assert.equal(wrapper.removePlugin('a', 'ignored'), DONE);
    assert.deepEqual(pluginCallNames(), END);
    assert.ok(pluginCalls().every(({ thread }) => thread === 'loader'));
    assert.deepEqual([wrapper.getPlugins(), logLines(), callNames()], [[], [], []]);
  });

  it('removePlugin leaves the others alone', () => {
    const wrapper = newWrapperWith({ a: 'recording', b: 'refusing' });
    wrapper.removePlugin('b\0x');
    assert.deepEqual(pluginCallNames('recording'), []);
    assert.deepEqual(idsOf(wrapper), ['a']);
    wrapper.releasePluginManager();
  });

  it('removePlugin returns 1 and logs for what names no plug-in', () => {
    const wrapper = newWrapperWith({ a: 'recording' });
    for (const id of ['', 'A', 'a ', '\0a']) assert.equal(wrapper.removePlugin(id), FAILED);
    assert.deepEqual(logLines(), Array(4).fill(NOT_FOUND));
    assert.deepEqual(pluginCalls(), []);
    wrapper.releasePluginManager();
  });

  it('a plug-in that was removed can be loaded again', () => {
    const wrapper = newWrapper();
    for (let i = 0; i < 3; i += 1) {
      wrapper.addPlugin({ id: 'a', path: pluginPath('recording') });
      wrapper.removePlugin('a');
    }
    assert.deepEqual(
      pluginCallNames(),
      Array(3)
        .fill([...START, ...END])
        .flat(),
    );
  });

  it('releasePluginManager ends all, in the order of their IDs, and skips empty entries', () => {
    const wrapper = newWrapperWith({ c: 'recording', b: 'not_video', a: 'refusing' });
    wrapper.enablePlugin('aa', true); // leaves an empty entry
    assert.equal(wrapper.releasePluginManager('ignored'), DONE);
    assert.deepEqual(
      pluginCalls()
        .filter(({ call }) => call === 'uninit')
        .map(({ plugin }) => plugin),
      ['refusing', 'not_video', 'recording'],
    );
    for (const name of ['refusing', 'not_video', 'recording']) {
      assert.deepEqual(pluginCallNames(name), END);
    }
    assert.deepEqual(wrapper.getPlugins(), []);
    assert.equal(wrapper.releasePluginManager(), DONE);
    assert.equal(wrapper.addPlugin({ id: 'a', path: pluginPath('recording') }), DONE);
    wrapper.releasePluginManager();
  });

  it('a library without disposer: a note on standard output, and it is closed', () => {
    const output = outputOf(
      `
      const path = ${JSON.stringify(pluginPath('without_disposer'))};
      wrapper.addPlugin({ id: 'a', path });
      console.log('|', wrapper.removePlugin('a'));`,
      LEAKS_ARE_MEANT,
    );
    assert.equal(output, 'Function:destoryNimboPlugin load failed| 0\n');
    assert.deepEqual(pluginCallNames(), [...START, 'uninit', 'release', 'close']);
  });

  it('a wrapper that is collected ends its plug-ins in the order of their IDs', async () => {
    let gone = false;
    const registry = new FinalizationRegistry(() => {
      gone = true;
    });
    (() => {
      const wrapper = createLivePush();
      registry.register(wrapper, undefined);
      wrapper.initPusher({});
      for (const [id, name] of Object.entries({ b: 'recording', a: 'not_video' })) {
        wrapper.addPlugin({ id, path: pluginPath(name) });
      }
      wrapper.removePlugin('0'); // leaves an empty entry
      forgetPluginCalls();
    })();
    for (let attempt = 0; attempt < 100 && !gone; attempt += 1) {
      global.gc();
      await flush();
    }
    assert.ok(gone);
    assert.deepEqual(pluginCallNames('recording'), END);
    assert.deepEqual(pluginCallNames('not_video'), END);
    assert.equal(pluginCalls()[0].plugin, 'not_video');
  });
});

describe('listing plug-ins', () => {
  useFreshSdk();
  useFreshPluginCalls();

  it('returns objects with one key, in the byte order of the IDs', () => {
    const wrapper = newWrapper();
    assert.deepEqual(wrapper.getPlugins(), []);
    const ids = ['ä', 'b', 'a', 'Z', '10', '9', 'aa'];
    for (const id of ids) wrapper.addPlugin({ id, path: pluginPath('recording') });
    assert.equal(
      JSON.stringify(wrapper.getPlugins('ignored')),
      JSON.stringify(['10', '9', 'Z', 'a', 'aa', 'b', 'ä'].map((id) => ({ id }))),
    );
    assert.deepEqual(callNames(), []);
    wrapper.releasePluginManager();
  });

  it('runs no setter of a prototype', () => {
    const wrapper = newWrapperWith({ a: 'recording' });
    const setter = {
      configurable: true,
      set() {
        throw new Error('from a setter');
      },
    };
    Object.defineProperty(Object.prototype, 'id', setter);
    Object.defineProperty(Array.prototype, '0', setter);
    let plugins;
    try {
      plugins = wrapper.getPlugins();
    } finally {
      delete Object.prototype.id;
      delete Array.prototype[0];
    }
    assert.deepEqual(plugins, [{ id: 'a' }]);
    wrapper.releasePluginManager();
  });

  it('lists also what was looked up in vain', () => {
    const wrapper = newWrapper();
    wrapper.removePlugin('r');
    wrapper.enablePlugin('e', 'bad argument');
    wrapper.setPluginParameter('p');
    wrapper.getPluginParameter('g');
    wrapper.removePlugin('');
    wrapper.addPlugin({ id: 'l', path: '/missing' });
    assert.deepEqual(idsOf(wrapper), ['e', 'p', 'r']);
    assert.equal(wrapper.removePlugin('e'), FAILED); // the entry stays
    assert.deepEqual(idsOf(wrapper), ['e', 'p', 'r']);
    assert.equal(wrapper.addPlugin({ id: 'e', path: pluginPath('recording') }), DONE);
    assert.equal(wrapper.removePlugin('e'), DONE);
    assert.deepEqual(idsOf(wrapper), ['p', 'r']);
  });

  it("cannot use another wrapper's plug-ins", () => {
    const wrapper = newWrapperWith({ a: 'recording' });
    assert.deepEqual(newWrapper().getPlugins(), []);
    wrapper.releasePluginManager();
  });
});

describe('talking to a plug-in', () => {
  useFreshSdk();
  useFreshPluginCalls();

  for (const [method, call, good] of [
    ['enablePlugin', 'enable', [true, false]],
    ['setPluginParameter', 'setParameter', ['{"level": 5}', 'ä', '']],
  ]) {
    it(`${method} passes its argument on and returns 0 when the plug-in accepts`, () => {
      const wrapper = newWrapperWith({ a: 'recording', b: 'refusing' });
      for (const argument of good) assert.equal(wrapper[method]('a', argument, 'ignored'), DONE);
      assert.deepEqual(
        pluginCalls(),
        good.map((argument) => ({
          plugin: 'recording',
          call,
          argument: String(argument),
          thread: 'loader',
        })),
      );
      assert.deepEqual([logLines(), callNames()], [[], []]);
      wrapper.releasePluginManager();
    });

    it(`${method} returns 1 when the plug-in refuses`, () => {
      const wrapper = newWrapperWith({ a: 'recording', b: 'refusing' });
      for (const argument of good) assert.equal(wrapper[method]('b', argument), FAILED);
      assert.deepEqual(pluginCallNames(), Array(good.length).fill(call));
      assert.deepEqual(logLines(), []);
      wrapper.releasePluginManager();
    });

    it(`${method} refuses a bad argument without the plug-in`, () => {
      const wrapper = newWrapperWith({ a: 'recording' });
      assert.equal(wrapper[method]('a', 5), FAILED);
      assert.deepEqual(pluginCalls(), []);
      wrapper.releasePluginManager();
    });

    it(`${method} looks the plug-in up before it checks its further argument`, () => {
      const wrapper = newWrapper();
      for (const id of ['', 'unknown', 'unknown']) assert.equal(wrapper[method](id, 5), FAILED);
      assert.deepEqual(logLines(), Array(3).fill(NOT_FOUND));
    });
  }

  it('setPluginParameter passes a text up to U+0000', () => {
    const wrapper = newWrapperWith({ a: 'recording' });
    wrapper.setPluginParameter('a', 'cut\0off');
    assert.equal(pluginCalls()[0].argument, 'cut');
    wrapper.releasePluginManager();
  });

  it('initializePluginManager and getPluginParameter return 0 and do nothing', () => {
    const wrapper = newWrapperWith({ a: 'recording' });
    for (const method of ['initializePluginManager', 'getPluginParameter']) {
      for (const args of [[], ['a'], ['unknown'], [{}], [null, 5]]) {
        assert.equal(wrapper[method](...args), DONE);
      }
    }
    assert.deepEqual([pluginCalls(), logLines(), callNames()], [[], [], []]);
    assert.deepEqual(idsOf(wrapper), ['a']);
    wrapper.releasePluginManager();
  });
});
