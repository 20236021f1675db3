'use strict';

const { spawnSync } = require('node:child_process');
const os = require('node:os');
const path = require('node:path');

const { sdkFileIn } = require('../binaries');

const root = path.join(__dirname, '../..');
const PROGRAMS = { cmake: 'cmake', 'c++': 'g++' };

const runs = (program) => spawnSync(program, ['--version'], { stdio: 'ignore' }).status === 0;

/** @throws {Error} naming every program that is missing */
function requirePrograms() {
  const missing = Object.keys(PROGRAMS).filter((program) => !runs(program));
  if (missing.length === 0) return;
  const packages = missing.map((program) => PROGRAMS[program]);
  throw new Error(
    `${missing.join(' and ')} not found. On Debian and Ubuntu: sudo apt-get install ${packages.join(' ')}`,
  );
}

/** Runs CMake; what it prints goes to standard error. */
function cmake(...args) {
  const { status, signal } = spawnSync('cmake', args, { stdio: ['ignore', 2, 2] });
  if (status !== 0) throw new Error(`cmake ${args[0]} failed: ${signal ?? `exit code ${status}`}`);
}

/**
 * Builds with CMake in a folder of its own; what is up to date there stays.
 *
 * @param {object} build
 * @param {string} build.folder CMake's build folder
 * @param {string} build.target
 * @param {Record<string, string>} build.settings CMake's cache variables
 */
function build({ folder, target, settings }) {
  requirePrograms();
  const generator = runs('ninja') ? ['-G', 'Ninja'] : [];
  const definitions = Object.entries(settings).map(([name, value]) => `-D${name}=${value}`);
  cmake('-S', root, '-B', folder, ...generator, '-DLUMO_UNITY=ON', ...definitions);
  cmake(
    '--build',
    folder,
    '--target',
    target,
    '--parallel',
    String(os.availableParallelism?.() ?? 2),
  );
}

/**
 * Builds the default SDK, which is the same for all runtimes.
 *
 * @param {{folder: string, headers: string, type: string}} options CMake's build folder, the headers
 *   of any runtime, and CMake's build type
 * @returns {string} the SDK's file
 */
function buildSdk({ folder, headers, type }) {
  const settings = { CMAKE_BUILD_TYPE: type, CMAKE_JS_INC: headers, LUMO_EXAMPLES: 'OFF' };
  build({ folder, target: 'nimbo_sdk', settings });
  return sdkFileIn(folder);
}

/**
 * Builds the add-on.
 *
 * @param {object} options
 * @param {string} options.folder CMake's build folder
 * @param {'node' | 'electron'} options.runtime
 * @param {string} options.headers the folder that holds node.h
 * @param {string} options.sdk the SDK's file, which it is linked with
 * @param {string} options.type CMake's build type
 * @returns {string} the add-on's file
 */
function buildAddon({ folder, runtime, headers, sdk, type }) {
  const settings = {
    CMAKE_BUILD_TYPE: type,
    CMAKE_JS_INC: headers,
    NODE_RUNTIME: runtime,
    LUMO_NIMBO_SDK: sdk,
    LUMO_EXAMPLES: 'OFF',
  };
  const target = 'lumolivepush_electron_sdk';
  build({ folder, target, settings });
  return path.join(folder, `${target}.node`);
}

module.exports = { buildAddon, buildSdk };
