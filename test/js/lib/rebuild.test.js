'use strict';

// What `npx lumolivepush-electron-sdk rebuild` says before it builds: which runtime, which headers.

const assert = require('node:assert/strict');
const { spawnSync } = require('node:child_process');
const fs = require('node:fs');
const os = require('node:os');
const path = require('node:path');
const { after, describe, it } = require('node:test');
const { abiOf, findHeaders, runningRuntime } = require('../../../lib/rebuild/headers');

const PROGRAM = path.resolve(__dirname, '../../../bin/lumolivepush-electron-sdk.js');

const folder = fs.mkdtempSync(path.join(os.tmpdir(), 'lumo-rebuild-'));
after(() => fs.rmSync(folder, { recursive: true }));

function rebuild(args, env = {}) {
  const options = { encoding: 'utf8', timeout: 60_000, env: { ...process.env, ...env } };
  return spawnSync(process.execPath, [PROGRAM, 'rebuild', ...args], options);
}

function refusal(args, env) {
  const { status, stdout, stderr } = rebuild(args, env);
  assert.equal(status, 1);
  assert.equal(stdout, '');
  return stderr;
}

function headersWith(text) {
  const headers = fs.mkdtempSync(path.join(folder, 'headers-'));
  fs.writeFileSync(path.join(headers, 'node_version.h'), text);
  return headers;
}

describe('the rebuild command refuses', () => {
  const cases = {
    'an option that it does not have': [['--force'], /^rebuild: Unknown option '--force'/],
    'a runtime that there is not': [['--runtime', 'nw'], /^rebuild: --runtime nw$/m],
    'another runtime without its version': [['--runtime', 'electron'], /--target is missing/],
    'a part of a version': [['--target', '39'], /^rebuild: --target 39$/m],
    'a folder without headers': [['--headers', folder], /holds no headers: .*node_version\.h is/],
    'an SDK that is not there': [
      ['--headers', headersWith('#define NODE_MODULE_VERSION 1\n'), '--sdk', 'nowhere'],
      /--sdk nowhere: there is no such file/,
    ],
  };
  for (const [what, [args, text]] of Object.entries(cases)) {
    it(what, () => {
      assert.match(refusal(args), text);
    });
  }

  it("Node's headers for Electron, which npm's nodedir would bring", () => {
    const args = ['--runtime', 'electron', '--target', '39.2.0'];
    assert.match(refusal(args, { npm_config_nodedir: folder }), /nodedir.*do not fit Electron/);
  });

  it('to guess an ABI', () => {
    const headers = headersWith('#define NODE_MAJOR_VERSION 20\n');
    assert.match(refusal(['--headers', headers]), /does not define NODE_MODULE_VERSION/);
  });
});

describe('headers', () => {
  it("are those of npm's nodedir where it is set", () => {
    const runtime = { name: 'node', version: '20.0.0' };
    const headers = findHeaders(runtime, { npm_config_nodedir: '/opt/node' });
    assert.equal(headers, path.join('/opt/node', 'include', 'node'));
  });

  it('tell the ABI', () => {
    assert.equal(abiOf(headersWith('#define X 1\n#define NODE_MODULE_VERSION 140\n')), '140');
  });

  it('are asked for by the runtime, Electron before the Node in it', () => {
    assert.deepEqual(runningRuntime({ node: '22.0.0', electron: '39.2.0' }), {
      name: 'electron',
      version: '39.2.0',
    });
    assert.deepEqual(runningRuntime({ node: '22.0.0' }), { name: 'node', version: '22.0.0' });
  });
});
