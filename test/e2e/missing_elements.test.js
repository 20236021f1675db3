'use strict';

// What an application is told where GStreamer's plug-ins are not installed: one error for each
// operation, with what that operation lacks and the packages.

const assert = require('node:assert/strict');
const { spawnSync } = require('node:child_process');
const fs = require('node:fs');
const path = require('node:path');
const { describe, it } = require('node:test');
const { withoutPlugins } = require('../js/support/gstreamer_plugins');
const { writeTestFile } = require('../../tools/rtmp/publisher');

const GUARD = { timeout: 60_000 };
const PREVIEW = `live.startPreview({ view: null, width: 640, height: 360 })`;
const PUSH = `live.startPush('rtmp://127.0.0.1:1/live/stream')`;

/**
 * Runs operations without plug-ins, in a process of its own.
 *
 * @param {string[]} hidden the plug-ins
 * @param {string} operation an expression with the promise of an operation of \`live\`
 * @returns {{failure?: {code: string, sdk: object}, errors: object[]}} how it was rejected, and the
 *   errors that listeners got
 */
function without(hidden, operation) {
  const plugins = withoutPlugins(...hidden);
  const program = `
    const { LivePush } = require('../..');
    const live = new LivePush({ extraConfig: { camera: 'test', microphone: 'test' } });
    const errors = [];
    for (const event of ['onSystemError', 'onSDKError', 'onPlayError']) {
      live.on(event, ({ code, msg }) => errors.push({ event, code, msg }));
    }
    live.initPusher({ width: 640, height: 360, frameRate: 30 });
    const report = (outcome) =>
      setTimeout(() => {
        process.stdout.write('\\n' + JSON.stringify({ ...outcome, errors }), () => process.exit());
      }, 300);
    (async () => ${operation})().then(
      () => report({}),
      ({ code, message }) => report({ failure: { code, message } }),
    );
  `;
  try {
    const { stdout, stderr } = spawnSync(process.execPath, ['-e', program], {
      cwd: __dirname,
      encoding: 'utf8',
      timeout: GUARD.timeout,
      env: {
        ...process.env,
        GST_PLUGIN_SYSTEM_PATH_1_0: plugins,
        GST_REGISTRY: path.join(plugins, 'registry.bin'),
      },
    });
    const line = stdout.trim().split('\n').at(-1);
    assert.match(line, /^\{/, stdout + stderr);
    return JSON.parse(line);
  } finally {
    fs.rmSync(plugins, { recursive: true });
  }
}

const missing = (...elements) =>
  `GStreamer elements are missing: ${elements
    .map(([element, name]) => `${element} (package gstreamer1.0-${name})`)
    .join(', ')}`;

describe('without plug-ins of GStreamer', GUARD, () => {
  it('a preview that cannot show anything is refused', () => {
    const { failure, errors } = without(['app'], PREVIEW);
    const msg = missing(['appsink', 'plugins-base'], ['appsrc', 'plugins-base']);
    assert.deepEqual(errors, [{ event: 'onSystemError', code: -3104, msg }]);
    assert.equal(failure.code, 'SDK_ERROR');
    assert.ok(failure.message.includes(msg), failure.message);
  });

  it('a push that cannot be encoded is refused', () => {
    const { failure, errors } = without(['videoparsersbad'], PUSH);
    const msg = missing(['h264parse', 'plugins-bad']);
    assert.deepEqual(errors, [{ event: 'onSDKError', code: -3104, msg }]);
    assert.equal(failure.code, 'SDK_ERROR');
    assert.ok(failure.message.includes(msg), failure.message);
  });

  it('a preview does without what only a push needs', () => {
    const { failure, errors } = without(['videoparsersbad', 'x264', 'openh264', 'flv'], PREVIEW);
    assert.equal(failure, undefined);
    assert.deepEqual(errors, []);
  });

  it('a play names what playing needs', async () => {
    const folder = fs.mkdtempSync(path.join(fs.realpathSync('/tmp'), 'missing-elements-'));
    try {
      const file = path.join(folder, 'clip.mp4');
      await writeTestFile(file, 2);
      const hidden = ['isomp4', 'x264', 'videoparsersbad', 'openh264'];
      const play = `live.createPlayer().startPlay(${JSON.stringify(file)})`;
      const { failure, errors } = without(hidden, play);
      assert.equal(failure.code, 'SDK_ERROR');
      assert.equal(errors.length, 1);
      assert.equal(errors[0].code, -3203);
      assert.ok(errors[0].msg.endsWith(`; ${missing(['qtdemux', 'plugins-good'])}`), errors[0].msg);
    } finally {
      fs.rmSync(folder, { recursive: true });
    }
  });
});
