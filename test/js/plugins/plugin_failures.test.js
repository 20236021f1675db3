'use strict';

// addPlugin fails for libraries that cannot be used, and leaves nothing loaded.

const assert = require('node:assert/strict');
const fs = require('node:fs');
const os = require('node:os');
const path = require('node:path');
const { after, before, describe, it } = require('node:test');
const { sdk } = require('../support/addon');
const { outputOf } = require('../support/fresh_process');
const {
  END,
  OPENED,
  START,
  pluginCallNames,
  pluginPath,
  useFreshPluginCalls,
} = require('../support/plugins');
const { logLines, newWrapper, useFreshSdk } = require('../support/wrapper');

const FAILED = 1;

describe('a library that cannot be used', () => {
  useFreshSdk();
  useFreshPluginCalls();
  let folder;
  before(() => {
    folder = fs.mkdtempSync(path.join(os.tmpdir(), 'no-plugin-'));
    fs.writeFileSync(path.join(folder, 'text.so'), 'not a library');
  });
  after(() => fs.rmSync(folder, { recursive: true }));

  for (const [what, name] of [
    ['does not exist', 'missing.so'],
    ['is a text', 'text.so'],
    ['is a directory', '.'],
  ]) {
    it(`because it ${what}: 1, and the loader's reason in the log`, () => {
      const wrapper = newWrapper();
      const library = `${folder}/${name}`;
      assert.equal(wrapper.addPlugin({ id: 'a', path: library }), FAILED);
      const [{ function: writer, level, format, args }, ...more] = sdk.logs();
      assert.deepEqual([writer, level, args[0], more], ['InjectPlugin', 5, library, []]);
      assert.equal(format, 'Load Plugin Failed, Path: %s, Error: %s');
      assert.notEqual(args[1], '');
      assert.deepEqual(wrapper.getPlugins(), []);
    });
  }

  // In a process of its own, because what a library has shown may stay.
  it('because it needs what no library shows: 1 at once; plug-ins show theirs to later ones', () => {
    const output = outputOf(`
      wrapper.registPlugin(scriptedDirectory);
      sdk.forget();
      const [exporting, dependent] =
        ${JSON.stringify([pluginPath('exporting'), pluginPath('dependent')])};
      console.log(wrapper.addPlugin({ id: 'b', path: dependent }));
      console.log(sdk.logs()[0].args[1].includes('lumoTestPluginExport'));
      console.log(wrapper.addPlugin({ id: 'a', path: exporting }));
      console.log(wrapper.addPlugin({ id: 'b', path: dependent }));
      wrapper.releasePluginManager();`);
    assert.equal(output, '1\ntrue\n0\n0\n');
    assert.deepEqual(pluginCallNames('dependent').slice(0, 4), START);
  });

  // In a process of its own: a name without "/" that is longer than the stack once ended it.
  it('because its path is longer than any path can be: 1, and a reason in the log', () => {
    const output = outputOf(`
      const load = (path) => wrapper.addPlugin({ id: 'a', path });
      console.log(load('x'.repeat(2 ** 24)), load('/x'.repeat(2 ** 24)));
      wrapper.registPlugin(scriptedDirectory);
      sdk.forget();
      console.log(load('x'.repeat(4096)));
      const [{ function: writer, level, args }] = sdk.logs();
      console.log(writer, level, args[0].length, args[1] !== '');`);
    assert.equal(output, '1 1\n1\nInjectPlugin 5 4096 true\n');
  });

  it('because its factory returns null: 1, and it is closed', () => {
    const wrapper = newWrapper();
    assert.equal(wrapper.addPlugin({ id: 'a', path: pluginPath('null_factory') }), FAILED);
    assert.deepEqual(pluginCallNames(), ['open', 'create', 'close']);
    assert.deepEqual(logLines(), [OPENED]);
    assert.deepEqual(wrapper.getPlugins(), []);
  });

  it('because it refuses to start: 1, and it is ended and closed', () => {
    const wrapper = newWrapper();
    assert.equal(wrapper.addPlugin({ id: 'a', path: pluginPath('rejecting_init') }), FAILED);
    assert.deepEqual(pluginCallNames(), [...START, ...END]);
    assert.deepEqual(logLines(), [OPENED]);
    assert.deepEqual(wrapper.getPlugins(), []);
  });

  it('because it has no factory: 1, a note on standard output, and it is closed', () => {
    const output = outputOf(`
      wrapper.registPlugin(scriptedDirectory);
      sdk.forget();
      const path = ${JSON.stringify(pluginPath('without_factory'))};
      const result = wrapper.addPlugin({ id: 'a', path });
      const lines = sdk.logs().map(({ format }) => format);
      console.log('|', result, lines.join(), wrapper.getPlugins().length);`);
    assert.equal(output, 'Function:createNimboPlugin load failed| 1 Load BeautySDK Finish 0\n');
    assert.deepEqual(pluginCallNames(), ['open', 'close']);
  });
});
