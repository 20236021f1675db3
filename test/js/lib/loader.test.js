'use strict';

// Loading the package: where the binaries are looked for, and what a failure explains.

const assert = require('node:assert/strict');
const { spawnSync } = require('node:child_process');
const fs = require('node:fs');
const os = require('node:os');
const path = require('node:path');
const { after, describe, it } = require('node:test');
const { scriptedDirectory } = require('../support/build_directory');

const LIB = path.resolve(__dirname, '../../../lib/index.js');
const ADDON = 'lumolivepush_electron_sdk.node';
const SDK = 'NimboSdk.framework/NimboSdk';
// Named "experimental" until Node 23.
const permission = ['--permission', '--experimental-permission'].find((flag) =>
  process.allowedNodeEnvironmentFlags.has(flag),
);
const notLinux = process.platform !== 'linux' && 'ELF files are needed';

const temporary = fs.mkdtempSync(path.join(os.tmpdir(), 'lumo-loader-'));
after(() => fs.rmSync(temporary, { recursive: true }));

/**
 * A build folder. Each file is copied from the scripted build and changed, or left out.
 * @param {string} name
 * @param {Record<string, (bytes: Buffer) => Buffer>} files
 */
function makeBuild(name, files) {
  const folder = path.join(temporary, name);
  fs.mkdirSync(folder, { recursive: true });
  for (const [file, change] of Object.entries(files)) {
    fs.mkdirSync(path.dirname(path.join(folder, file)), { recursive: true });
    const bytes = fs.readFileSync(path.join(scriptedDirectory, file));
    fs.writeFileSync(path.join(folder, file), change(bytes), { mode: 0o755 });
  }
  return folder;
}

const same = (bytes) => bytes;

/** Replaces the first occurrence: in an ELF file that of the dynamic linker's strings. */
function replacing(from, to) {
  assert.equal(from.length, to.length);
  return (bytes) => {
    const at = bytes.indexOf(from, 0, 'latin1');
    assert.notEqual(at, -1, `no ${from} in the file`);
    bytes.write(to, at, 'latin1');
    return bytes;
  };
}

function forMachine(machine) {
  return (bytes) => {
    bytes.writeUInt16LE(machine, 18);
    return bytes;
  };
}

/** The head of a Mach-O file for Apple's own processors. */
function machO() {
  const bytes = Buffer.alloc(64);
  bytes.writeUInt32LE(0xfeedfacf, 0);
  bytes.writeUInt32LE(0x0100000c, 4);
  return bytes;
}

/**
 * Runs `code` in a process of its own, with the package as `lumo` and `describe(error)` at hand.
 * @returns {any} what `code` returned
 */
function inProcess(folder, code, { before = '', flags = [] } = {}) {
  const script = `
    ${before}
    const describe = ({ name, code, message, remedy, cause }) =>
      ({ name, code, message, remedy, cause: cause?.message });
    const thrownBy = (action) => { try { action(); } catch (error) { return error; } };
    const lumo = require(${JSON.stringify(LIB)});
    Promise.resolve((() => { ${code} })()).then((value) => {
      require('node:fs').writeSync(1, JSON.stringify(value));
      process.exit(0);
    });`;
  const { status, stdout, stderr } = spawnSync(process.execPath, [...flags, '-e', script], {
    env: { ...process.env, LUMO_BUILD_DIR: folder },
    encoding: 'utf8',
  });
  assert.equal(status, 0, stderr);
  return JSON.parse(stdout);
}

/** What the package says about a folder from which it cannot load. */
function failureOf(folder, options) {
  const { supported, error, thrown } = inProcess(
    folder,
    `return {
       supported: lumo.isSupported(),
       error: describe(lumo.loadError),
       thrown: [
         () => lumo.createLivePush(),
         () => new lumo.LumoLivePushJSWrapper(),
         () => lumo.LumoLivePushJSWrapper(),
         () => new lumo.LivePush(),
       ].map((action) => thrownBy(action) === lumo.loadError),
     };`,
    options,
  );
  assert.equal(supported, false);
  assert.equal(error.name, 'AddonLoadError');
  assert.ok(error.message.endsWith(error.remedy));
  assert.deepEqual(thrown, [true, true, true, true]);
  return error;
}

describe('the loader', () => {
  it('loads the add-on of LUMO_BUILD_DIR', () => {
    const result = inProcess(
      scriptedDirectory,
      `return {
         supported: lumo.isSupported(),
         error: lumo.loadError === undefined,
         made: lumo.createLivePush() instanceof lumo.LumoLivePushJSWrapper,
         directory: lumo.sdkDirectory,
         registered: lumo.createLivePush().registPlugin(lumo.sdkDirectory),
       };`,
    );
    assert.deepEqual(result, {
      supported: true,
      error: true,
      made: true,
      directory: scriptedDirectory,
      registered: true,
    });
  });

  it('explains that there is no build', () => {
    const folder = makeBuild('empty', {});
    const { code, message, remedy, cause } = failureOf(folder);
    assert.equal(code, 'NO_BUILD');
    assert.ok(message.includes(`${process.platform}-${process.arch}`));
    assert.ok(message.includes(`ABI ${process.versions.modules}`));
    assert.ok(message.includes(path.join(folder, ADDON)));
    assert.match(remedy, /npm run build/);
    assert.equal(cause, undefined);
  });

  it('explains how to build for Electron', () => {
    const before = `Object.defineProperty(process, 'versions',
      { value: { ...process.versions, electron: '99.1.2' } });`;
    const { message, remedy } = failureOf(makeBuild('empty', {}), { before });
    assert.match(message, /Electron 99\.1\.2/);
    assert.match(remedy, /rebuild --runtime electron --target 99\.1\.2"/);
  });

  it('explains that the platform has no build', () => {
    const before = `Object.defineProperty(process, 'platform', { value: 'sunos' });`;
    const { code, message } = failureOf(makeBuild('empty', {}), { before });
    assert.equal(code, 'UNSUPPORTED_PLATFORM');
    assert.match(message, /no build for sunos-/);
  });

  it('explains that NimboSdk is missing', { skip: notLinux }, () => {
    const folder = makeBuild('no-sdk', { [ADDON]: same });
    const { code, message, cause } = failureOf(folder);
    assert.equal(code, 'SDK_NOT_FOUND');
    assert.ok(message.includes(path.join(folder, SDK)));
    assert.match(cause, /NimboSdk/);
  });

  it('explains that NimboSdk is of another version', { skip: notLinux }, () => {
    const rename = replacing('12LumoLiveBase13GetSDKVersionEv', '12LumoLiveBase13GetSDKVersionEw');
    const { code } = failureOf(makeBuild('old-sdk', { [ADDON]: rename, [SDK]: same }));
    assert.equal(code, 'SDK_MISMATCH');
  });

  it('names a missing system library', { skip: notLinux }, () => {
    const rename = replacing('libstdc++.so.6', 'libstd00.so.6\0');
    const folder = makeBuild('no-library', { [ADDON]: same, [SDK]: rename });
    const { code, message } = failureOf(folder);
    assert.equal(code, 'MISSING_LIBRARY');
    assert.match(message, /the system library libstd00\.so\.6, which it needs/);
  });

  it('names all system libraries that are missing', { skip: notLinux }, () => {
    const folder = makeBuild('no-libraries', {
      [ADDON]: replacing('libgcc_s.so.1', 'libgcc_0.so.1'),
      [SDK]: replacing('libstdc++.so.6', 'libstd00.so.6\0'),
    });
    const { code, message } = failureOf(folder);
    assert.equal(code, 'MISSING_LIBRARY');
    assert.match(message, /2 system libraries .*: libgcc_0\.so\.1, libstd00\.so\.6\./);
  });

  it('explains that a library is for another machine', { skip: notLinux }, () => {
    const foreign = process.arch === 'arm64' ? [62, 'x64'] : [183, 'arm64'];
    const [machine, arch] = foreign;
    for (const file of [ADDON, SDK]) {
      const change = { [ADDON]: same, [SDK]: same, [file]: forMachine(machine) };
      const folder = makeBuild(`foreign-${path.basename(file)}`, change);
      const { code, message } = failureOf(folder);
      assert.equal(code, 'WRONG_ARCHITECTURE');
      assert.ok(message.includes(`${path.join(folder, file)} was built for linux-${arch}`));
    }
  });

  it('explains that the add-on is for another operating system', { skip: notLinux }, () => {
    const { code, message } = failureOf(makeBuild('mac', { [ADDON]: machO }));
    assert.equal(code, 'WRONG_ARCHITECTURE');
    assert.match(message, /darwin-arm64/);
  });

  it('explains that the add-on is for another runtime', { skip: notLinux }, () => {
    const rename = replacing('\0uv_default_loop\0', '\0uv_another_loop\0');
    const { code, message } = failureOf(makeBuild('abi', { [ADDON]: rename, [SDK]: same }));
    assert.equal(code, 'ABI_MISMATCH');
    assert.ok(message.includes(process.versions.node));
  });

  it("knows the runtime's own words for another ABI", () => {
    const { explainLoadFailure } = require('../../../lib/explain_load_failure');
    const words = new Error(
      'The module was compiled against a different Node.js version using NODE_MODULE_VERSION 108.',
    );
    const error = explainLoadFailure(path.join(scriptedDirectory, ADDON), '/none', words);
    assert.equal(error.code, 'ABI_MISMATCH');
    assert.equal(error.cause, words);
  });

  it('passes on an unknown failure', () => {
    const { code, message, cause } = failureOf(
      makeBuild('garbage', { [ADDON]: () => Buffer.from('no library at all, but long enough') }),
    );
    assert.equal(code, 'LOAD_FAILED');
    assert.ok(cause.length > 0);
    assert.ok(message.includes(cause));
  });

  it('explains how to start Node where it may load no add-ons', () => {
    const { code, message } = failureOf(scriptedDirectory, { flags: ['--no-addons'] });
    assert.equal(code, 'ADDONS_DISABLED');
    assert.match(message, /--no-addons/);
  });

  it('explains how to start Node with its permission model', {
    skip: !permission && 'none',
  }, () => {
    const all = failureOf(scriptedDirectory, { flags: [permission, '--allow-fs-read=*'] });
    assert.equal(all.code, 'ADDONS_DISABLED');
    assert.match(all.message, /--allow-addons/);
    const flags = [permission, '--allow-addons', `--allow-fs-read=${path.dirname(LIB)}/*`];
    const some = failureOf(makeBuild('unreadable', { [ADDON]: same, [SDK]: same }), { flags });
    assert.equal(some.code, 'PERMISSION_DENIED');
    assert.match(some.message, /--allow-fs-read/);
  });

  const major = Number.parseInt(process.versions.node, 10);
  const skip = major < 20 && 'scripts of snapshots cannot require files there';
  it('explains that a startup snapshot cannot hold it', { skip }, () => {
    const script = path.join(temporary, 'snapshot.js');
    fs.writeFileSync(
      script,
      `const { loadError } = require('node:module').createRequire(__filename)(${JSON.stringify(LIB)});
       require('node:fs').writeSync(1, JSON.stringify([loadError.code, loadError.message]));`,
    );
    const blob = path.join(temporary, 'snapshot.blob');
    const { stdout, stderr } = spawnSync(
      process.execPath,
      ['--snapshot-blob', blob, '--build-snapshot', script],
      { env: { ...process.env, LUMO_BUILD_DIR: scriptedDirectory }, encoding: 'utf8' },
    );
    assert.notEqual(stdout, '', stderr);
    const [code, message] = JSON.parse(stdout);
    assert.equal(code, 'BUILDING_SNAPSHOT');
    assert.match(message, /snapshot/);
  });

  it('explains that it works on the main thread only', () => {
    const { code, message } = inProcess(
      scriptedDirectory,
      `const { Worker } = require('node:worker_threads');
       const worker = new Worker(
         "const { loadError } = require(" + ${JSON.stringify(JSON.stringify(LIB))} + ");" +
         "const { code, message } = loadError;" +
         "require('node:worker_threads').parentPort.postMessage({ code, message })",
         { eval: true });
       return new Promise((resolve) => worker.once('message', resolve));`,
    );
    assert.equal(code, 'WORKER_THREAD');
    assert.match(message, /main thread/);
  });
});

describe('inside app.asar', () => {
  it('the unpacked build is loaded', () => {
    const unpacked = makeBuild('packed/app.asar.unpacked/build', { [ADDON]: same, [SDK]: same });
    const { supported, directory } = inProcess(
      path.join(temporary, 'packed/app.asar/build'),
      'return { supported: lumo.isSupported(), directory: lumo.sdkDirectory };',
    );
    assert.equal(supported, true);
    assert.equal(directory, unpacked);
  });

  it('a build that was not unpacked is explained', () => {
    const { code, remedy } = failureOf(path.join(temporary, 'other/app.asar/build'));
    assert.equal(code, 'INSIDE_ARCHIVE');
    assert.match(remedy, /asarUnpack/);
  });

  it('a build of which only the add-on was unpacked is explained', { skip: notLinux }, () => {
    makeBuild('half/app.asar.unpacked/build', { [ADDON]: same });
    const { code, remedy } = failureOf(path.join(temporary, 'half/app.asar/build'));
    assert.equal(code, 'SDK_NOT_FOUND');
    assert.match(remedy, /unpack NimboSdk\.framework too/);
  });

  it('only the archive itself is mapped', () => {
    const { unpackedPath } = require('../../../lib/unpacked_path');
    assert.equal(unpackedPath('/a/app.asar/b.so'), '/a/app.asar.unpacked/b.so');
    assert.equal(unpackedPath('C:\\a\\app.asar\\b'), 'C:\\a\\app.asar.unpacked\\b');
    for (const path of [
      '/a/app.asar.unpacked/b',
      '/a/myapp.asar/b',
      '/a/app.asarx/b',
      'b.so',
      '',
    ]) {
      assert.equal(unpackedPath(path), path);
    }
  });
});

describe('the ES module', () => {
  const importing = (folder) =>
    inProcess(
      folder,
      `return import(${JSON.stringify(LIB.replace(/\.js$/, '.mjs'))}).then((module) => ({
         names: Object.keys(module).sort(),
         expected: Object.keys(lumo).sort(),
         same: Object.keys(lumo).every((name) => module[name] === lumo[name]),
       }));`,
    );

  it('exports what the CommonJS module exports', () => {
    const { names, expected, same: identical } = importing(scriptedDirectory);
    assert.ok(expected.length > 0);
    assert.deepEqual(names, expected);
    assert.equal(identical, true);
  });

  it('can be imported without a build', () => {
    const { names, expected, same: identical } = importing(makeBuild('empty', {}));
    assert.deepEqual(names, expected);
    assert.equal(identical, true);
  });
});
