'use strict';

// The command line of the first stream: defaults, every option, and mistakes.

const assert = require('node:assert/strict');
const path = require('node:path');
const { describe, it } = require('node:test');
const { readOptions } = require('../../../examples/first-stream/options');

const FILE = path.relative(process.cwd(), __filename);

describe('the options of the first stream', () => {
  it('have defaults', () => {
    const { seconds, input, plugins, mix, play, json, help } = readOptions([]);
    assert.deepEqual(
      { seconds, input, plugins, mix, play, json, help },
      {
        ...{ seconds: 20, input: 'test', plugins: [], mix: false, play: undefined },
        ...{ json: false, help: false },
      },
    );
  });

  it('take a file or the words for what is none as the input', () => {
    assert.equal(readOptions(['--input', FILE]).input, __filename);
    for (const input of ['test', 'camera', 'screen']) {
      assert.equal(readOptions(['--input', input]).input, input);
    }
  });

  it('take plug-ins in their order, with everything after the first = as the parameters', () => {
    const parameter = '{"text": "a = b"}';
    const args = ['--plugin', `${FILE}=${parameter}`, '--plugin', FILE, '--plugin', `${FILE}=`];
    assert.deepEqual(readOptions(args).plugins, [
      { file: __filename, parameter },
      { file: __filename, parameter: undefined },
      { file: __filename, parameter: '' },
    ]);
  });

  it('either publish or play', () => {
    const play = ['--play', 'rtmp://127.0.0.1/live/a'];
    assert.equal(readOptions(play).play, play[1]);
    assert.equal(readOptions(['--mix']).mix, true);
    for (const other of [['--mix'], ['--input', FILE], ['--plugin', FILE]]) {
      assert.throws(() => readOptions([...play, ...other]), /--play cannot be combined with/);
    }
  });

  it('name the file that is missing', () => {
    for (const args of [
      ['--plugin', '/missing.so={}'],
      ['--input', '/missing.mp4'],
    ]) {
      assert.throws(
        () => readOptions(args),
        /^Error: --(plugin|input) \/missing\.\S+: no such file$/,
      );
    }
    assert.throws(() => readOptions(['--plugin', '']), /--plugin : no such file/);
  });
});
