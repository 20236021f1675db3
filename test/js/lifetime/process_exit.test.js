'use strict';

// What happens to the process as a whole: each test looks at one of its own.

const assert = require('node:assert/strict');
const { spawnSync } = require('node:child_process');
const path = require('node:path');
const { describe, it } = require('node:test');

const PRELUDE = `
  const { sdk, createLivePush, flush, scriptedDirectory } =
    require(${JSON.stringify(path.join(__dirname, '../support/addon.js'))});
  const wrapper = createLivePush();
  wrapper.registPlugin(scriptedDirectory);
  wrapper.initPusher({});
`;

function runScript(script, options = {}) {
  return spawnSync(process.execPath, ['--expose-gc', '-e', PRELUDE + script], {
    encoding: 'utf8',
    timeout: 60_000,
    ...options,
  });
}

describe('a listener that throws', () => {
  it('reaches "uncaughtException", and the remaining events are delivered', () => {
    const { status, stdout, stderr } = runScript(`
      const seen = [];
      process.on('uncaughtException', (error) => seen.push(error.message));
      wrapper.addEventListener('onPushStarted', () => { throw new Error('from a listener'); });
      wrapper.addEventListener('onPushStopped', () => seen.push('heard'));
      sdk.fire('onPushStarted');
      sdk.fire('onPushStopped');
      sdk.fire('onPushStarted');
      flush().then(() => { console.log(seen.join()); process.exit(); });`);
    assert.equal(status, 0, stderr);
    assert.equal(stdout, 'from a listener,heard,from a listener\n');
  });

  it('ends the process without a handler for it, as any uncaught exception does', () => {
    const { status, stderr } = runScript(`
      wrapper.addEventListener('onPushStarted', () => { throw new Error('from a listener'); });
      sdk.fire('onPushStarted');`);
    assert.equal(status, 1);
    assert.match(stderr, /from a listener/);
  });

  it('that rejects a promise reaches "unhandledRejection"', () => {
    const { stdout } = runScript(`
      process.on('unhandledRejection', (error) => console.log(error.message));
      wrapper.addEventListener('onPushStarted', async () => { throw new Error('rejected'); });
      sdk.fire('onPushStarted');
      flush().then(() => process.exit());`);
    assert.equal(stdout, 'rejected\n');
  });
});

describe('the end of the process', () => {
  it('does not come by itself once a method has obtained the pusher', () => {
    const { error } = runScript('', { timeout: 2000, killSignal: 'SIGKILL' });
    assert.equal(error.code, 'ETIMEDOUT');
  });

  it('comes by itself for a wrapper that never needed a pusher', () => {
    const module = path.join(__dirname, '../support/addon.js');
    const script = `require(${JSON.stringify(module)}).createLivePush().getSDKVersion();`;
    const { status, stderr } = spawnSync(process.execPath, ['-e', script], {
      encoding: 'utf8',
      timeout: 60_000,
    });
    assert.equal(status, 0, stderr);
  });

  for (const how of ['process.exit(7)', 'process.reallyExit(7)']) {
    it(`${how} from a listener, while threads fire events and frames`, () => {
      const { status, signal, stderr } = runScript(`
        wrapper.addEventListener('onVideoRenderData', () => {});
        sdk.startFrom(8, (thread) => thread % 2
          ? { callback: 'onSDKError', code: 1, msg: 'text' }
          : { callback: 'onCaptureVideoSample', frame: { width: 64, height: 36 } },
          { times: 5000 });
        wrapper.addEventListener('onSDKError', () => ${how});`);
      assert.deepEqual([status, signal], [7, null], stderr);
    });
  }

  it('by an exception in an exit handler, with events queued', () => {
    const { status } = runScript(`
      wrapper.addEventListener('onPushStarted', () => {});
      process.on('exit', () => { sdk.fire('onPushStarted'); global.gc(); });
      process.exit(3);`);
    assert.equal(status, 3);
  });
});
