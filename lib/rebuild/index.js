'use strict';

const { spawnSync } = require('node:child_process');
const fs = require('node:fs');
const path = require('node:path');
const { parseArgs } = require('node:util');
const { prebuildsFolder, runtimeAbi, sdkFileIn } = require('../binaries');
const { buildAddon, buildSdk } = require('./build_addon');
const { abiOf, findHeaders, runningRuntime } = require('./headers');

const root = path.join(__dirname, '../..');
const prebuilds = path.join(root, prebuildsFolder());

const USAGE = `usage: lumolivepush-electron-sdk rebuild [--runtime node|electron] [--target VERSION]
                                         [--headers FOLDER] [--sdk FILE | --build-sdk]
  --runtime, --target  the runtime to build for, by default the running one
  --headers            the folder that holds its node.h, by default from cmake-js
  --sdk                the NimboSdk to link, by default the package's
  --build-sdk          builds the default SDK too, which needs its libraries' headers`;

/** @throws {Error} with the usage */
function parse(args) {
  const string = { type: 'string' };
  const options = { runtime: string, target: string, headers: string, sdk: string };
  try {
    const { values } = parseArgs({
      args,
      options: { ...options, 'build-sdk': { type: 'boolean' } },
    });
    return values;
  } catch (error) {
    throw new Error(`${error.message}\n${USAGE}`);
  }
}

/** @returns {import('./headers').Runtime} with the version of the running one unless one is given */
function chooseRuntime({ runtime, target }) {
  const running = runningRuntime();
  const name = runtime ?? running.name;
  if (!['node', 'electron'].includes(name)) throw new Error(`--runtime ${name}\n${USAGE}`);
  if (target !== undefined && !/^v?\d+\.\d+\.\d+/.test(target)) {
    throw new Error(`--target ${target}\n${USAGE}`);
  }
  return { name, version: target?.replace(/^v/, '') ?? running.version };
}

/** @returns {string} the folder of node.h */
function chooseHeaders(runtime, { headers, target }) {
  if (headers !== undefined) return path.resolve(headers);
  if (target === undefined && runtime.name !== runningRuntime().name) {
    throw new Error(`--target is missing: which version of ${runtime.name}?\n${USAGE}`);
  }
  return findHeaders(runtime);
}

/** @returns {string | undefined} the SDK to link; undefined when it must be built */
function chooseSdk({ sdk, 'build-sdk': mustBuild }) {
  if (sdk !== undefined) {
    if (!fs.existsSync(sdk)) throw new Error(`--sdk ${sdk}: there is no such file`);
    return path.resolve(sdk);
  }
  const packaged = sdkFileIn(prebuilds);
  return !mustBuild && fs.existsSync(packaged) ? packaged : undefined;
}

/** Puts a built file where the loader finds it; a process that has another one loaded keeps that. */
function install(built, file) {
  if (file === built) return;
  fs.mkdirSync(path.dirname(file), { recursive: true });
  fs.copyFileSync(built, `${file}.new`);
  fs.renameSync(`${file}.new`, file);
}

/** Loads what was built in a process of its own. @throws {Error} when it does not load */
function tryLoading() {
  const program = `const { loadError } = require(${JSON.stringify(path.join(root, 'lib/native'))});
                   if (loadError) { console.error(loadError.message); process.exit(1); }`;
  const { status } = spawnSync(process.execPath, ['-e', program], { stdio: ['ignore', 2, 2] });
  if (status !== 0) throw new Error('it was built, but cannot be loaded');
}

/**
 * Builds the add-on for a runtime and puts it among the package's binaries. Prints its path.
 *
 * @param {string[]} args
 * @returns {number} the exit code
 */
function runRebuild(args) {
  try {
    const values = parse(args);
    const runtime = chooseRuntime(values);
    const headers = chooseHeaders(runtime, values);
    const name = `${runtime.name}.abi${abiOf(headers)}`;
    const common = { headers, type: 'Release' };
    const work = path.join(root, 'build', 'rebuild');
    const sdk = chooseSdk(values) ?? buildSdk({ folder: path.join(work, 'sdk'), ...common });
    const built = buildAddon({
      folder: path.join(work, name),
      runtime: runtime.name,
      sdk,
      ...common,
    });
    const addon = path.join(prebuilds, `${name}.node`);
    install(built, addon);
    install(sdk, sdkFileIn(prebuilds));
    if (name === runtimeAbi()) tryLoading();
    console.log(addon);
    return 0;
  } catch (error) {
    console.error(`rebuild: ${error.message}`);
    return 1;
  }
}

module.exports = { runRebuild };
