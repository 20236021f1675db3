'use strict';

const assert = require('node:assert/strict');
const { spawnSync } = require('node:child_process');
const fs = require('node:fs');
const os = require('node:os');
const path = require('node:path');
const { after, afterEach, before, describe, it } = require('node:test');
const { createLivePush, LivePush, sdkDirectory } = require('../../lib');
const { version } = require('../../package.json');

const GUARD = { timeout: 60_000 };
// See LumoLiveResult.h.
const INVALID_ARGUMENT = -2002;
const NOT_FOUND = -2005;
const LEVEL = { trace: 0, info: 3, warning: 4, error: 5 };

describe('the default SDK', GUARD, () => {
  let folder;
  let push;
  before(() => {
    folder = fs.mkdtempSync(path.join(os.tmpdir(), 'base-'));
    push = createLivePush();
    assert.equal(push.registPlugin(sdkDirectory), true);
  });
  afterEach(() => {
    push.setLogLevel(LEVEL.info);
    push.destroyPusher();
  });
  after(() => fs.rmSync(folder, { recursive: true }));

  /** Starts the log in a folder of its own. @returns a function that reads it */
  function logTo(name) {
    const own = path.join(folder, name);
    assert.equal(push.setLogDirPath(own), 0);
    return () => fs.readFileSync(path.join(own, 'nimbo_sdk.log'), 'utf8');
  }

  it("has the package's version", () => {
    assert.equal(push.getSDKVersion(), version);
  });

  it('supports the mode that a pusher can be configured with, and no other', () => {
    assert.equal(push.isSupportLiveMode(0), true);
    for (const mode of [1, 2, -1, 4294967296.5 + 1]) {
      assert.equal(push.isSupportLiveMode(mode), false, `${mode}`);
    }
  });

  it('writes its log into the given folder, from the given level on', () => {
    const log = logTo('levels');
    push.writeLog('a trace', LEVEL.trace);
    push.writeLog('100%s of it', LEVEL.info);
    assert.match(log(), /\[info\] \[Electron-JS\] .* WriteLog 100%s of it\n/);
    push.setLogLevel(LEVEL.error);
    push.writeLog('a warning', LEVEL.warning);
    push.writeLog('an error', LEVEL.error);
    push.setLogLevel(LEVEL.trace);
    push.writeLog('another trace', LEVEL.trace);
    assert.match(log(), /\[error\] .* an error\n/);
    assert.match(log(), /\[trace\] .* another trace\n/);
    assert.doesNotMatch(log(), /a trace|a warning/);
  });

  it('reports why a directory cannot be used for the log, and stays in the previous one', () => {
    const log = logTo('before');
    assert.equal(push.setLogDirPath(''), INVALID_ARGUMENT);
    assert.equal(push.setLogDirPath('/proc/nowhere'), NOT_FOUND);
    assert.equal(push.setLogDirPath(__filename), NOT_FOUND);
    assert.match(log(), /\[error\] .* cannot write a log into \/proc\/nowhere/);
  });

  it('writes to standard error when the console is enabled', () => {
    const script = `
      const { createLivePush, sdkDirectory } = require('./lib');
      const push = createLivePush();
      push.registPlugin(sdkDirectory);
      push.writeLog('first', 3);
      push.setConsoleEnabled(true);
      push.writeLog('second', 3);
      push.setConsoleEnabled(false);
      push.writeLog('third', 3);`;
    const cwd = path.join(__dirname, '../..');
    const { status, stderr, stdout } = spawnSync(process.execPath, ['-e', script], {
      cwd,
      encoding: 'utf8',
    });
    assert.equal(status, 0, stderr);
    assert.match(stderr, / WriteLog second\n/);
    assert.doesNotMatch(stderr, /first|third/);
    assert.equal(stdout, '');
  });

  describe('with settings', () => {
    const REFUSALS = [
      ['nonsense', /parse error at line 1, column 2/],
      ['[]', /the text is a JSON array, not an object/],
      ['{"camera": 5}', /"camera" is a number, not a string/],
      ['{"reconnect": {"maxAttempts": 1001}}', /"reconnect.maxAttempts" is 1001, not 0 to 1000/],
    ];

    it('that cannot be used creates no pusher and no player, and logs the error', () => {
      for (const [index, [text, reason]] of REFUSALS.entries()) {
        const log = logTo(`refused-${index}`);
        push.setExtraConfig(text);
        assert.equal(push.initPusher({}), 1, text);
        assert.equal(push.initPlayer({}), '', text);
        assert.match(log(), /\[error\] \[Nimbo\] .* no pusher: the settings cannot be used: /);
        assert.match(log(), /\[error\] \[Nimbo\] .* no player: the settings cannot be used: /);
        assert.match(log(), reason);
        assert.match(
          log(),
          /\[error\] \[Electron\] .* InitPusher GetLivePusher failed: InitPusher\n/,
        );
      }
      push.setExtraConfig('{"camera": "test", "microphone": "test"}');
      assert.equal(push.initPusher({}), undefined, 'it may be tried again');
    });

    it('that are unknown works, with a warning that names them', () => {
      const log = logTo('unknown');
      push.setExtraConfig('{"camera": "test", "colour": 1, "reconnect": {"mood": "calm"}}');
      assert.equal(push.initPusher({}), undefined);
      assert.match(log(), /\[warning\] .* unknown setting "colour" is ignored\n/);
      assert.match(log(), /\[warning\] .* unknown setting "reconnect\.mood" is ignored\n/);
    });

    it('that cannot be used makes LivePush throw', () => {
      const live = new LivePush({ extraConfig: { camera: 5 } });
      const refused = { name: 'LivePushError', code: 'REFUSED', method: 'initPusher' };
      assert.throws(() => live.initPusher({}), refused);
      live.dispose();
    });
  });
});
