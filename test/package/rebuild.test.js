/*
 * The installed package builds the add-on that it does not bring: by its own command, and when
 * Electron's tools ask for it.
 */

const assert = require('node:assert/strict');
const { spawn } = require('node:child_process');
const fs = require('node:fs');
const path = require('node:path');
const { after, before, describe, it } = require('node:test');
const {
  makeApplication,
  mustRun,
  removeApplications,
  run,
  runtimeOf,
  tools,
} = require('./support/application');
const { ABI, VERSION, makeElectronHeaders, serveHeaders } = require('./support/electron_headers');

const LOADED = `
  const { loadError, createLivePush } = require('lumolivepush-electron-sdk');
  console.log(loadError?.message ?? typeof createLivePush());
  process.exit();
`;
const SWITCHES = [
  ...['V8_COMPRESS_POINTERS', 'V8_COMPRESS_POINTERS_IN_SHARED_CAGE', 'V8_31BIT_SMIS_ON_64BIT_ARCH'],
  ...['V8_ENABLE_SANDBOX', 'V8_EXTERNAL_CODE_SPACE'],
];
const node = runtimeOf(24);

describe('an installed package without an add-on for the runtime', () => {
  let folder;
  let installed;
  let prebuilds;
  before(() => {
    ({ folder, installed } = makeApplication({ 'loaded.js': LOADED }));
    prebuilds = path.join(installed, 'prebuilds', 'linux-x64');
  });
  after(removeApplications);

  const rebuild = (...args) =>
    run(node.node, ['node_modules/.bin/lumolivepush-electron-sdk', 'rebuild', ...args], {
      cwd: folder,
    });
  const addonOf = (name) => path.join(prebuilds, `${name}.node`);

  it('names the command that builds one, which does', () => {
    fs.rmSync(addonOf(`node.abi${node.abi}`));
    const reason = mustRun(node.node, ['loaded.js'], { cwd: folder });
    assert.match(reason, /Run "npx lumolivepush-electron-sdk rebuild"/);
    const { status, stdout, stderr } = rebuild('--headers', node.headers);
    assert.equal(status, 0, stderr);
    assert.equal(stdout.trim(), addonOf(`node.abi${node.abi}`));
    assert.equal(mustRun(node.node, ['loaded.js'], { cwd: folder }), 'object\n');
  });

  // Their headers are what Electron's of these years are made of.
  for (const runtime of [runtimeOf(24), runtimeOf(26)]) {
    it(`builds Electron's beside it, with the V8 of Node ${runtime.version} as Electron has it`, () => {
      const headers = makeElectronHeaders(runtime, path.join(folder, `electron-${runtime.abi}`));
      const sdk = fs.statSync(path.join(prebuilds, 'NimboSdk.framework/NimboSdk'));
      const { status, stderr } = rebuild('--runtime', 'electron', '--headers', headers);
      assert.equal(status, 0, stderr);
      const symbols = mustRun('readelf', ['--dyn-syms', '-W', addonOf(`electron.abi${ABI}`)]);
      assert.match(symbols, new RegExp(`\\bnode_register_module_v${ABI}\\b`));
      const commands = fs.readFileSync(
        path.join(installed, `build/rebuild/electron.abi${ABI}/compile_commands.json`),
        'utf8',
      );
      for (const definition of SWITCHES) assert.match(commands, RegExp(`-D${definition}[ "\\\\]`));
      assert.ok(commands.includes(headers), 'compiled with these headers');
      assert.ok(fs.existsSync(addonOf(`node.abi${node.abi}`)), "Node's stays");
      const after = fs.statSync(path.join(prebuilds, 'NimboSdk.framework/NimboSdk'));
      assert.equal(after.mtimeMs, sdk.mtimeMs, 'and so does the SDK');
    });
  }

  it('asks for cmake-js by name when it needs headers and there is none', () => {
    const { status, stderr } = rebuild('--runtime', 'electron', '--target', VERSION);
    assert.equal(status, 1);
    assert.match(stderr, /npm install --save-dev cmake-js@8/);
  });
});

describe('@electron/rebuild', () => {
  let folder;
  let prebuilds;
  let server;
  before(async () => {
    ({ folder } = makeApplication());
    const installed = path.join(folder, 'node_modules/lumolivepush-electron-sdk');
    prebuilds = path.join(installed, 'prebuilds', 'linux-x64');
    const manifest = path.join(folder, 'package.json');
    const application = JSON.parse(fs.readFileSync(manifest));
    application.dependencies ??= { 'lumolivepush-electron-sdk': '*' };
    fs.writeFileSync(manifest, JSON.stringify(application));
    const headers = path.join(folder, 'electron');
    makeElectronHeaders(node, headers);
    server = await serveHeaders(headers);
  });
  after(() => {
    server.close();
    removeApplications();
  });

  /** @returns {Promise<{status: number, output: string}>} */
  async function electronRebuild(...args) {
    const program = path.join(tools, '@electron/rebuild/lib/cli.js');
    const options = ['--version', VERSION, '--module-dir', folder, '--force', ...args];
    const child = spawn(node.node, [program, ...options], {
      cwd: folder,
      env: {
        PATH: `${path.dirname(node.node)}:${process.env.PATH}`,
        HOME: path.join(folder, 'home'),
        ELECTRON_REBUILD_DIST_URL: server.url,
      },
      timeout: 300_000,
    });
    let output = '';
    for (const stream of [child.stdout, child.stderr]) {
      stream.setEncoding('utf8').on('data', (text) => {
        output += text;
      });
    }
    const status = await new Promise((resolve) => child.on('close', resolve));
    return { status, output };
  }

  it('takes the add-on that the package brings', async () => {
    const addon = path.join(prebuilds, `electron.abi${ABI}.node`);
    fs.writeFileSync(addon, 'placeholder');
    const { status, output } = await electronRebuild();
    assert.equal(status, 0, output);
    assert.match(output, /Rebuild Complete/);
    assert.doesNotMatch(output, /No native modules found/);
    assert.equal(fs.readFileSync(addon, 'utf8'), 'placeholder');
    fs.rmSync(addon);
  });

  it('builds one where the package brings none', async () => {
    const { status, output } = await electronRebuild();
    assert.equal(status, 0, output);
    const symbols = mustRun('readelf', [
      ...['--dyn-syms', '-W'],
      path.join(prebuilds, `electron.abi${ABI}.node`),
    ]);
    assert.match(symbols, new RegExp(`\\bnode_register_module_v${ABI}\\b`));
  });

  it('fails aloud where it cannot be built', async () => {
    fs.rmSync(path.join(prebuilds, `electron.abi${ABI}.node`));
    fs.rmSync(path.join(prebuilds, '../../src'), { recursive: true });
    const { status, output } = await electronRebuild();
    assert.notEqual(status, 0);
    assert.match(output, /rebuild: cmake/);
  });
});
