// The package's files: those that users need, nothing of the machine that built them.

const assert = require('node:assert/strict');
const fs = require('node:fs');
const path = require('node:path');
const { after, before, describe, it } = require('node:test');
const { root } = require('../../tools/lib/project');
const {
  makeApplication,
  mustRun,
  removeApplications,
  runtimes,
  tarball,
} = require('./support/application');

const PREBUILDS = 'prebuilds/linux-x64';
const SDK = `${PREBUILDS}/NimboSdk.framework/NimboSdk`;
const ADDONS = runtimes.map(({ abi }) => `${PREBUILDS}/node.abi${abi}.node`);

// All that may be in it, and all of which something must be.
const KINDS = [
  /^package\.json$/,
  /^(README|CHANGELOG|CONTRIBUTING|SECURITY)\.md$/,
  /^(LICENSE|THIRD-PARTY-NOTICES)$/,
  /^binding\.gyp$/,
  /^(bin|lib)\/[\w/-]+\.(js|mjs|d\.ts|d\.mts)$/,
  /^docs\/([\w-]+\.md|images\/[\w-]+\.(png|svg))$/,
  /^prebuilds\/linux-x64\/(node|electron)\.abi\d+\.node$/,
  /^prebuilds\/linux-x64\/NimboSdk\.framework\/NimboSdk$/,
  /^(CMakeLists\.txt|cmake\/\w+\.cmake)$/,
  /^(src|sdk)\/([\w/-]+\.(h|cc)|([\w/-]+\/)?CMakeLists\.txt)$/,
  /^examples\/plugins\/[\w/.-]+\.(h|cc|txt|map|cmake)$/,
  /^tools\/(generate-(element|native)-tables?|lib\/\w+)\.js$/,
];
const LIMITS = { tarball: 3e6, unpacked: 8e6, sdk: 2.5e6, addon: 0.4e6 };

describe('the package', () => {
  let installed;
  let files;
  before(() => {
    ({ installed } = makeApplication());
    files = fs
      .readdirSync(installed, { recursive: true, withFileTypes: true })
      .filter((entry) => entry.isFile())
      .map(({ parentPath, path: folder, name }) =>
        path.relative(installed, path.join(parentPath ?? folder, name)),
      );
  });
  after(removeApplications);

  const place = (file) => path.join(installed, file);
  const sizeOf = (file) => fs.statSync(place(file)).size;

  it('holds files of the known kinds only, and some of each', () => {
    const unknown = files.filter((file) => !KINDS.some((kind) => kind.test(file)));
    assert.deepEqual(unknown, []);
    const absent = KINDS.filter((kind) => !files.some((file) => kind.test(file)));
    assert.deepEqual(absent, []);
  });

  it('holds one SDK, and an add-on for each supported Node', () => {
    const binaries = files.filter((file) => file.startsWith(PREBUILDS));
    assert.deepEqual(binaries.sort(), [SDK, ...ADDONS].sort());
  });

  it('is small', (t) => {
    const unpacked = files.reduce((sum, file) => sum + sizeOf(file), 0);
    const packed = fs.statSync(tarball).size;
    t.diagnostic(`${packed} bytes packed, ${unpacked} unpacked in ${files.length} files`);
    for (const file of [SDK, ...ADDONS]) t.diagnostic(`${file}: ${sizeOf(file)} bytes`);
    assert.ok(packed < LIMITS.tarball);
    assert.ok(unpacked < LIMITS.unpacked);
    assert.ok(sizeOf(SDK) < LIMITS.sdk);
    for (const file of ADDONS) assert.ok(sizeOf(file) < LIMITS.addon);
  });

  for (const file of [SDK, ...ADDONS]) {
    it(`${file} holds no debug information, and no path of its builder`, () => {
      const sections = mustRun('readelf', ['--sections', '--wide', place(file)]);
      assert.match(sections, / \.dynsym /);
      assert.doesNotMatch(sections, / \.(debug_\w+|symtab) /);
      assert.ok(!fs.readFileSync(place(file)).includes(root));
    });
  }

  // Node's config.gypi also has switches of its debug builds, which are none of these.
  for (const file of ADDONS) {
    it(`${file} is compiled as a release`, () => {
      const symbols = mustRun('readelf', ['--dyn-syms', '--wide', place(file)]);
      assert.match(symbols, / UND _ZN2v8/);
      assert.doesNotMatch(symbols, / UND _ZN2v8\w*CheckCast/);
    });
  }

  it('installs without running a script', () => {
    const { scripts } = JSON.parse(fs.readFileSync(place('package.json')));
    const atInstallation = ['preinstall', 'install', 'postinstall', 'prepare'];
    assert.deepEqual(
      atInstallation.filter((name) => name in scripts),
      [],
    );
  });

  // The tests of a build, on a folder that looks like one.
  for (const { abi } of runtimes) {
    it(`its binaries for ABI ${abi} are hardened, and need what every supported system has`, () => {
      const folder = path.join(installed, '..', `abi${abi}`);
      const built = path.join(root, 'build', 'release');
      fs.mkdirSync(folder);
      fs.copyFileSync(path.join(built, 'CMakeCache.txt'), path.join(folder, 'CMakeCache.txt'));
      fs.cpSync(path.join(built, 'examples'), path.join(folder, 'examples'), { recursive: true });
      fs.cpSync(place(path.dirname(SDK)), path.join(folder, 'NimboSdk.framework'), {
        recursive: true,
      });
      fs.copyFileSync(
        place(`${PREBUILDS}/node.abi${abi}.node`),
        path.join(folder, 'lumolivepush_electron_sdk.node'),
      );
      const tests = ['hardening', 'system_needs'].map((name) =>
        path.join(root, `test/js/module/${name}.test.js`),
      );
      const report = mustRun(process.execPath, ['--test', '--test-reporter=tap', ...tests], {
        env: { LUMO_BUILD_DIR: folder },
      });
      assert.match(report, /^# pass ([3-9]\d|[1-9]\d\d)$/m);
      assert.match(report, /^# skipped 0$/m);
    });
  }
});
