'use strict';

// The example plug-ins are built as their readers build them: from the files of the npm package.

const assert = require('node:assert/strict');
const { execFileSync } = require('node:child_process');
const fs = require('node:fs');
const os = require('node:os');
const path = require('node:path');
const { after, before, describe, it } = require('node:test');
const { sdk } = require('../support/addon');
const { newWrapper, useFreshSdk } = require('../support/wrapper');

const root = path.resolve(__dirname, '../../..');
const HEADER = 'src/plugin/IVideoFramePlugin.h';

/** Runs a program without the sanitizer's runtime that this process may have. */
function run(command, ...args) {
  const env = { ...process.env, LD_PRELOAD: '' };
  const options = { cwd: root, env, encoding: 'utf8', stdio: 'pipe', timeout: 240_000 };
  return execFileSync(command, args, options);
}

function build(source, output, ...options) {
  run('cmake', '-G', 'Ninja', '-S', source, '-B', output, '-DCMAKE_BUILD_TYPE=Debug', ...options);
  run('cmake', '--build', output);
}

/** What a captured frame looks like after a plug-in, switched on. */
function processed(library, frame) {
  const wrapper = newWrapper();
  wrapper.initPusher({});
  assert.equal(wrapper.addPlugin({ id: 'a', path: library }), 0);
  assert.equal(wrapper.enablePlugin('a', true), 0);
  const { result, frame: after } = sdk.fire('onCaptureVideoSample', {
    source: 0,
    frame,
    readBack: true,
  });
  assert.equal(result, true);
  assert.equal(wrapper.releasePluginManager(), 0);
  return after.bytes;
}

describe('the plug-in header', () => {
  for (const standard of ['c++11', 'c++20']) {
    it(`compiles alone as ${standard}`, () => {
      const warnings = ['-Wall', '-Wextra', '-Wpedantic', '-Wnon-virtual-dtor', '-Werror'];
      const nothingElse = ['-include', HEADER, '-x', 'c++', '/dev/null'];
      run('c++', `-std=${standard}`, ...warnings, '-fsyntax-only', ...nothingElse);
    });
  }
});

describe('the example plug-ins of the npm package', () => {
  useFreshSdk();
  let folder;
  let shipped;
  before(() => {
    folder = fs.mkdtempSync(path.join(os.tmpdir(), 'example-plugins-'));
    shipped = path.join(folder, 'node_modules', 'lumolivepush-electron-sdk');
    const [{ files }] = JSON.parse(run('npm', 'pack', '--dry-run', '--json', '--ignore-scripts'));
    for (const { path: file } of files) {
      if (!/^(cmake|examples)\//.test(file) && file !== HEADER) continue;
      fs.mkdirSync(path.join(shipped, path.dirname(file)), { recursive: true });
      fs.copyFileSync(path.join(root, file), path.join(shipped, file));
    }
  });
  after(() => fs.rmSync(folder, { recursive: true }));

  const FRAME = { width: 64, height: 48, fill: { gradient: 5 } };

  for (const name of ['clock_overlay', 'colour_adjust', 'mirror']) {
    it(`${name} builds alone, in place, and is loaded`, () => {
      const output = path.join(folder, name);
      build(path.join(shipped, 'examples/plugins', name), output);
      const before = sdk.frameBytes(FRAME);
      // Without parameters this one leaves colours as they are.
      const changes = name !== 'colour_adjust';
      assert.equal(!processed(path.join(output, `${name}.so`), FRAME).equals(before), changes);
    });
  }

  it('a copy of one elsewhere finds the package by one variable', () => {
    const copy = path.join(folder, 'my-plugin');
    fs.cpSync(path.join(shipped, 'examples/plugins/mirror'), copy, { recursive: true });
    build(copy, path.join(copy, 'build'), `-DLUMO_PACKAGE_DIR=${shipped}`);
    const frame = { width: 2, height: 1, fill: { gradient: 5 } };
    const [left, right, ...chroma] = sdk.frameBytes(frame);
    const mirrored = processed(path.join(copy, 'build', 'mirror.so'), frame);
    assert.notEqual(left, right);
    assert.deepEqual([...mirrored], [right, left, ...chroma]);
  });
});
