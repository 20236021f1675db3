'use strict';

// registPlugin opens the SDK's library; log lines carry function, level and text.

const assert = require('node:assert/strict');
const { spawnSync } = require('node:child_process');
const fs = require('node:fs');
const os = require('node:os');
const path = require('node:path');
const { after, before, describe, it } = require('node:test');
const { flush, recordEvents, scriptedDirectory, sdk } = require('../support/addon');
const { callNames, logLines, newWrapper, useFreshSdk } = require('../support/wrapper');

/** Runs a script in a process of its own, where no library has been registered yet. */
function inFreshProcess(script) {
  const prelude = `
    const { sdk, createLivePush, scriptedDirectory, scriptedWithoutLoggerDirectory } =
      require(${JSON.stringify(path.join(__dirname, '../support/addon.js'))});
    const wrapper = createLivePush();`;
  // A listener would keep the process alive.
  const whole = `${prelude}\n${script}\nprocess.exit();`;
  const { status, stdout, stderr } = spawnSync(process.execPath, ['-e', whole], {
    encoding: 'utf8',
  });
  assert.equal(status, 0, stderr);
  return stdout;
}

describe('registPlugin', () => {
  useFreshSdk();

  it('opens the library and logs it', () => {
    assert.equal(newWrapper().registPlugin(scriptedDirectory), true);
    assert.deepEqual(logLines(), [['LoadSDK', 'Load SDK Finish', 3]]);
  });

  it('appends to the directory as it is: a trailing separator is doubled', () => {
    const missing = path.join(os.tmpdir(), 'no-such-directory');
    assert.equal(newWrapper().registPlugin(`${missing}/`), false);
    const [{ args }] = sdk.logs();
    assert.equal(args[0], `${missing}//NimboSdk.framework/NimboSdk`);
  });

  it('with an empty directory tries the absolute path', () => {
    assert.equal(newWrapper().registPlugin(''), false);
    assert.equal(sdk.logs()[0].args[0], '/NimboSdk.framework/NimboSdk');
  });

  it('logs a failure through the logger of an earlier load, which stays in place', () => {
    const wrapper = newWrapper();
    assert.equal(wrapper.registPlugin('/nowhere'), false);
    const [line] = sdk.logs();
    assert.equal(line.format, 'Load SDK Failed, Path: %s, Error: %s');
    assert.equal(line.level, 5);
    assert.match(line.args[1], /nowhere/);
    wrapper.writeLog('still there');
    assert.equal(sdk.logs('Electron-JS').length, 1);
  });

  it('ignores further arguments and cuts the directory at U+0000', () => {
    assert.equal(newWrapper().registPlugin(`${scriptedDirectory}\0/elsewhere`, 5), true);
  });

  it('no line is written before the first success', () => {
    const seen = inFreshProcess(`
      wrapper.startPush(5);
      wrapper.registPlugin('/nowhere');
      wrapper.writeLog('unheard');
      const before = sdk.logs().length;
      wrapper.registPlugin(scriptedDirectory);
      console.log(before, sdk.logs().map(({ format }) => format).join());`);
    assert.equal(seen, '0 Load SDK Finish\n');
  });

  it('every method works against the linked library before any success', () => {
    const seen = inFreshProcess(`
      sdk.answer('startPush', 7);
      console.log(wrapper.startPush('rtmp://host/app/stream'));`);
    assert.equal(seen, '7\n');
  });

  it('a library without logger: true, a note on standard output, and logging is off', () => {
    const seen = inFreshProcess(`
      wrapper.registPlugin(scriptedDirectory);
      const opened = wrapper.registPlugin(scriptedWithoutLoggerDirectory);
      sdk.forget();
      wrapper.startPush(5);
      wrapper.writeLog('unheard');
      console.log('|', opened, sdk.logs().length);`);
    assert.equal(seen, 'Function:sFuncOutputLog load failed| true 0\n');
  });

  it('a later library with a logger switches logging on again', () => {
    const seen = inFreshProcess(`
      wrapper.registPlugin(scriptedWithoutLoggerDirectory);
      wrapper.registPlugin(scriptedDirectory);
      console.log('|', sdk.logs().length);`);
    assert.equal(seen, 'Function:sFuncOutputLog load failed| 1\n');
  });

  describe('a file that is no library', () => {
    let folder;
    before(() => {
      folder = fs.mkdtempSync(path.join(os.tmpdir(), 'no-library-'));
      fs.mkdirSync(path.join(folder, 'NimboSdk.framework'));
      fs.writeFileSync(path.join(folder, 'NimboSdk.framework', 'NimboSdk'), 'not a library');
    });
    after(() => fs.rmSync(folder, { recursive: true }));

    it('is answered with false', () => {
      assert.equal(newWrapper().registPlugin(folder), false);
      assert.equal(sdk.logs()[0].format, 'Load SDK Failed, Path: %s, Error: %s');
    });
  });
});

describe('log lines', () => {
  useFreshSdk();

  it('carry the wrapper source, the handler, a line, the tag and the level', () => {
    newWrapper().startPush();
    const [{ file, function: name, line, tag, level, thread }] = sdk.logs();
    assert.equal(file, 'src/wrapper/lumolivepush_js_wrapper.cc');
    assert.equal(name, 'StartPush');
    assert.ok(Number.isInteger(line) && line > 0);
    assert.deepEqual([tag, level, thread.js], ['Electron', 5, true]);
  });
});

describe('writeLog', () => {
  useFreshSdk();
  const levels = () => sdk.logs('Electron-JS').map(({ level }) => level);

  it('writes the message as the format, at level 3, and returns undefined', () => {
    assert.equal(newWrapper().writeLog('50 %s done %n'), undefined);
    const [line] = sdk.logs();
    assert.deepEqual(
      [line.format, line.level, line.tag, line.function],
      ['50 %s done %n', 3, 'Electron-JS', 'WriteLog'],
    );
  });

  it('writes at the level that a 32-bit integer names', () => {
    const wrapper = newWrapper();
    for (const level of [0, 1, 2, 3, 4, 5]) wrapper.writeLog('x', level);
    assert.deepEqual(levels(), [0, 1, 2, 3, 4, 5]);
  });

  it('writes nothing for an integer outside 0 to 5', () => {
    const wrapper = newWrapper();
    for (const level of [6, -1, 2147483647, -2147483648]) {
      assert.equal(wrapper.writeLog('x', level), undefined);
    }
    assert.deepEqual(levels(), []);
  });

  it('writes at level 3 for anything else as level, and for three arguments', () => {
    const wrapper = newWrapper();
    for (const level of [2.5, '2', null, undefined, true, 2147483648, {}, 1n]) {
      wrapper.writeLog('x', level);
    }
    wrapper.writeLog('x', 1, 2);
    assert.deepEqual(levels(), Array(9).fill(3));
  });

  it('refuses a message that is no string: -101, a line, "onOccurError" later', async () => {
    const wrapper = newWrapper();
    const events = recordEvents(wrapper);
    for (const args of [[], [42], [null], [Object('x'), 5]]) {
      assert.equal(wrapper.writeLog(...args), -101);
    }
    assert.deepEqual(events, [], 'never from within the failing call');
    await flush();
    assert.deepEqual(
      events.map(({ name, args }) => [name, args]),
      Array(4).fill(['onOccurError', [-101]]),
    );
    assert.deepEqual(logLines(), Array(4).fill(['WriteLog', 'WriteLog: invaild param']));
  });

  it('a refused message without a listener reports nothing and creates no pusher', async () => {
    const wrapper = newWrapper();
    assert.equal(wrapper.writeLog(42), -101);
    assert.deepEqual(callNames(), []);
    const events = recordEvents(wrapper);
    await flush();
    assert.deepEqual(events, []);
  });

  it('cuts the message at U+0000', () => {
    newWrapper().writeLog('seen\0unseen');
    assert.equal(sdk.logs()[0].format, 'seen');
  });
});
