'use strict';

// What `npx lumolivepush-electron-sdk doctor` says of complete and of incomplete systems.

const assert = require('node:assert/strict');
const { spawnSync } = require('node:child_process');
const fs = require('node:fs');
const os = require('node:os');
const path = require('node:path');
const { after, describe, it } = require('node:test');
const { buildDirectory } = require('../support/build_directory');
const { SYSTEM_PLUGINS, withoutPlugins } = require('../support/gstreamer_plugins');
const { FEATURES } = require('../../../lib/elements');

const ROOT = path.resolve(__dirname, '../../..');
const PROGRAM = path.join(ROOT, 'bin/lumolivepush-electron-sdk.js');
const skip = process.platform !== 'linux' && 'the list of packages is of Linux';

const folder = fs.mkdtempSync(path.join(os.tmpdir(), 'lumo-doctor-'));
after(() => fs.rmSync(folder, { recursive: true }));

function run(args = ['doctor'], env = {}) {
  const options = { encoding: 'utf8', timeout: 60_000 };
  return spawnSync(process.execPath, [PROGRAM, ...args], {
    ...options,
    env: { ...process.env, LUMO_BUILD_DIR: buildDirectory, ...env },
  });
}

/** @returns {Record<string, string>} the table's lines by what they are about */
const rows = (text) =>
  Object.fromEntries(
    text
      .split('\n')
      .map((line) => line.split(/ {2,}/, 3))
      .map(([what, ...rest]) => [what, rest]),
  );

describe('the doctor', { skip }, () => {
  it('finds all that streaming needs where the package was built', () => {
    const { status, stdout, stderr } = run();
    assert.equal(status, 0, stdout + stderr);
    const table = rows(stdout);
    for (const what of ['runtime', 'add-on', 'libraries', ...Object.keys(FEATURES)]) {
      assert.equal(table[what]?.[0], 'ok', `${what}: ${stdout}`);
    }
    assert.match(table.runtime[1], new RegExp(`ABI ${process.versions.modules}, linux-`));
    assert.doesNotMatch(stdout, /apt-get/);
  });

  it('names elements that are missing by feature, and the command that installs them', () => {
    const { status, stdout } = run(['doctor'], { GST_PLUGIN_SYSTEM_PATH_1_0: folder });
    assert.equal(status, 1);
    const table = rows(stdout);
    assert.equal(table['publishing video'][0], 'MISSING');
    assert.match(table['publishing video'][1], /x264enc missing/);
    assert.match(table['playing HLS'][1], /^hlsdemux missing$/);
    const packages = new Set(
      Object.values(FEATURES).flatMap((elements) =>
        Object.values(elements).map(([, name]) => name),
      ),
    );
    assert.ok(
      stdout.endsWith(
        `sudo apt-get install --no-install-recommends ${[...packages].sort().join(' ')}\n`,
      ),
      stdout,
    );
  });

  it('names what encrypted addresses need', () => {
    const { status, stdout } = run(['doctor'], { GIO_MODULE_DIR: folder });
    assert.equal(status, 1);
    assert.deepEqual(rows(stdout)['rtmps, https'], ['MISSING', 'no TLS']);
    assert.ok(
      stdout.endsWith('sudo apt-get install --no-install-recommends glib-networking\n'),
      stdout,
    );
  });

  it('accepts the encoder that is used where x264 is missing', () => {
    const plugins = withoutPlugins('x264');
    after(() => fs.rmSync(plugins, { recursive: true }));
    const { status, stdout } = run(['doctor'], { GST_PLUGIN_SYSTEM_PATH_1_0: plugins });
    assert.equal(status, 0, stdout);
    assert.equal(
      rows(stdout)['publishing video'].join(' '),
      'ok 3 GStreamer elements, openh264enc in place of x264enc',
    );
  });

  it('finds a plug-in that a library is missing for', () => {
    const file = path.join(folder, 'libgsthls.so');
    const bytes = fs.readFileSync(path.join(SYSTEM_PLUGINS, 'libgsthls.so'));
    bytes.write('libgstt', bytes.indexOf('libgsta'), 'latin1'); // libgstadaptivedemux or libgstapp
    fs.writeFileSync(file, bytes);
    const { stdout } = run(['doctor'], { GST_PLUGIN_PATH_1_0: folder });
    assert.match(rows(stdout)['playing HLS'].join(' '), /^MISSING hlsdemux unusable$/);
  });

  it('explains why the add-on cannot be loaded', () => {
    const { status, stdout } = run(['doctor'], { LUMO_BUILD_DIR: folder });
    assert.equal(status, 1);
    assert.match(rows(stdout)['add-on'].join(' '), /^MISSING NO_BUILD: /);
  });

  it('and the rebuild are the only commands', () => {
    for (const args of [[], ['cure'], ['doctor', 'more'], ['__proto__']]) {
      const { status, stderr } = run(args);
      assert.equal(status, 2);
      assert.match(stderr, /^usage: lumolivepush-electron-sdk doctor \| rebuild$/m);
    }
  });
});
