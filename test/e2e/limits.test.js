'use strict';

// A process that may open few files gets an error, and continues.

const assert = require('node:assert/strict');
const { spawnSync } = require('node:child_process');
const path = require('node:path');
const { describe, it } = require('node:test');

const PRELUDE = `
  const { spawnSync } = require('node:child_process');
  const fs = require('node:fs');
  const { createLivePush, sdkDirectory } = require(${JSON.stringify(path.resolve(__dirname, '../../lib'))});
  const limit = (what, value) => spawnSync('prlimit', ['--pid', String(process.pid), '--' + what + '=' + value + ':']);
  const open = () => fs.readdirSync('/proc/self/fd').length;
  const live = createLivePush();
  live.registPlugin(sdkDirectory);
  live.setConsoleEnabled(true);
  live.setExtraConfig(JSON.stringify({ camera: 'test', microphone: 'test' }));
  const next = (name) => new Promise((resolve) => live.addEventListener(name, resolve));
`;

/**
 * Runs a script in a process of its own. @returns {{output: any, log: string}} the argument of
 * done()
 */
function run(script) {
  const { status, signal, stdout, stderr } = spawnSync(
    process.execPath,
    [
      '-e',
      `${PRELUDE} const done = (value) => { console.log(JSON.stringify(value)); process.exit(0); };
      (async () => { ${script} })();`,
    ],
    { encoding: 'utf8', timeout: 50_000 },
  );
  assert.deepEqual([status, signal], [0, null], stderr);
  return { output: JSON.parse(stdout), log: stderr };
}

describe('with few descriptors left', { timeout: 60_000 }, () => {
  it('a pusher or player needs enough descriptors', () => {
    const { output, log } = run(`
      limit('nofile', open() + 20);
      const few = [live.initPusher({}), live.initPlayer({})];
      limit('nofile', 1024);
      done([few, live.initPusher({}), typeof live.initPlayer({})]);`);
    assert.deepEqual(output, [[1, ''], null, 'string']); // null: undefined, as JSON has it
    assert.match(log, /no pusher: only \d+ more descriptors can be opened; 96 are needed/);
    assert.match(log, /no player: only \d+ more descriptors can be opened; 96 are needed/);
  });

  it('preview, push and playback report it by an event', () => {
    const { output } = run(`
      live.initPusher({ width: 320, height: 180 });
      const player = live.initPlayer({});
      const preview = next('onSystemError');
      const push = next('onSDKError');
      const play = next('onPlayError');
      live.getCameraList(); // all is loaded
      limit('nofile', open() + 20);
      live.startPreview({ view: null, width: 320, height: 180 });
      live.startPush('rtmp://127.0.0.1/live/x');
      live.startPlay(player, 'rtmp://127.0.0.1/live/x');
      const errors = await Promise.all([preview, push, play]);
      limit('nofile', 1024);
      live.stopPreview();
      const works = next('onPreviewStarted');
      live.startPreview({ view: null, width: 320, height: 180 });
      await works;
      done(errors.map(({ code, msg }) => [code, msg.replace(/\\d+ more/, 'few more')]));`);
    const error = [-3107, 'only few more descriptors can be opened; 96 are needed'];
    assert.deepEqual(output, [error, error, error]);
  });
});
